#include "zeb/runtime/Thread.h"

#include "zeb/core/ErrorString.h"
#include "zeb/runtime/StatusLog.h"
#include "zeb/runtime/ThreadImpl.h"

#include <csignal>
#include <cstdio>
#include <new>
#include <time.h>
#include <unistd.h>

constinit thread_local Thread* tlsThread_ = nullptr;

constinit PVector<Thread> Thread::Registry_::threads;
constinit pthread_mutex_t Thread::Registry_::lock = PTHREAD_MUTEX_INITIALIZER;

namespace {

constexpr char const MAIN_NAME[] = "Main";
constexpr timespec YIELD_TIME = {0, 50000000};
constexpr unsigned long MAIN_STACK_GAP = 256; // pages

} // namespace

Runnable::~Runnable() = default;

Thread::Thread(CString const& name)
    : worker_(1) {
    if (name.Empty()) {
        LogFail_(ReturnT::Fail(), "a thread needs a name");
        return;
    }
    ReturnT const code = Create_(name);
    if (code.IsOom()) Log(Log::CRITICAL, IDENT, name.Cstr(), "").Oom(code);
}

Thread::Thread()
    : worker_(0) {
    if (Create_(MAIN_NAME).Failed()) return;
    int const error = BecomeMain_();
    if (!error) return;
    fprintf(stderr, "%s: failed to get info about the thread stack: %s\n", MAIN_NAME, ErrorString(error));
    Destroy_();
}

Thread::~Thread() {
    if (worker_ && control_) Abandon_();
    Destroy_();
}

// Makes the records and enters the registry. The main thread comes first, and once.
ReturnT Thread::Create_(CString const& name) {
    PlainGuard_ const guard(Registry_::lock);
    bool const hasMain = Registry_::FindMain() != nullptr;
    if (hasMain != (worker_ != 0)) return ReturnT::Fail();
    control_ = new (std::nothrow) Control_;
    if (control_ && control_->name.Assign(name.Cstr(), name.Size())) {
        lockRecord_ = new (std::nothrow) LockRecord_(control_->name);
    }
    if (lockRecord_ && lockRecord_->Grow() && MakeCpuStats_() && Registry_::threads.PushBack(this))
        return ReturnT::Done();
    FreeRecords_();
    return ReturnT::Oom();
}

void Thread::FreeRecords_() {
    FreeCpuStats_();
    delete lockRecord_;
    delete control_;
    lockRecord_ = nullptr;
    control_ = nullptr;
}

void Thread::Destroy_() {
    if (tlsThread_ == this) tlsThread_ = nullptr;
    if (!control_) return;
    {
        PlainGuard_ const guard(Registry_::lock);
        Registry_::threads.Remove(Registry_::threads.Find(this));
        if (Registry_::threads.Empty()) Registry_::threads.Clear();
    }
    FreeRecords_();
}

Thread* Thread::Registry_::FindMain() {
    for (unsigned long i = 0; i < threads.Size(); ++i) {
        if (!threads[i]->worker_) return threads[i];
    }
    return nullptr;
}

int Thread::BecomeMain_() {
    int const error = ReadStackInfo_();
    if (error) return error;
    tlsThread_ = this;
    SetTid_(Id());
    (void)BindCpuStats_(); // the thread does without, and the log says why
    PlainGuard_ const guard(control_->mutex);
    control_->thread = pthread_self();
    control_->Reset(0);
    return 0;
}

int Thread::ReadStackInfo_() {
    pthread_attr_t attributes;
    int error = pthread_getattr_np(pthread_self(), &attributes);
    if (error) return error;
    void* address = nullptr;
    error = pthread_attr_getstack(&attributes, &address, &stackSize_);
    if (!error) error = pthread_attr_getguardsize(&attributes, &stackGuardSize_);
    stackAddress_ = reinterpret_cast<unsigned long>(address);
    // That of main has no guard of its own: it grows up to its limit, and the kernel keeps a gap free below.
    if (!error && stackGuardSize_ == 0)
        stackGuardSize_ = MAIN_STACK_GAP * static_cast<unsigned long>(getpagesize());
    pthread_attr_destroy(&attributes);
    return error;
}

