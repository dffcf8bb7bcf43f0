#pragma once

// The one request for the backtrace of another thread, and the handlers of the trace signals. Not installed.

#include "zeb/runtime/Backtrace.h"
#include "zeb/runtime/ThreadImpl.h"

#include <cerrno>
#include <csignal>
#include <pthread.h>

class Trace_ {
public:
    // Installs the handlers with a new object; the ident leads the texts on standard error. False on failure.
    static bool Replace(char const* ident);
    static void Remove();
    static Trace_* Present() { return present_; }

    sigset_t const& Set() const { return set_; }

    // Sends the signal to the thread, and keeps the request for it. False if another one is kept; `error` is
    // that of the signal.
    bool Post(int tid, Backtrace& backtrace, Backtrace::Regs* regs, pthread_t thread, int& error);

    // Until the request is answered. False if the thread is gone.
    template<class IsThereT>
    bool Await(Backtrace const& backtrace, IsThereT const& isThere) {
        PlainGuard_ const guard(mutex_);
        while (backtrace_ == &backtrace) {
            if (pthread_cond_timedwait(&condition_, &mutex_, &POLL) != ETIMEDOUT) continue;
            pthread_mutex_unlock(&mutex_); // the registry comes first
            bool const there = isThere();
            pthread_mutex_lock(&mutex_);
            if (there || backtrace_ != &backtrace) continue;
            backtrace_ = nullptr;
            return false;
        }
        return true;
    }

private:
    // Lies in the past of the monotonic clock, so that the wait is a poll.
    static constexpr timespec POLL = {0, 333};

    Trace_() = default;
    ~Trace_();
    int MakeCondition_();
    static void OnTrap_(int signal, siginfo_t* info, void* context);

    static Trace_* present_;

    // Fixed after construction.
    sigset_t set_ = {};
    bool made_ = false;

    // Guarded by the mutex, which the handler takes: whoever holds it blocks the signal.
    pthread_mutex_t mutex_ = PTHREAD_MUTEX_INITIALIZER;
    pthread_cond_t condition_ = PTHREAD_COND_INITIALIZER;
    Backtrace* backtrace_ = nullptr;
    Backtrace::Regs* regs_ = nullptr;
    int tid_ = 0;
};
