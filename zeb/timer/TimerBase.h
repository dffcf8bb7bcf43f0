#pragma once

// TimerBase: calls back once, a delay after Set(), on the thread of a timer queue. Timer.h has the concrete
// Timer<T>, which is what a client takes. For work that may take long post a task from the callback
// (zeb/task/TaskQueue.h): a callback that stays keeps its whole queue waiting.
//
// Queues   go by name: the timers that give one name share a queue, whose thread starts with the first of
//          them and ends with the last. A queue serves its timers by deadline, equal ones in the order of
//          Set().
// Callback runs with the lock of the timer held, if it has one. The queue never blocks on that lock: it tries
//          every 50 milliseconds, and logs every 30 seconds who holds it; timers that are due earlier than
//          the one that is tried are served meanwhile, the others wait behind it. Set() in the callback arms
//          the timer anew, which makes a periodic one; Cancel() in it does not wait.
// Threads  any. Of a Set() or Cancel() on another thread during the callback nothing is lost: it waits for
//          the end of the callback, and what that has armed gives way.
// Waits    Set(), Cancel() and the destructor for a callback in progress, unless they are called from it;
//          nothing interrupts that wait.
// Locks    those held must stand below TIMER_QUEUE, and for construction and destruction below
//          TIMER_QUEUE_LIST. The timer's own lock may be held; hold none of others that its callback takes.
// Destroy  anywhere but in its own callback, cancelled or expired; one that is still active is logged
//          ("... timer is still active") and does not call any more.
// Cost     Set() takes time in proportion to the timers of the queue that are due before it: 0.2 microseconds
//          among 16, 8 among 4,096, 70 among 16,384. Many timers take several queues, or one timer and a list
//          of their owner.
// Memory   taken by the first timer of a queue alone. A timer whose queue could not be made is logged and not
//          Initialized(); its operations do nothing.

#include "zeb/core/CString.h"
#include "zeb/core/Export.h"
#include "zeb/core/Intrusive.h"
#include "zeb/core/TimeSpan.h"

class Mutex;

class ZEB_PUBLIC TimerBase {
public:
    static constexpr char const QUEUE_NAME_DEFAULT[] = "Timer";

    class Queue;

    virtual ~TimerBase();
    virtual void Run() const = 0;

    TimerBase(TimerBase const&) = delete;
    TimerBase& operator=(TimerBase const&) = delete;

    bool Initialized() const { return queue_ != nullptr; }

    // The delay runs from now; one that is not positive is due at once. An active timer moves to its new
    // deadline.
    void Set(Time::Span const& delay) const;
    void Set(long milliseconds) const;

    // When it returns the timer is idle, and no callback runs but for the calling one.
    void Cancel() const;

protected:
    // The name is kept as a view, and so outlives the timer. The lock may be null.
    TimerBase(CString const& name, Mutex const* lock, CString const& queueName);

    // Ahead of the end of a derived class, whose Run() the queue could call until then: the last statement
    // that its destructor needs. Waits for a callback in progress; a timer that was still active is logged.
    void Leave_() const;

private:
    // Fixed after construction.
    CString name_;
    Mutex const* lock_;
    Queue* queue_;

    // Guarded by the lock of the queue.
    mutable Intrusive::Hook hook_;
    mutable Time::Span deadline_; // on the monotonic clock
};
