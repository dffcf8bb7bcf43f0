#include "zeb/event/SenderImpl.h"
#include "zeb/runtime/StatusLog.h"

#include <new>

namespace Event {

Sender* Sender::New() {
    auto* const sender = new (std::nothrow) Sender;
    if (sender == nullptr) {
        (void)StatusLog(ReturnT::Oom(), Log::CRITICAL, Acceptor_::IDENT, nullptr, "").SetOom();
        return nullptr;
    }
    sender->initialized_ = sender->Thread::Initialized() && sender->Start().Succeeded();
    if (sender->initialized_) return sender;
    (void)StatusLog(ReturnT::Fail(), Log::CRITICAL, IDENT, nullptr, "unable to start the thread of the bus")
        .SetFail();
    delete sender;
    return nullptr;
}

Sender::~Sender() {
    if (initialized_) {
        SetStop();
        {
            Mutex::Guard const guard(queueLock_);
            queueLock_.Signal();
        }
        if (!Stop())
            (void)StatusLog(ReturnT::Fail(), Log::CRITICAL, IDENT, nullptr,
                            "unable to stop the thread of the bus")
                .SetFail();
    }
    Mutex::Guard const guard(queueLock_);
    while (Base* const event = queue_.PopFront())
        delete event;
}

ReturnT Sender::Run() {
    (void)queueLock_.Lock(); // fails only for a lock that is held already
    for (;;) {
        AutoPtr<Base, StdDeleter> event(queue_.PopFront());
        if (!event) {
            if (StopRequested()) break;
            queueLock_.Wait(-1L);
            continue;
        }
        queueLock_.Unlock();
        forwarder_.Deliver(*event);
        Complete_(*event);
        (void)queueLock_.Lock();
        event.Reset();
    }
    queueLock_.Unlock();
    return SelfStatus()->Code();
}

void Sender::Raise(AutoPtr<Base, StdDeleter>& event, AutoPtr<BaseDelegate, StdDeleter>& delegate, TypeT type,
                   OrderT order) {
    bool completed = false;
    {
        Mutex::Guard const guard(queueLock_);
        event->MarkRaised();
        event->SetDelegate_(delegate);
        event->SetRaiseCompleted_(type == SYNC ? &completed : nullptr);
        event->SetOrder_(order);
        queue_.PushBack(*event.Release());
        queueLock_.Signal();
    }
    if (type != SYNC) return;
    Mutex::Guard const guard(raiseLock_);
    while (!completed)
        raiseLock_.Wait(-1L);
}

// The flag lies on the stack of the raiser, which may go as soon as it is set and the lock released.
void Sender::Complete_(Base const& event) {
    if (event.RaiseCompleted_() == nullptr) return;
    Mutex::Guard const guard(raiseLock_);
    *event.RaiseCompleted_() = true;
    raiseLock_.Broadcast();
}

} // namespace Event
