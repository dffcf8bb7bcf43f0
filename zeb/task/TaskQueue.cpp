#include "zeb/task/TaskQueue.h"

#include "zeb/core/Log.h"
#include "zeb/runtime/StatusLog.h"
#include "zeb/task/TaskImpl.h"

#include <new>

namespace Task {

Queue::Destructor::~Destructor() = default;

Queue::Queue(CString const& name, Time::Span const& idle, Destructor* destructor)
    : impl_(new (std::nothrow) Impl_(name, idle, destructor)) {
    if (!impl_) Log(Log::CRITICAL, IDENT, nullptr, "").Oom(ReturnT::Oom());
    if (!impl_ || impl_->Initialized()) return;
    delete impl_;
    impl_ = nullptr;
}

Queue::~Queue() { delete impl_; }

ReturnT Queue::EnqueueTask(Event::BaseDelegate const& delegate, Object* task) {
    if (impl_) return impl_->EnqueueTask(delegate, task);
    return StatusLog(NO_THREAD, Log::ERROR, IDENT, nullptr, "unable to create and start a thread");
}

void Queue::CancelTask(Event::BaseDelegate const& delegate, Object const* task) {
    if (impl_) impl_->CancelTask(delegate, task);
}

void Queue::CancelAllTasks(Event::BaseDelegate const& delegate) { CancelTask(delegate, nullptr); }

Queue::Impl_::Impl_(CString const& name, Time::Span const& idle, Destructor* destructor)
    : idle_(idle < Time::Span::Zero() ? Time::Span::Zero() : idle)
    , initialized_(name_.Assign(name.Cstr(), name.Size()))
    , destructor_(destructor)
    , timer_(name_, this, &Impl_::OnTimer_, &lock_) {
    char const* fault = nullptr;
    if (!timer_.Initialized()) fault = "unable to create a timer";
    if (!initialized_) {
        Log(Log::CRITICAL, IDENT, nullptr, "").Oom(ReturnT::Oom());
    } else if (!fault && idle_.IsZero()) {
        Mutex::Guard const guard(lock_);
        if (!MakeWorker_()) fault = "unable to create and start a thread";
    }
    if (!fault) return;
    initialized_ = false;
    Log(Log::CRITICAL, IDENT, name.Cstr(), fault);
}

// The worker runs what is queued, and those tasks may queue more; so the timer comes last.
Queue::Impl_::~Impl_() {
    {
        Mutex::Guard const guard(lock_);
        ++users_;
    }
    if (worker_ && !worker_->DifferentContext()) {
        worker_->Abandon();
    } else {
        delete worker_;
    }
    timer_.Cancel();
}

bool Queue::Impl_::MakeWorker_() {
    AutoPtr<Task::Thread> worker(new (std::nothrow) Task::Thread(name_, destructor_));
    if (!worker || !worker->Initialized()) return false;
    worker_ = worker.Release();
    return true;
}

ReturnT Queue::Impl_::EnqueueTask(Event::BaseDelegate const& delegate, Object* task) {
    Mutex::Guard const guard(lock_);
    if (!worker_ && !MakeWorker_()) {
        return StatusLog(NO_THREAD, Log::ERROR, IDENT, name_.Cstr(), "unable to create and start a thread");
    }
    ReturnT const code = worker_->EnqueueTask(delegate, task);
    if (code.Succeeded()) Update_();
    return code;
}

void Queue::Impl_::CancelTask(Event::BaseDelegate const& delegate, Object const* task) {
    {
        Mutex::Guard const guard(lock_);
        if (!worker_) return;
        ++users_;
    }
    worker_->CancelTask(delegate, task);
    Mutex::Guard const guard(lock_);
    --users_;
}

void Queue::Impl_::Update_() {
    if (!idle_.IsZero()) timer_.Set(idle_);
}

void Queue::Impl_::OnTimer_() {
    if (!worker_) return;
    if (users_ != 0 || worker_->IsActive()) return Update_();
    delete worker_;
    worker_ = nullptr;
}

} // namespace Task
