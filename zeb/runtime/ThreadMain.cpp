#include "zeb/runtime/ThreadMain.h"

#include "zeb/core/ErrorString.h"
#include "zeb/runtime/TraceImpl.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <new>

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
    traced_ = Trace_::Replace(ident);
}

ThreadMain::~ThreadMain() {
    if (traced_) Trace_::Remove();
}

bool ThreadMain::Initialized() const { return Thread::Initialized() && stack_.IsEnabled() && traced_; }

ReturnT ThreadMain::Run() { return status_->Code(); }
