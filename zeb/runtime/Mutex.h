#pragma once

// Mutex: a lock with a place in the one global order, Mutex::PrecedenceT. Each thread keeps a stack of the
// locks that it holds or is taking, and every operation is compared with it. For a thread that waits for a
// change take a Condition, which is a lock as well.
//
//   Mutex::Guard const guard(mutex_);                       // for a block of code
//   if (guard.Held()) ++count_;
//
// Place    a thread takes locks in rising order, and never two of one place. The place is that of the class
//          that owns the lock: below the locks that are taken while it is held. The library's own are
//          SERVICE, TASK_QUEUE, TIMER_QUEUE_LIST, TIMER_QUEUE, EVENT_SENDER and those around it,
//          PRE_ULTIMATE, ULTIMATE and STATUS_LOG: whoever raises events or sets timers with a lock held takes
//          a place below theirs, and a leaf lock around a value takes PRE_ULTIMATE or ULTIMATE.
//          docs/runtime.md has a table.
// Monitor  what breaks the order, unlocks in the wrong order or unlocks what is not held is logged at
//          Log::CRITICAL under the ident "Thread", with a backtrace, and goes on. Locking what the thread
//          already holds is refused: Lock() is false, "resource deadlock avoided".
//          An unlock in the wrong order frees the lock, but keeps its entry: this thread is refused the lock
//          from then on, until the thread has ended and was started again.
// Waits    Lock() until the lock is free, and nothing ends that wait, an interruption neither.
// Threads  any. On one without a Thread object it is a plain lock, without any check.
// Destroy  when nobody holds it or waits for it.
// Failure  an error of the system is logged, and the lock is not held; who gets false must not unlock.
// Memory   a thread takes more for its ninth lock held at once, and for each eight beyond. Without it the
//          lock is taken, the thread goes unchecked, and further locks are refused until the depth falls.

#include "zeb/core/CString.h"
#include "zeb/core/Export.h"
#include "zeb/core/ReturnT.h"
#include "zeb/core/TimeSpan.h"
#include "zeb/runtime/Precedence.h"

#include <pthread.h>

#include <cstdint>
#include <type_traits>

class ZEB_PUBLIC Mutex {
public:
    static constexpr char const IDENT[] = "Mutex";

#define ZEB_PRECEDENCE_ENUMERATOR(number, name) name = number,
    enum PrecedenceT : uint32_t { ZEB_MUTEX_PRECEDENCES(ZEB_PRECEDENCE_ENUMERATOR) };
#undef ZEB_PRECEDENCE_ENUMERATOR

    static constexpr uint32_t THRESHOLD_OFF = 0;

    class Guard;

    [[gnu::always_inline]] explicit constexpr Mutex(PrecedenceT precedence)
        : precedence_(precedence) {
        if (!std::is_constant_evaluated()) Initialize_();
    }
    virtual ~Mutex();
    Mutex(Mutex const&) = delete;
    Mutex& operator=(Mutex const&) = delete;

    // True if the lock is now held. False is an error, logged, and the lock is not held.
    virtual bool Lock() const;

    // Milliseconds for which the lock was held if that reached the threshold, which is logged, else 0.
    virtual unsigned long Unlock() const;

    // False, at once, if the lock is busy.
    virtual bool TryLock() const;

    PrecedenceT Precedence() const { return precedence_; }

    // "(UNKNOWN)" for a number that is not in the table.
    static char const* PrecedenceName(PrecedenceT precedence);

    // From how many milliseconds on a lock that was held, or its wait, is worth a warning, for all locks of
    // the program: 100 to 100000000, or THRESHOLD_OFF, which it is at first. Codes of SetThreshold:
    // 0x000903E8 and 0x800903E8 (out of range, no change); of RstThreshold 0x0009044C.
    static unsigned long Threshold();
    static ReturnT SetThreshold(CString const& value);
    static ReturnT RstThreshold();

protected:
    // Logs that a system operation failed.
    void Report_(char const* ident, ReturnT const& code, int error) const;

    // Milliseconds since the acquisition if they reach the threshold, else 0.
    unsigned long HeldTooLong_() const;
    void WarnHeldTooLong_(char const* ident, unsigned long milliseconds) const;

    mutable pthread_mutex_t mutex_ = PTHREAD_MUTEX_INITIALIZER;

    // Guarded by the lock itself.
    mutable Time::Span acquiredAt_;

    // Fixed after construction.
    PrecedenceT precedence_;
    bool initialized_ = true;

private:
    void Initialize_();

    // 0 or an error number.
    int Try_() const;
    int Block_() const;
};

// Holds a lock for a block of code, if it could be taken. Guards of one block end in reverse order, as they
// must.
class Mutex::Guard {
public:
    // Inlined always, so that a backtrace of the monitor begins with the function that has the guard.
    [[gnu::always_inline]] explicit Guard(Mutex const& mutex)
        : mutex_(mutex.Lock() ? &mutex : nullptr) {}
    [[gnu::always_inline]] ~Guard() {
        if (mutex_) mutex_->Unlock();
    }
    Guard(Guard const&) = delete;
    Guard& operator=(Guard const&) = delete;

    bool Held() const { return mutex_ != nullptr; }

private:
    Mutex const* mutex_;
};
