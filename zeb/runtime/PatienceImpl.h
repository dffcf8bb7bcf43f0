#pragma once

// How the threads that call clients take the lock of a client: by trying, never blocking, so that one stuck
// owner holds up nobody else. Not installed.

#include "zeb/core/Log.h"
#include "zeb/core/Time.h"
#include "zeb/runtime/Thread.h"

// What is said of a client: the arguments of the call, then a number.
struct PatienceWords_ {
    char const* ident;
    char const* name;
    char const* busy; // seconds for which its lock was busy
    char const* held; // milliseconds for which its lock was held, when the threshold of Mutex was reached
};

// How long a thread has been trying to take a lock, and when that is worth a line: every 30 seconds. The
// clock is read when the lock first turns out to be busy.
class Patience_ {
public:
    // False if the lock is busy; a line that is due names its holder.
    template<class... ArgumentsT>
    bool TryLock(Mutex const& lock, PatienceWords_ const& words, ArgumentsT const&... arguments) {
        if (lock.TryLock()) return true;
        long const seconds = Due_();
        if (seconds == 0) return false;
        Log report(Log::WARNING, words.ident, words.name, words.busy);
        (report << ... << arguments) << seconds
                                     << Log::Backtrace(0, Thread::OwnerId(lock), Log::Backtrace::DEMANGLE);
        return false;
    }

    // Runs the body with the lock held, if there is one. False if it is busy. Lock and arguments outlive the
    // body.
    template<class BodyT, class... ArgumentsT>
    bool Run(Mutex const* lock, BodyT const& body, PatienceWords_ const& words,
             ArgumentsT const&... arguments) {
        if (lock && !TryLock(*lock, words, arguments...)) return false;
        body();
        unsigned long const held = lock ? lock->Unlock() : 0;
        if (held == 0) return true;
        Log report(Log::WARNING, words.ident, words.name, words.held);
        (report << ... << arguments) << held;
        return true;
    }

private:
    static constexpr long STEP = 30;
    static constexpr long IDLE = -1;

    // The whole seconds since the beginning if a line is due, else 0.
    long Due_() {
        long const now = Time::Monotonic().Parts().Seconds();
        if (start_ == IDLE) start_ = now;
        long const seconds = now - start_;
        if (seconds < limit_) return 0;
        limit_ = (seconds + STEP) / STEP * STEP;
        return seconds;
    }

    long start_ = IDLE;
    long limit_ = STEP;
};
