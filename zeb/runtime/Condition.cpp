#include "zeb/runtime/Condition.h"

#include "zeb/core/Log.h"
#include "zeb/core/Time.h"
#include "zeb/core/UnseenImpl.h"
#include "zeb/runtime/MillisecondsImpl.h"
#include "zeb/runtime/ThreadImpl.h"

#include <cerrno>

ZEB_UNSEEN Condition::Condition(PrecedenceT precedence)
    : Mutex(precedence) {
    pthread_condattr_t attributes;
    int error = pthread_condattr_init(&attributes);
    if (!error) {
        error = pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC);
        if (!error) error = pthread_cond_init(&condition_, &attributes);
        pthread_condattr_destroy(&attributes);
    }
    conditionInitialized_ = error == 0;
    if (error) Report_(IDENT, ReturnT::Fail(), error);
}

Condition::~Condition() {
    if (conditionInitialized_) pthread_cond_destroy(&condition_);
}

ZEB_UNSEEN bool Condition::Wait(Time::Span const& timeout) const {
    unsigned long const held = HeldTooLong_();
    if (held) WarnHeldTooLong_(IDENT, held);

    int const error = conditionInitialized_ ? WaitMonitored_(timeout) : EINVAL;
    if (!error) return true;
    if (error != ETIMEDOUT) Report_(IDENT, ReturnT::Fail(), error);
    return false;
}

ZEB_UNSEEN bool Condition::Wait(long milliseconds) const { return Wait(Milliseconds_(milliseconds)); }

ZEB_UNSEEN int Condition::WaitMonitored_(Time::Span const& timeout) const {
    Thread* const self = tlsThread_;
    Time::Span const start = Time::Monotonic();
    if (self) self->LockWaitStarted_(*this, start);
    int error;
    if (timeout < Time::Span::Zero()) {
        error = pthread_cond_wait(&condition_, &mutex_);
    } else {
        timespec const deadline = start + timeout;
        error = pthread_cond_timedwait(&condition_, &mutex_, &deadline);
    }
    Time::Span const end = Time::Monotonic();
    if (self) self->LockWaitFinished_(*this, end);
    if (!error || error == ETIMEDOUT) acquiredAt_ = end;
    return error;
}

ZEB_UNSEEN void Condition::Signal() const {
    Finish_(conditionInitialized_ ? pthread_cond_signal(&condition_) : EINVAL);
}

ZEB_UNSEEN void Condition::Broadcast() const {
    Finish_(conditionInitialized_ ? pthread_cond_broadcast(&condition_) : EINVAL);
}

ZEB_UNSEEN void Condition::Finish_(int error) const {
    if (error) Report_(IDENT, ReturnT::Fail(), error);
    if (!tlsThread_ || tlsThread_->LockIsAcquired_(*this, Log::VERBOSE_ON)) return;
    Log(Log::CRITICAL, IDENT, PrecedenceName(precedence_), "").Fail(ReturnT::Fail());
}
