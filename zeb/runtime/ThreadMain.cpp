#include "zeb/runtime/ThreadMain.h"

#include "zeb/core/ErrorString.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <new>

namespace {

void OnTraceSignal_(int, siginfo_t*, void*) {
    int const error = errno;
    Log(Log::INFO, Thread::IDENT, nullptr, "interrupted by a signal")
        << Log::Backtrace(0, Thread::TID_SELF, Log::Backtrace::SIGNAL);
    errno = error;
}

bool InstallTraceHandler_() {
    struct sigaction action = {};
    action.sa_sigaction = OnTraceSignal_;
    action.sa_flags = SA_RESTART | SA_SIGINFO;
    return sigaction(SIGUSR1, &action, nullptr) == 0;
}

} // namespace

ThreadMain* ThreadMain::New(char const* ident) {
    ThreadMain* const thread = new (std::nothrow) ThreadMain(ident);
    if (!thread || thread->Initialized()) return thread;
    delete thread;
    return nullptr;
}

ThreadMain::ThreadMain(char const* ident) {
    if (!Thread::Initialized()) return;
    int const error = stack_.Enable();
    if (error)
        fprintf(stderr, "%s: failed to setup the alternate signal stack: %s\n", ident, ErrorString(error));
    traced_ = InstallTraceHandler_();
    if (!traced_)
        fprintf(stderr, "%s: failed to setup a trace signal handler: %s.\n", ident, ErrorString(errno));
}

ThreadMain::~ThreadMain() = default;

bool ThreadMain::Initialized() const { return Thread::Initialized() && stack_.IsEnabled() && traced_; }

ReturnT ThreadMain::Run() { return status_->Code(); }
