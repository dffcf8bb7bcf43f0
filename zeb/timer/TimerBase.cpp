#include "zeb/timer/TimerBase.h"

#include "zeb/runtime/MillisecondsImpl.h"
#include "zeb/timer/TimerImpl.h"

TimerBase::TimerBase(CString const& name, Mutex const* lock, CString const& queueName)
    : name_(name)
    , lock_(lock)
    , queue_(Queue::Acquire(queueName)) {}

TimerBase::~TimerBase() {
    if (queue_) Queue::Release(*this);
}

void TimerBase::Leave_() const {
    if (queue_) queue_->Forget(*this);
}

void TimerBase::Set(Time::Span const& delay) const {
    if (queue_) queue_->Set(*this, delay);
}

void TimerBase::Set(long milliseconds) const { Set(Milliseconds_(milliseconds)); }

void TimerBase::Cancel() const {
    if (queue_) queue_->Cancel(*this);
}
