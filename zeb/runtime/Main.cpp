#include "zeb/runtime/Main.h"

#include "zeb/core/ErrorString.h"
#include "zeb/core/Log.h"
#include "zeb/core/Time.h"
#include "zeb/runtime/MainImpl.h"
#include "zeb/runtime/MillisecondsImpl.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <unistd.h>

namespace {

constexpr int BLOCKED[] = {SIGALRM, SIGCHLD, SIGHUP, SIGINT, SIGSTOP, SIGTERM, SIGUSR2};
constexpr int WAITED[] = {SIGINT, SIGTERM};
constexpr int FATAL[] = {SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGSEGV};
constexpr int RESTORED[] = {SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGPIPE, SIGSEGV};

Time::Span const STEP(333); // between two looks at the flags

char const* ident_ = Main::IDENT;
int group_ = -1;

template<unsigned long N>
void Fill_(sigset_t& set, int const (&signals)[N]) {
    sigemptyset(&set);
    for (int const signal : signals)
        sigaddset(&set, signal);
}

// 0 or an error number.
int SetCrashHandlers_() {
    struct sigaction action = {};
    action.sa_sigaction = UnexpectedSignal_;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK;
    for (int const signal : FATAL) {
        if (sigaction(signal, &action, nullptr) != 0) return errno;
    }
    return 0;
}

// 0 or an error number.
int SetAction_(int signal, void (*handler)(int)) {
    struct sigaction action = {};
    action.sa_handler = handler;
    return sigaction(signal, &action, nullptr) == 0 ? 0 : errno;
}

} // namespace

char const* MainIdent_() { return ident_; }

int MainGroup_() { return group_; }

Main::Main(char const* ident)
    : mainThread_(ThreadMain::New(ident)) {
    sigemptyset(&waitSet_);
    sigemptyset(&blockedSet_);
    ident_ = ident;
    group_ = getpid();
    if (!mainThread_) {
        fprintf(stderr, "%s: failed to wrap the main thread.\n", ident);
        return;
    }
    int error = SetCrashHandlers_();
    if (!error) error = SetAction_(SIGPIPE, SIG_IGN);
    if (error) {
        fprintf(stderr, "%s: failed to setup signal handlers: %s.\n", ident, ErrorString(error));
        return;
    }
    Fill_(blockedSet_, BLOCKED);
    error = pthread_sigmask(SIG_BLOCK, &blockedSet_, nullptr);
    if (error) {
        fprintf(stderr, "%s: failed to block signals: %s.\n", ident, ErrorString(error));
        return;
    }
    Fill_(waitSet_, WAITED);
    if (!InitializeTls_()) {
        fprintf(stderr, "%s: failed to initialize SSL library.\n", ident);
        return;
    }
    initialized_ = true;
}

Main::~Main() {
    if (mainThread_) { // otherwise they are those of another frame
        RestoreSignals_();
        CleanupTls_();
    }
    delete mainThread_;
}

void Main::RestoreSignals_() const {
    timespec const noWait = {};
    while (sigtimedwait(&blockedSet_, nullptr, &noWait) > 0 || errno == EINTR) {
    } // else the first one that waits would end the program
    int error = pthread_sigmask(SIG_UNBLOCK, &blockedSet_, nullptr);
    if (error) fprintf(stderr, "%s: failed to unblock signals: %s.\n", ident_, ErrorString(error));
    for (int const signal : RESTORED) {
        error = SetAction_(signal, SIG_DFL);
        if (!error) continue;
        fprintf(stderr, "%s: failed to restore signal handlers: %s.\n", ident_, ErrorString(error));
        return;
    }
}

bool Main::StopRequested() const {
    if (!stop_) TakeSignal_(Time::Span::Zero());
    return stop_;
}

bool Main::WaitForStop(Time::Span const& timeout) const {
    bool const unlimited = timeout < Time::Span::Zero();
    Time::Span const deadline = Time::Monotonic() + timeout;
    while (!stop_) {
        Time::Span const left = unlimited ? STEP : deadline - Time::Monotonic();
        bool const due = left <= Time::Span::Zero();
        TakeSignal_(due ? Time::Span::Zero() : left < STEP ? left : STEP);
        if (due || Thread::SelfInterrupted()) break;
    }
    return stop_;
}

bool Main::WaitForStop(long milliseconds) const { return WaitForStop(Milliseconds_(milliseconds)); }

void Main::TakeSignal_(Time::Span const& timeout) const {
    timespec const limit = timeout;
    int const signal = sigtimedwait(&waitSet_, nullptr, &limit);
    int const error = signal < 0 ? errno : 0;
    if (signal == SIGINT || signal == SIGTERM) {
        stop_ = true;
        Log(Log::INFO, IDENT, nullptr, "stopping...");
    } else if (signal >= 0) {
        Log(Log::WARNING, IDENT, nullptr, "caught signal %1, ignored") << signal;
    } else if (error != EAGAIN && error != EINTR) {
        Log(Log::ERROR, IDENT, nullptr, "signal wait error: %1") << ErrorString(error);
        if (timeout > Time::Span::Zero()) Thread::Yield(); // the caller tries again
    }
}
