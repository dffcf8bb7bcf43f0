#pragma once

// TimerBase: calls back once, a delay after Set(), on the thread of a timer queue. Timer.h has the concrete
// Timer<T>. Queues go by name: the timers that give one name share a queue, whose thread starts with the
// first of them and ends with the last.
//
// The callback runs with the lock of the timer held, if it has one. The queue never blocks on that lock: it
// tries every 50 milliseconds, serves timers that are due earlier meanwhile, and logs every 30 seconds who
// holds it. Set() in the callback arms the timer anew, which makes a periodic one.
//
// Operations may be called from any thread, with the lock of the timer held or not; the locks held must stand
// below TIMER_QUEUE, for life and death of a timer below TIMER_QUEUE_LIST. The owner cancels a timer that has
// not expired before it destroys it; one that is still active is logged. It is not destroyed in its callback.
//
// A timer whose queue could not be made is logged and not Initialized(); its operations do nothing.

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

    // The delay runs from now. An active timer moves to its new deadline. While the callback runs in another
    // thread this waits for its end first.
    void Set(Time::Span const& delay) const;
    void Set(long milliseconds) const;

    // When it returns the timer is idle, and no callback runs, unless it is called from that callback.
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