bool Thread::Initialized() const { return control_ && lockRecord_; }

ReturnT Thread::Initialize() {
    return StatusLog(ReturnT::Done(), Log::INFO, IDENT, Name().Cstr(), "").SetDone();
}

void Thread::Cleanup() {}

CString const& Thread::Name() const { return control_ ? control_->name : CString::Nil(); }

bool Thread::IsRunning_() const { return !control_->Has(Control_::NOT_RUNNING | Control_::FINISHED); }

bool Thread::Stopped() const { return !control_ || !IsRunning_(); }

bool Thread::StopRequested() const { return control_ && control_->Has(Control_::STOP_REQUESTED); }

bool Thread::IsInterrupted() const {
    return control_ && control_->Has(Control_::INTERRUPTED) &&
           control_->maskCount.load(std::memory_order_relaxed) == 0;
}

bool Thread::DifferentContext() const { return tlsThread_ != this || Stopped(); }

void Thread::SetStop() {
    if (!control_) return;
    PlainGuard_ const guard(control_->mutex);
    if (IsRunning_()) control_->Set(Control_::STOP_REQUESTED);
}

void Thread::Interrupt() {
    // The test comes ahead of every lock: a signal handler may call this for its own thread.
    if (tlsThread_ == this) return LogFail_(ReturnT::Fail(), "a thread cannot interrupt itself");
    if (!control_) return;
    PlainGuard_ const guard(control_->mutex);
    if (IsRunning_()) control_->Set(Control_::INTERRUPTED);
}

void Thread::ClearInterrupt() {
    if (!control_ || !control_->Has(Control_::INTERRUPTED)) return;
    PlainGuard_ const guard(control_->mutex);
    control_->Clear(Control_::INTERRUPTED);
}

bool Thread::Kill(int signal) const {
    if (!control_) return false;
    PlainGuard_ const guard(control_->mutex);
    return IsRunning_() && pthread_kill(control_->thread, signal) == 0;
}

void Thread::LogFail_(ReturnT const& code, char const* text) const {
    Log(Log::CRITICAL, IDENT, Name().Cstr(), text).Fail(code);
}

Thread* Thread::Self() { return tlsThread_; }

int Thread::Id() { return gettid(); }

Status* Thread::SelfStatus() { return tlsThread_ ? tlsThread_->status_ : nullptr; }

void Thread::SetStatus(Status* status) {
    if (tlsThread_) tlsThread_->status_ = status ? status : &tlsThread_->ownStatus_;
}

bool Thread::SelfInterrupted() { return tlsThread_ && tlsThread_->IsInterrupted(); }

void Thread::SetInterruptMask(MaskT_ mask) {
    if (tlsThread_) tlsThread_->control_->maskCount.fetch_add(mask ? -1 : 1, std::memory_order_relaxed);
}

unsigned long Thread::StackAddress() { return tlsThread_ ? tlsThread_->stackAddress_ : 0; }

unsigned long Thread::StackGuardSize() { return tlsThread_ ? tlsThread_->stackGuardSize_ : 0; }

void Thread::Yield() { nanosleep(&YIELD_TIME, nullptr); }

bool Thread::SetEnvironment(CString const& key, CString const& value) {
    if (!tlsThread_) return false;
    PlainGuard_ const guard(tlsThread_->control_->mutex);
    return tlsThread_->control_->environment.Set(key, value);
}

bool Thread::GetEnvironment(CString const& key, String& value) {
    if (!tlsThread_) return false;
    PlainGuard_ const guard(tlsThread_->control_->mutex);
    StringMap const& environment = tlsThread_->control_->environment;
    unsigned long const index = environment.Find(key);
    if (index == environment.Size()) return false;
    CString const& found = environment.Get(index);
    return value.Assign(found.Cstr(), found.Size());
}

bool Thread::DelEnvironment(CString const& key) {
    if (!tlsThread_) return false;
    PlainGuard_ const guard(tlsThread_->control_->mutex);
    return tlsThread_->control_->environment.Remove(key);
}

bool Thread::HasEnvironment(CString const& key) {
    if (!tlsThread_) return false;
    PlainGuard_ const guard(tlsThread_->control_->mutex);
    return tlsThread_->control_->environment.Has(key);
}
