#pragma once

// Condition: a lock and a condition variable in one object; a thread waits on the lock that it holds. A
// waiter loops on its own predicate, as a wait may end without it.
//
// Waits    Wait() until Signal(), Broadcast() or the end of its time, on the monotonic clock. Nothing else
// ends
//          it, an interruption of the thread included. So a thread that waits here is to be told to stop:
//
//   ReturnT Worker::Run() {
//       Mutex::Guard const guard(changed_);
//       while (!StopRequested()) {
//           if (jobs_.Empty()) changed_.Wait(-1L);
//           else Take_();
//       }
//       return ReturnT::Done();
//   }
//   bool Worker::Stop() {
//       {
//           Mutex::Guard const guard(changed_);
//           SetStop();
//           changed_.Broadcast();
//       }
//       return Thread::Stop();
//   }
//
// Locks    others that the thread holds stay held during a wait: hold none. Their monitor sees the lock as
//          WAITING meanwhile, and the time that counts for the threshold begins anew behind the wait.
// Destroy  when no thread waits on it.

#include "zeb/core/Export.h"
#include "zeb/core/TimeSpan.h"
#include "zeb/runtime/Mutex.h"

class ZEB_PUBLIC Condition : public Mutex {
public:
    static constexpr char const IDENT[] = "Condition";

    explicit Condition(PrecedenceT precedence);
    ~Condition() override;

    // True if signalled, or for no reason; false after the time-out or on an error, which is logged. The lock
    // is held again in either case. A negative time-out waits without limit.
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
