#pragma once

// Condition: a lock and a condition variable in one object; a thread waits on the lock that it holds.
// Time-outs run on the monotonic clock. A waiter loops on its own predicate:
//
//   Mutex::Guard const guard(condition_);
//   while (queue_.Empty()) condition_.Wait(-1L);

#include "zeb/core/Export.h"
#include "zeb/core/TimeSpan.h"
#include "zeb/runtime/Mutex.h"

class ZEB_PUBLIC Condition : public Mutex {
public:
    static constexpr char const IDENT[] = "Condition";

    explicit Condition(PrecedenceT precedence);
    ~Condition() override;

    // True if signalled; false after the time-out or on an error, which is logged. The lock is held again in
    // either case. A negative time-out waits without limit.
    bool Wait(Time::Span const& timeout) const;
    bool Wait(long milliseconds) const;

    // The caller holds the lock. Signalling without it is logged, and done all the same.
    void Signal() const;
    void Broadcast() const;

private:
    int WaitMonitored_(Time::Span const& timeout) const;
    void Finish_(int error) const;

    mutable pthread_cond_t condition_;
    bool conditionInitialized_ = false;
};
