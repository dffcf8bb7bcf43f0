// Backtraces of other threads: SIGTRAP makes a thread walk its own stack.

#include "zeb/core/ErrorString.h"
#include "zeb/core/StringAccumulator.h"
#include "zeb/core/UnseenImpl.h"
#include "zeb/runtime/MainImpl.h"
#include "zeb/runtime/TraceImpl.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <new>

namespace {

constexpr unsigned long HANDLER_FRAMES = 2; // the handler, and the return from the signal

int SetHandler_(int signal, void (*handler)(int, siginfo_t*, void*)) {
    struct sigaction action = {};
    action.sa_sigaction = handler;
    action.sa_flags = SA_RESTART | SA_SIGINFO;
    return sigaction(signal, &action, nullptr) == 0 ? 0 : errno;
}

ZEB_UNSEEN void OnTrace_(int, siginfo_t*, void*) {
    int const error = errno;
    {
        Log::InHandler const handler;
        Log(Log::INFO, Thread::IDENT, nullptr, "interrupted by a signal")
            << Log::Backtrace(1, Thread::TID_SELF, Log::Backtrace::SIGNAL); // 1: the return from the signal
    }
    errno = error;
}

// As if there were no handler: the instruction is tried again.
void Die_(int number) { signal(number, SIG_DFL); }

} // namespace

Trace_* Trace_::present_ = nullptr;

// The walk starts here and not in a function of its own: HANDLER_FRAMES counts on it.
void Trace_::OnTrap_(int signal, siginfo_t* info, void* context) {
    // One that the processor raised, at a breakpoint in the code, would come again at once.
    if (info->si_code > 0) return MainGroup_() < 0 ? Die_(signal) : UnexpectedSignal_(signal, info, context);
    int const error = errno;
    Trace_* const trace = present_;
    if (trace) {
        PlainGuard_ const guard(trace->mutex_);
        if (trace->backtrace_ && trace->tid_ == Thread::Id()) {
            trace->backtrace_->GetUser(HANDLER_FRAMES, trace->regs_);
            trace->backtrace_ = nullptr;
            pthread_cond_broadcast(&trace->condition_);
        }
    }
    errno = error;
}

bool Trace_::Replace(char const* ident) {
    Remove();
    Trace_* const trace = new (std::nothrow) Trace_;
    int error = trace ? trace->MakeCondition_() : ENOMEM;
    if (error) {
        fprintf(stderr, "%s: failed to setup the trace object: %s.\n", ident, ErrorString(error));
        delete trace;
        return false;
    }
    present_ = trace;
    if (sigemptyset(&trace->set_) != 0 || sigaddset(&trace->set_, SIGTRAP) != 0) {
        fprintf(stderr, "%s: failed to setup a trace signal mask: %s.\n", ident, ErrorString(errno));
    } else if ((error = SetHandler_(SIGUSR1, OnTrace_)) || (error = SetHandler_(SIGTRAP, OnTrap_))) {
        fprintf(stderr, "%s: failed to setup a trace signal handler: %s.\n", ident, ErrorString(error));
    } else {
        return true;
    }
    Remove();
    return false;
}

void Trace_::Remove() {
    delete present_;
    present_ = nullptr;
}

Trace_::~Trace_() {
    if (made_) pthread_cond_destroy(&condition_);
}

int Trace_::MakeCondition_() {
    pthread_condattr_t attributes;
    int error = pthread_condattr_init(&attributes);
    if (error) return error;
    error = pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC);
    if (!error) error = pthread_cond_init(&condition_, &attributes);
    made_ = !error;
    pthread_condattr_destroy(&attributes);
    return error;
}

bool Trace_::Post(int tid, Backtrace& backtrace, Backtrace::Regs* regs, pthread_t thread, int& error) {
    PlainGuard_ const guard(mutex_);
    if (backtrace_) return false;
    error = pthread_kill(thread, SIGTRAP);
    if (error) return true;
    backtrace_ = &backtrace;
    regs_ = regs;
    tid_ = tid;
    return true;
}

// With the lock of the registry held.
Thread* Thread::FindTid_(int tid) {
    for (unsigned long i = 0; i < Registry_::threads.Size(); ++i) {
        Thread* const thread = Registry_::threads[i];
        PlainGuard_ const guard(thread->lockRecord_->mutex);
        if (thread->lockRecord_->tid == tid) return thread;
    }
    return nullptr;
}

bool Thread::IsThere_(int tid) {
    PlainGuard_ const guard(Registry_::lock);
    return FindTid_(tid) != nullptr;
}

ZEB_UNSEEN int Thread::GetBacktrace(int tid, Backtrace& backtrace, Backtrace::Regs* regs,
                                    unsigned long skip) {
    if (tid == TID_UNKNOWN) return ESRCH;
    if (tid == TID_SELF || tid == Id()) {
        backtrace.GetUser(skip, regs);
        return 0;
    }
    Trace_* const trace = Trace_::Present();
    if (!trace) return ESRCH;
    sigset_t before;
    pthread_sigmask(SIG_BLOCK, &trace->Set(), &before);
    int const error = Request_(*trace, tid, backtrace, regs);
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return error;
}

int Thread::Request_(Trace_& trace, int tid, Backtrace& backtrace, Backtrace::Regs* regs) {
    for (bool kernel = false;; kernel = true) {
        int error = 0;
        if (PostTo_(trace, tid, backtrace, regs, kernel, error)) {
            if (error) return error;
            return trace.Await(backtrace, [tid] { return IsThere_(tid); }) ? 0 : ESRCH;
        }
        pthread_sigmask(SIG_UNBLOCK, &trace.Set(), nullptr); // the other request may be for this thread
        Yield();
        pthread_sigmask(SIG_BLOCK, &trace.Set(), nullptr);
    }
}

// False if another request is in progress. The kernel's side is taken once.
bool Thread::PostTo_(Trace_& trace, int tid, Backtrace& backtrace, Backtrace::Regs* regs, bool kernelTaken,
                     int& error) {
    PlainGuard_ const guard(Registry_::lock);
    Thread* const thread = FindTid_(tid);
    error = thread ? 0 : ESRCH;
    if (error) return true;
    PlainGuard_ const controlGuard(thread->control_->mutex);
    PlainGuard_ const recordGuard(thread->lockRecord_->mutex);
    if (!kernelTaken && !backtrace.GetKernel(tid)) error = ESRCH;
    return error || trace.Post(tid, backtrace, regs, thread->control_->thread, error);
}

bool Thread::State::GetBacktrace() {
    if (!::Backtrace::Supported() || tid_ == TID_UNKNOWN) return true;
    ::Backtrace backtrace(::Backtrace::NAMES);
    int const error = Thread::GetBacktrace(tid_, backtrace, nullptr, 0);
    if (error) return error_.Assign(ErrorString(error));
    if (*backtrace.Error() && !error_.Assign(backtrace.Error())) return false;
    backtrace.Demangle();
    StringAccumulator text;
    for (::Backtrace::Frame const frame : backtrace) {
        if (text.Empty()) text << '\n';
        text << frame.Name() << "+0x";
        text.Hex() << frame.NameOffset() << '\n';
    }
    if (backtrace.Truncated()) text << ::Backtrace::CUT << '\n';
    return text.Valid() && calls_.Assign(text);
}
