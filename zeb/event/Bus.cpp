#include "zeb/event/Bus.h"

#include "zeb/event/SenderImpl.h"
#include "zeb/runtime/StatusLog.h"

#include <cstdint>

namespace Event {

namespace {

constexpr char const RAISE[] = "Event::Raise";

constinit Mutex senderLock{Mutex::EVENT_SENDER};

// Guarded by senderLock: the bus, and how many acceptors and operations in progress refer to it. It exists as
// long as there is one.
constinit Sender* sender_ = nullptr;
constinit uint64_t senderRefs_ = 0;

// Null if there is none.
Sender* Hold() {
    Mutex::Guard const guard(senderLock);
    if (sender_ != nullptr) ++senderRefs_;
    return sender_;
}

// Makes one if there is none. Null, logged, on failure.
Sender* HoldNew() {
    Mutex::Guard const guard(senderLock);
    if (sender_ == nullptr) sender_ = Sender::New();
    if (sender_ != nullptr) ++senderRefs_;
    return sender_;
}

void Release(uint64_t count) {
    Mutex::Guard const guard(senderLock);
    senderRefs_ -= count;
    if (senderRefs_ != 0) return;
    delete sender_;
    sender_ = nullptr;
}

bool CanBeSent(Base const& event) {
    if (event.Initialized()) return true;
    Log(Log::CRITICAL, RAISE, nullptr, "trying to send a broken \"%1\", ignored") << event.Ident();
    return false;
}

// False, logged, if the event was refused.
bool Send(AutoPtr<Base, StdDeleter>& event, AutoPtr<BaseDelegate, StdDeleter>& delegate, TypeT type,
          OrderT order) {
    if (!event) {
        Log(Log::CRITICAL, RAISE, nullptr, "trying to raise a broken event");
        return false;
    }
    if (!CanBeSent(*event)) return false;
    Sender* const sender = Hold();
    if (sender == nullptr) return true;
    bool const waitsForItself = type == SYNC && !sender->DifferentContext();
    if (waitsForItself) {
        Log(Log::CRITICAL, RAISE, nullptr, "trying to wait for \"%1\" in a handler, ignored")
            << event->Ident();
    } else {
        sender->Raise(event, delegate, type, order);
    }
    Release(1);
    return !waitsForItself;
}

} // namespace

bool Subscribe(CString const& type, BaseDelegate const& delegate) {
    Sender* const sender = HoldNew();
    if (sender == nullptr) return false;
    Forwarder_::ResultT const result = sender->Forwarder().Subscribe(type, delegate);
    // The reference of a new acceptor stays.
    if (result != Forwarder_::ADDED) Release(1);
    return result != Forwarder_::REFUSED;
}

void Unsubscribe(CString const& type, void const* object, CString const& ident) {
    Sender* const sender = Hold();
    if (sender == nullptr) return;
    bool const isSenderThread = !sender->DifferentContext();
    Release(1 + sender->Forwarder().Unsubscribe(type, object, ident, isSenderThread));
}

void Raise(AutoPtr<Base, StdDeleter>& event, AutoPtr<BaseDelegate, StdDeleter>& delegate, TypeT type,
           OrderT order) {
    (void)Send(event, delegate, type, order); // the line says what there is to say
}

void Raise(AutoPtr<Base, StdDeleter>& event, TypeT type, OrderT order) {
    AutoPtr<BaseDelegate, StdDeleter> everyone;
    Raise(event, everyone, type, order);
}

bool Raise(Base const& event, BaseDelegate const* delegate, TypeT type, OrderT order) {
    if (!CanBeSent(event)) return false;
    AutoPtr<Base, StdDeleter> clone(event.Clone());
    if (!clone) return false;
    AutoPtr<BaseDelegate, StdDeleter> target(delegate != nullptr ? delegate->Clone() : nullptr);
    if (delegate != nullptr && !target) {
        (void)StatusLog(ReturnT::Oom(), Log::CRITICAL, RAISE, event.Ident(), "").SetOom();
        return false;
    }
    return Send(clone, target, type, order);
}

} // namespace Event
