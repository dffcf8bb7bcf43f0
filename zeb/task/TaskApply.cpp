#include "zeb/task/TaskApply.h"

#include "zeb/core/Log.h"
#include "zeb/core/Time.h"
#include "zeb/event/LibraryEvents.h"
#include "zeb/runtime/PatienceImpl.h"
#include "zeb/runtime/Thread.h"

namespace {

// What a delay counts for.
long Capped_(long milliseconds) {
    constexpr long MAX = Task::ApplyBase::MAX_DELAY;
    if (milliseconds > MAX) return MAX;
    return milliseconds < -MAX ? -MAX : milliseconds;
}

Time::Span DeadlineIn_(long milliseconds) {
    return Time::Monotonic() + Time::Span(static_cast<int>(Capped_(milliseconds)));
}

} // namespace

namespace Task {

ApplyBase::ApplyBase(char const* ident, Queue& queue, Mutex& mutex, ApplyT apply, RunT run)
    : Object(run == RUN_LOCKED ? &mutex : nullptr, nullptr)
    , queue_(&queue)
    , mutex_(&mutex)
    , apply_(apply)
    , run_(run)
    , onTaskDone_(ident, this, &ApplyBase::OnTaskDone_, &mutex)
    , timer_(onTaskDone_.Ident(), this, &ApplyBase::OnTimer_, &mutex) {
    initialized_ = timer_.Initialized();
    if (!initialized_) Log(Log::ERROR, IDENT, ident, "unable to initialize a timer");
}

ApplyBase::~ApplyBase() {
    timer_.Cancel();
    if (state_ == IDLE) return;
    Log(Log::CRITICAL, IDENT, Ident(), "destroyed before it was cleaned up").Fail(ReturnT::Fail());
    Cancel();
}

void ApplyBase::Enqueue(long milliseconds) {
    if (!active_ || state_ == QUEUED) return;
    if (state_ == TIMER) {
        Time::Span const deadline = DeadlineIn_(milliseconds);
        if (apply_ == APPLY_EARLIEST ? deadline >= deadline_ : deadline == deadline_) return;
    }
    SetTimer_(milliseconds);
    state_ = TIMER;
}

void ApplyBase::SetTimer_(long milliseconds) {
    deadline_ = DeadlineIn_(milliseconds);
    timer_.Set(milliseconds == 0 ? 1 : milliseconds);
}

void ApplyBase::OnTimer_() {
    if (state_ != TIMER) {
        Log(Log::CRITICAL, IDENT, Ident(), "its timer expired unasked").Fail(ReturnT::Fail());
        return;
    }
    if (queue_->EnqueueTask(onTaskDone_, this).Succeeded()) {
        state_ = QUEUED;
        return;
    }
    Log(Log::CRITICAL, IDENT, Ident(), "unable to queue it").Fail(ReturnT::Fail());
    SetTimer_(RETRY_DELAY);
}

ReturnT ApplyBase::Run() {
    if (run_ == RUN_LOCKED) {
        GoIdle_();
    } else {
        if (!LockMutex_()) return ReturnT::Done();
        GoIdle_();
        mutex_->Unlock();
    }
    Apply_();
    return ReturnT::Done();
}

// False if the thread was interrupted.
bool ApplyBase::LockMutex_() const {
    PatienceWords_ const words = {IDENT, nullptr, "acquiring \"%1\" handler %2 seconds", nullptr};
    for (Patience_ patience; !::Thread::SelfInterrupted(); ::Thread::Yield()) {
        if (patience.TryLock(*mutex_, words, Ident())) return true;
    }
    return false;
}

// Ahead of the work, so that a request that comes during it starts anew.
void ApplyBase::GoIdle_() {
    state_ = IDLE;
    deadline_ = Time::Span::Zero();
}

Time::Span ApplyBase::Left() const {
    Time::Span const left = deadline_ - Time::Monotonic();
    return left < Time::Span::Zero() ? Time::Span::Zero() : left;
}

void ApplyBase::Cancel() {
    timer_.Cancel();
    queue_->CancelAllTasks(onTaskDone_);
    GoIdle_();
}

void ApplyBase::Cleanup() {
    Deactivate();
    Cancel();
}

// The event only carries the end of the task.
void ApplyBase::OnTaskDone_(Event::TaskDone const&) {}

} // namespace Task
