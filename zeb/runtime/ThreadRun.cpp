// Start and stop of a thread, and its routine.

#include "zeb/core/ErrorString.h"
#include "zeb/runtime/StatusLog.h"
#include "zeb/runtime/ThreadImpl.h"

#include <cerrno>
#include <csignal>
#include <sys/prctl.h>

Thread::Control_::~Control_() {
    pthread_cond_destroy(&condition);
    pthread_mutex_destroy(&mutex);
}

void Thread::Control_::Set(unsigned mask) { Reset(flags.load(std::memory_order_relaxed) | mask); }

void Thread::Control_::Clear(unsigned mask) { Reset(flags.load(std::memory_order_relaxed) & ~mask); }

void Thread::Control_::Reset(unsigned value) {
    flags.store(value, std::memory_order_release);
    pthread_cond_broadcast(&condition);
}

void Thread::Control_::AwaitAny(unsigned mask) {
    while (!Has(mask))
        pthread_cond_wait(&condition, &mutex);
}

void Thread::Control_::AwaitNone(unsigned mask) {
    while (Has(mask))
        pthread_cond_wait(&condition, &mutex);
}

namespace {

constexpr char const NO_RECORDS[] = "it was not made: no main thread, no name or no memory";

// What a code of Start() says; the error number follows where there is one.
char const* Text_(ReturnT const& code) {
    switch (code.Code()) {
    case 0x80220001:
        return NO_RECORDS;
    case 0x80220002:
        return "it runs already";
    case 0x80220003:
        return "a thread cannot start itself";
    case 0x80220004:
        return "unable to set its attributes up: %1";
    case 0x80220005:
        return "unable to create it: %1";
    default:
        return "it failed to initialize";
    }
}

} // namespace

ReturnT Thread::Start() {
    int error = 0;
    ReturnT const code = control_ ? Start_(error) : NOT_CREATED;
    if (code.Succeeded()) return StatusLog(code, Log::INFO, IDENT, Name().Cstr(), "").SetDone();
    StatusLog report(code, Log::CRITICAL, IDENT, Name().Cstr(), Text_(code));
    if (error) report << ErrorString(error);
    return report.SetFail();
}

ReturnT Thread::Start_(int& error) {
    if (tlsThread_ == this) return START_FROM_SELF;
    PlainGuard_ const guard(control_->mutex);
    control_->AwaitNone(Control_::STARTING | Control_::STOPPING);
    if (!control_->Has(Control_::NOT_RUNNING)) return ALREADY_RUNNING;
    control_->Reset(Control_::NOT_RUNNING);

    pthread_attr_t attributes;
    error = pthread_attr_init(&attributes);
    if (error) return ATTRIBUTES_FAILED;
    error = pthread_attr_setstacksize(&attributes, STACK_SIZE);
    ReturnT const code = error ? ATTRIBUTES_FAILED : Launch_(attributes, error);
    pthread_attr_destroy(&attributes);
    return code;
}

ReturnT Thread::Launch_(pthread_attr_t const& attributes, int& error) {
    control_->Reset(Control_::STARTING);
    error = pthread_create(&control_->thread, &attributes, Routine_, this);
    if (error) {
        control_->Reset(Control_::NOT_RUNNING);
        return CREATE_FAILED;
    }
    control_->AwaitAny(Control_::STARTED | Control_::FAILED);
    if (!control_->Has(Control_::FAILED)) {
        control_->Clear(Control_::STARTED | Control_::STARTING);
        return STARTED;
    }
    Join_();
    return INITIALIZE_FAILED;
}

bool Thread::Stop() {
    char const* const refusal = control_ ? Stop_() : NO_RECORDS;
    if (refusal) LogFail_(ReturnT::Fail(), refusal);
    return !refusal;
}

// Null when it was stopped.
char const* Thread::Stop_() {
    if (tlsThread_ == this) return "a thread cannot stop itself";
    if (!worker_) return "the main thread cannot be stopped";
    PlainGuard_ const guard(control_->mutex);
    control_->AwaitNone(Control_::STARTING | Control_::STOPPING);
    if (control_->Has(Control_::NOT_RUNNING)) return "it does not run";
    StopAndJoin_();
    return nullptr;
}

