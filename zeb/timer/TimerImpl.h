#pragma once

// TimerBase::Queue: the thread that serves the timers of one name. Not installed.
//
// Locks: the list of queues, then the queue. The queue holds none of its own during a callback, nor while it
// tries the lock of a timer; so an owner may call Set() and Cancel() with its lock held, and a callback as
// well.

#include "zeb/runtime/Condition.h"
#include "zeb/runtime/PatienceImpl.h"
#include "zeb/runtime/Thread.h"
#include "zeb/timer/TimerBase.h"

class TimerBase::Queue final : public Thread {
public:
    static constexpr char const IDENT[] = "Timer";

    // The queue of that name, made if there is none, with one reference more. Null, logged, on failure.
    static Queue* Acquire(CString const& name);

    // Takes the reference of a timer back; the last one ends the queue.
    static void Release(TimerBase const& timer);

    explicit Queue(CString const& name);
    ~Queue() override;
    bool Initialized() const override { return started_; }
    ReturnT Run() override;

    void Set(TimerBase const& timer, Time::Span const& delay);
    void Cancel(TimerBase const& timer);

    // Ahead of the end of the timer.
    void Forget(TimerBase const& timer);

private:
    static Queue* Find_(CString const& name);
    static Queue* Create_(CString const& name);

    // With the lock held.
    void Serve_(TimerBase& timer);
    bool HasEarlier_(TimerBase const& timer) const;
    void Insert_(TimerBase& timer);
    bool AwaitEnd_(TimerBase const& timer);

    // Without it.
    static bool Try_(TimerBase const& timer, Patience_& patience);

    Intrusive::Hook hook_; // guarded by the lock of the list

    // Guarded by the lock.
    Intrusive::List<TimerBase, &TimerBase::hook_> active_; // the earliest deadline first
    TimerBase const* current_ = nullptr;                   // is being run, or waits for its lock
    TimerBase const* dropped_ = nullptr; // was so, and gave a call up that was still to come
    Condition const lock_{Mutex::TIMER_QUEUE};
    bool cancelled_ = false; // somebody wants the current timer dropped

    bool started_;                 // fixed after construction
    unsigned long references_ = 0; // guarded by the lock of the list

    using ListT_ = Intrusive::List<Queue, &Queue::hook_>;
    static ListT_ queues_;
};
