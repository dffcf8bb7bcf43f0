// The handler of fatal signals that Main installs. It runs on the alternate stack of the thread, and returns
// to nobody.

#include "zeb/runtime/MainImpl.h"
#include "zeb/runtime/Oops.h"
#include "zeb/runtime/SignalName.h"
#include "zeb/runtime/Thread.h"

#include <atomic>
#include <csignal>
#include <ctime>
#include <new>
#include <pthread.h>
#include <unistd.h>

namespace {

constexpr int WIDTH = 16; // of an address

pthread_mutex_t crashLock_ = PTHREAD_MUTEX_INITIALIZER; // a second crash waits behind the first
std::atomic<int> reporter_{0};                          // the thread that reports
alignas(Oops) char oopsRoom_[sizeof(Oops)];
Oops* oops_ = nullptr;

// Lets the other threads finish what they write to the log.
void SleepASecond_() {
    timespec const second = {1, 0};
    nanosleep(&second, nullptr);
}

bool InGuard_(siginfo_t const* info) {
    unsigned long const address = reinterpret_cast<unsigned long>(info->si_addr);
    unsigned long const stack = Thread::StackAddress();
    return address < stack && stack - address <= Thread::StackGuardSize();
}

[[noreturn]] void End_() {
    killpg(MainGroup_(), SIGKILL);
    _exit(1);
}

// So that a crash of the report reaches the handler again.
void Unblock_(int signal) {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, signal);
    pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
}

void Report_(Oops& oops, int signal, siginfo_t const* info) {
    SignalName const name(signal);
    bool const overflow = signal == SIGSEGV && info && InGuard_(info);
    Thread const* const self = Thread::Self();
    oops.Printf("\nProgram crashed!\n\nProgram      : %s\nReason       : %s\nThread       : %s\nStack "
                "address: 0x%0*lx\n",
                MainIdent_(), overflow ? "stack overflow" : name.Cstr(),
                self ? self->Name().Cstr() : "Unknown", WIDTH, Thread::StackAddress());
    if (signal != SIGABRT && info) {
        oops.Printf("Fault address: 0x%0*lx\n", WIDTH, reinterpret_cast<unsigned long>(info->si_addr));
    }
    oops.PrintSignalBacktrace();
    (void)oops.Dump(); // has told what failed
}

} // namespace

void UnexpectedSignal_(int signal, siginfo_t* info, void*) {
    int const tid = Thread::Id();
    if (reporter_.load() ==
        tid) { // the report has crashed itself, on a broken stack for one: save what there is
        if (oops_) (void)oops_->Dump();
        End_();
    }
    pthread_mutex_lock(&crashLock_);
    reporter_ = tid;
    Unblock_(signal);
    SleepASecond_();
    if (!oops_) oops_ = new (oopsRoom_) Oops;
    Report_(*oops_, signal, info);
    reporter_ = 0;
    pthread_mutex_unlock(&crashLock_);
    SleepASecond_();
    End_();
}
