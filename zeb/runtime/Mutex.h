#pragma once

// Mutex: a lock with a place in the one global order, Mutex::PrecedenceT. Each thread keeps a stack of the
// locks that it holds or is taking, and every operation is compared with it. Taking locks out of order or
// unlocking in the wrong order is logged at Log::CRITICAL under the ident "Thread", with a backtrace, and the
// operation goes on. Only taking a lock that the thread already holds is refused.
//
// Lock() says whether the lock is held, and who gets false must not unlock. Mutex::Guard does that by itself:
//
//   Mutex::Guard const guard(mutex_);
//
// A threshold, off at first, warns of every lock that was held longer. The lock is not recursive. On a thread
// without a Thread object it is a plain lock, without any check.

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

    explicit constexpr Mutex(PrecedenceT precedence)
        : precedence_(precedence) {
        if (!std::is_constant_evaluated()) Initialize_();
    }
    virtual ~Mutex();
    Mutex(Mutex const&) = delete;
    Mutex& operator=(Mutex const&) = delete;

    // True if the lock is now held. False is an error, logged, and the lock is not held.
    virtual bool Lock() const;

    // Milliseconds for which the lock was held if that reached the threshold, else 0.
    virtual unsigned long Unlock() const;

    // False, at once, if the lock is busy.
    virtual bool TryLock() const;

    PrecedenceT Precedence() const { return precedence_; }

    // "(UNKNOWN)" for a number that is not in the table.
    static char const* PrecedenceName(PrecedenceT precedence);

    // The threshold in milliseconds, for all locks: 100 to 100000000, or THRESHOLD_OFF. Codes of
    // SetThreshold: 0x000903E8 and 0x800903E8 (out of range); of RstThreshold 0x0009044C.
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

// Holds a lock for a block of code, if it could be taken.
class Mutex::Guard {
public:
    explicit Guard(Mutex const& mutex)
        : mutex_(mutex.Lock() ? &mutex : nullptr) {}
    ~Guard() {
        if (mutex_) mutex_->Unlock();
    }
    Guard(Guard const&) = delete;
    Guard& operator=(Guard const&) = delete;

    bool Held() const { return mutex_ != nullptr; }

private:
    Mutex const* mutex_;
};