// Ahead of the end of an object that its owner may not have stopped.
void Thread::Abandon_() {
    if (tlsThread_ == this) { // nobody can wait for it any more
        LogFail_(ReturnT::Fail(), "destroyed by its own thread");
        pthread_detach(pthread_self());
        return;
    }
    PlainGuard_ const guard(control_->mutex);
    control_->AwaitNone(Control_::STARTING | Control_::STOPPING);
    if (control_->Has(Control_::NOT_RUNNING)) return;
    LogFail_(ReturnT::Fail(), "destroyed unstopped");
    StopAndJoin_();
}

void Thread::StopAndJoin_() {
    control_->Set(Control_::STOPPING | Control_::STOP_REQUESTED | Control_::INTERRUPTED);
    Join_();
}

// The mutex is free during the join, so that the registry can be walked meanwhile: the flags keep others out.
void Thread::Join_() {
    control_->AwaitAny(Control_::FINISHED);
    pthread_t const thread = control_->thread;
    pthread_mutex_unlock(&control_->mutex);
    int const error = pthread_join(thread, nullptr);
    if (error) Log(Log::CRITICAL, IDENT, Name().Cstr(), "%1").Fail(ReturnT::Fail()) << ErrorString(error);
    pthread_mutex_lock(&control_->mutex);
    control_->Reset(Control_::NOT_RUNNING);
}

void* Thread::Routine_(void* argument) {
    Thread& self = *static_cast<Thread*>(argument);
    tlsThread_ = &self;
    SetStatus(nullptr); // an earlier run may have left others
    self.control_->maskCount = 0;
    self.lockRecord_->SetDepth(0);
    prctl(PR_SET_NAME, self.Name().Cstr()); // cut at 15 bytes; the thread does without
    SigAltStackManager_ stack;
    if (self.Begin_(stack)) {
        (void)self.Run();                        // what it did, it has reported
        if (tlsThread_ != &self) return nullptr; // it has destroyed the object
        self.Cleanup();
    }
    self.End_(stack);
    self.UnbindCpuStats_();
    tlsThread_ = nullptr;
    return nullptr;
}

bool Thread::Begin_(SigAltStackManager_& stack) {
    bool const initialized = Initialize().Succeeded() && BindCpuStats_();
    PlainGuard_ const guard(control_->mutex);
    if (!initialized || !SetUp_(stack)) {
        control_->Set(Control_::FAILED);
        return false;
    }
    SetTid_(Id());
    control_->Set(Control_::STARTED);
    control_->AwaitNone(Control_::STARTING);
    return true;
}

bool Thread::SetUp_(SigAltStackManager_& stack) {
    int error = ReadStackInfo_();
    if (error) {
        Log(Log::CRITICAL, IDENT, Name().Cstr(), "failed to get info about the thread stack: %1")
            << ErrorString(error);
    }
    error = stack.Enable();
    if (error == ENOMEM) {
        Log(Log::CRITICAL, IDENT, Name().Cstr(), "").Oom(ReturnT::Oom());
    } else if (error) {
        Log(Log::CRITICAL, IDENT, Name().Cstr(), "failed to setup the alternate signal stack: %1")
                .Fail(ReturnT::Fail())
            << ErrorString(error);
    }
    return error == 0;
}

void Thread::End_(SigAltStackManager_& stack) {
    PlainGuard_ const guard(control_->mutex);
    SetTid_(TID_UNKNOWN);
    stack.Disable();
    control_->Set(Control_::FINISHED);
}

int Thread::SigAltStackManager_::Enable() {
    if (!memory_.Resize(SIZE)) return ENOMEM;
    stack_t stack = {};
    stack.ss_sp = memory_.Ptr();
    stack.ss_size = memory_.Size();
    enabled_ = sigaltstack(&stack, nullptr) == 0;
    return enabled_ ? 0 : errno;
}

void Thread::SigAltStackManager_::Disable() {
    if (!enabled_) return;
    stack_t stack = {};
    stack.ss_flags = SS_DISABLE;
    sigaltstack(&stack, nullptr);
    enabled_ = false;
}
