#pragma once

// Task::ApplyBase: work that is to be done a given time from now, once however often it is asked for until
// then. A subclass gives the work in Apply_(). Enqueue() starts a timer; when that expires the object goes to
// the task queue, whose thread calls Apply_(). For work that is done as often as asked for take a
// Task::Object.
//
//   class Writer : public Task::ApplyBase {
//   public:
//       Writer(Task::Queue& queue, Mutex& mutex)
//           : ApplyBase("Writer", queue, mutex, APPLY_EARLIEST, RUN_LOCKED), mutex_(mutex) {}
//       ~Writer() override {
//           Mutex::Guard const guard(mutex_);
//           Cleanup();
//       }
//   protected:
//       void Apply_() override { Write_(); }
//   };
//
// Merging  a request that comes ahead of the run is merged with it; one during Apply_() starts anew.
// Owns     its timer. Queue, mutex and ident outlive the object.
// Locks    the mutex is the owner's, and the caller of Enqueue(), Cancel(), Cleanup(), Activate(),
//          Deactivate() and Left() holds it. Its place is below TASK_QUEUE, for construction and
//          destruction too.
// Waits    Cancel() and Cleanup() for an Apply_() that runs, with the mutex held; so one that runs without
//          it must not block on it. Apply_() that takes long tests Thread::SelfInterrupted().
// Destroy  cleaned up, by the destructor of the derived class, and not in Apply_(); one that is not is logged
//          and cancelled.
// Memory   a request takes none. A run that cannot be queued is logged, and tried again each second.

#include "zeb/core/Export.h"
#include "zeb/core/TimeSpan.h"
#include "zeb/event/Delegate.h"
#include "zeb/task/TaskObject.h"
#include "zeb/task/TaskQueue.h"
#include "zeb/timer/Timer.h"

#include <atomic>

namespace Event {
class TaskDone;
}

namespace Task {

class ZEB_PUBLIC ApplyBase : public Object {
public:
    static constexpr char const IDENT[] = "Task::Apply";

    // What a request does to the deadline of the one before it: bring it forward, or move it either way.
    enum ApplyT : unsigned { APPLY_EARLIEST = 0, APPLY_LATEST = 1 };

    // Whether Apply_() runs with the mutex held.
    enum RunT : unsigned { RUN_UNLOCKED = 0, RUN_LOCKED = 1 };

    static constexpr long MAX_DELAY = 604800000; // 7 days in milliseconds
    static constexpr long RETRY_DELAY = 1000;    // milliseconds

    // The ident is kept as a view.
    ApplyBase(char const* ident, Queue& queue, Mutex& mutex, ApplyT apply, RunT run);
    ~ApplyBase() override;

    bool Initialized() const override { return initialized_; }
    char const* Ident() const override { return onTaskDone_.Ident().Cstr(); }
    ReturnT Run() override;

    // Nothing happens while it is deactivated. A delay of 0 counts as 1 millisecond.
    void Enqueue(long milliseconds);

    // Until the timer expires; zero if none runs.
    Time::Span Left() const;

    // No Apply_() is due or, but for the calling one, runs any more.
    void Cancel();

    // Cancels, and accepts no request until Activate().
    void Cleanup();

    void Activate() { active_ = true; }
    void Deactivate() { active_ = false; }

protected:
    virtual void Apply_() = 0;

private:
    enum StateT_ : unsigned { IDLE = 0, TIMER = 1, QUEUED = 2 };

    void SetTimer_(long milliseconds);
    void OnTimer_();
    void OnTaskDone_(Event::TaskDone const& event);
    void GoIdle_();
    bool LockMutex_() const;

    // Guarded by the mutex, but for what is fixed after construction, and the look of the destructor.
    bool initialized_;
    std::atomic<StateT_> state_ = IDLE;
    Queue* queue_;
    Mutex* mutex_;
    ApplyT apply_;
    RunT run_;
    bool active_ = true;
    Event::Delegate<ApplyBase> onTaskDone_;
    Time::Span deadline_; // zero when idle
    Timer<ApplyBase> timer_;
};

} // namespace Task
