#include "zeb/event/SenderImpl.h"
#include "zeb/runtime/PatienceImpl.h"
#include "zeb/runtime/StatusLog.h"

#include <new>

namespace Event {

namespace {

bool ReportOom() {
    (void)StatusLog(ReturnT::Oom(), Log::CRITICAL, Acceptor_::IDENT, nullptr, "").SetOom();
    return false;
}

void ReportRefusal(char const* message, BaseDelegate const& delegate, CString const* type = nullptr) {
    StatusLog report(ReturnT::Fail(), Log::CRITICAL, Forwarder_::IDENT, nullptr, message);
    report << delegate.Ident();
    if (type != nullptr) report << *type;
    (void)report.SetFail();
}

template<class ContainerT>
Acceptor_* FindEqual(ContainerT const& acceptors, BaseDelegate const& delegate) {
    for (Acceptor_& acceptor : acceptors) {
        if (acceptor.Delegate() == delegate) return &acceptor;
    }
    return nullptr;
}

Acceptor_* FindEqual(AutoPVector<Acceptor_, StdDeleter>& acceptors, BaseDelegate const& delegate) {
    for (unsigned long i = 0; i != acceptors.Size(); ++i) {
        if (acceptors[i]->Delegate() == delegate) return acceptors[i];
    }
    return nullptr;
}

} // namespace

Acceptor_* Acceptor_::New(BaseDelegate const& delegate) {
    AutoPtr<BaseDelegate, StdDeleter> clone(delegate.Clone());
    if (!clone) return nullptr;
    auto* const acceptor = new (std::nothrow) Acceptor_(clone.Ptr());
    if (acceptor != nullptr) (void)clone.Release(); // owned by the acceptor now
    return acceptor;
}

void Acceptor_::MoveTo(ListT* list) {
    if (list_ != nullptr) list_->Remove(*this);
    list_ = list;
    if (list_ != nullptr) list_->PushBack(*this);
}

Forwarder_::Target_::~Target_() {
    while (Acceptor_* const acceptor = detached.Front())
        delete acceptor;
}

void Forwarder_::Target_::Schedule(OrderT order, BaseDelegate const* delegate) {
    unsigned long const count = acceptors.Size();
    for (unsigned long i = 0; i != count; ++i) {
        Acceptor_& acceptor = *acceptors[order == DIRECT ? i : count - 1 - i];
        if (delegate != nullptr && acceptor.Delegate() != *delegate) continue;
        acceptor.MoveTo(&pending);
        if (delegate != nullptr) return;
    }
}

unsigned long Forwarder_::FindTarget_(CString const& type) const {
    unsigned long i = 0;
    while (i != targets_.Size() && targets_[i]->type != type)
        ++i;
    return i;
}

Forwarder_::ResultT Forwarder_::Subscribe(CString const& type, BaseDelegate const& delegate) {
    if (type.Empty()) {
        ReportRefusal("unable to subscribe \"%1\" to an unknown event", delegate);
        return REFUSED;
    }
    Mutex::Guard const guard(lock_);
    unsigned long const i = FindTarget_(type);
    return i == targets_.Size() ? SubscribeFirst_(type, delegate)
                                : SubscribeMore_(*targets_[i], type, delegate);
}

Forwarder_::ResultT Forwarder_::SubscribeFirst_(CString const& type, BaseDelegate const& delegate) {
    AutoPtr<Acceptor_, StdDeleter> acceptor(Acceptor_::New(delegate));
    AutoPtr<Target_, StdDeleter> target(new (std::nothrow) Target_);
    if (acceptor && target && target->type.Assign(type.Cstr(), type.Size()) &&
        target->acceptors.PushBack(acceptor) && targets_.PushBack(target))
        return ADDED;
    ReportOom();
    return REFUSED;
}

Forwarder_::ResultT Forwarder_::SubscribeMore_(Target_& target, CString const& type,
                                               BaseDelegate const& delegate) {
    if (FindEqual(target.acceptors, delegate) != nullptr) {
        ReportRefusal("\"%1\" already subscribed to \"%2\"", delegate, &type);
        return REFUSED;
    }
    Acceptor_* const detached = FindEqual(target.detached, delegate);
    if (detached != nullptr && detached == currentAcceptor_) return Restore_(target, *detached, delegate);
    AutoPtr<Acceptor_, StdDeleter> acceptor(Acceptor_::New(delegate));
    if (!acceptor || !target.acceptors.PushBack(acceptor)) {
        ReportOom();
        return REFUSED;
    }
    if (detached == nullptr) return ADDED;
    delete detached; // its call has ended: the new acceptor has its reference
    return RESTORED;
}

// An acceptor that is being called.
Forwarder_::ResultT Forwarder_::Restore_(Target_& target, Acceptor_& acceptor, BaseDelegate const& delegate) {
    if (acceptor.Delegate().Lock() != delegate.Lock()) {
        ReportRefusal("unable to change a lock for a \"%1\" acceptor", delegate);
        return REFUSED;
    }
    if (!target.acceptors.PushBack(&acceptor)) {
        ReportOom();
        return REFUSED;
    }
    acceptor.MoveTo(nullptr);
    acceptor.SetIdent(delegate.Ident());
    return RESTORED;
}

unsigned long Forwarder_::Unsubscribe(CString const& type, void const* object, CString const& ident,
                                      bool isSenderThread) {
    Mutex::Guard const guard(lock_);
    unsigned long destroyed = 0;
    for (;;) {
        Acceptor_ const* const inFlight = currentAcceptor_;
        bool const mustWait = inFlight != nullptr && inFlight->Is(object, ident) && !isSenderThread;
        destroyed += Remove_(type, object, ident);
        if (!mustWait) return destroyed;
        while (currentAcceptor_ == inFlight)
            lock_.Wait(-1L);
    }
}

unsigned long Forwarder_::Remove_(CString const& type, void const* object, CString const& ident) {
    unsigned long destroyed = 0;
    for (unsigned long i = targets_.Size(); i-- != 0;) {
        Target_& target = *targets_[i];
        if (!type.Empty() && target.type != type) continue;
        destroyed += RemoveFrom_(target, object, ident);
        if (!target.IsUnused()) continue;
        if (currentTarget_ == &target) currentTarget_ = nullptr;
        targets_.Free(i);
    }
    return destroyed;
}

unsigned long Forwarder_::RemoveFrom_(Target_& target, void const* object, CString const& ident) {
    unsigned long destroyed = 0;
    for (unsigned long i = target.acceptors.Size(); i-- != 0;) {
        Acceptor_* const acceptor = target.acceptors[i];
        if (!acceptor->Is(object, ident)) continue;
        target.acceptors.Remove(i);
        if (acceptor == currentAcceptor_) {
            acceptor->MoveTo(&target.detached);
            continue;
        }
        delete acceptor;
        ++destroyed;
    }
    for (Acceptor_* next = target.detached.Front(); next != nullptr;) {
        Acceptor_* const acceptor = next;
        next = target.detached.Next(*acceptor);
        if (!acceptor->Is(object, ident) || acceptor == currentAcceptor_) continue;
        delete acceptor;
        ++destroyed;
    }
    return destroyed;
}

void Forwarder_::Deliver(Base const& event) {
    Mutex::Guard const guard(lock_);
    unsigned long const i = FindTarget_(event.Ident());
    if (i == targets_.Size()) return;
    currentTarget_ = targets_[i];
    currentTarget_->Schedule(event.Order_(), event.Delegate_());
    Patience_ patience; // with the acceptor at hand
    // Whoever takes the last acceptor out of the target takes the target away as well.
    while (currentTarget_ != nullptr && !currentTarget_->pending.Empty())
        Step_(*currentTarget_->pending.Front(), event, patience);
    currentTarget_ = nullptr;
    currentAcceptor_ = nullptr;
    lock_.Broadcast();
}

// The lock is given up for the call. The acceptor lives on until it is no longer the current one.
void Forwarder_::Step_(Acceptor_& acceptor, Base const& event, Patience_& patience) {
    currentAcceptor_ = &acceptor;
    CString const ident = acceptor.Ident(); // guarded by lock_: it may get another one during its call
    lock_.Broadcast();
    lock_.Unlock();
    bool const isCalled = Call_(acceptor.Delegate(), ident, event, patience);
    (void)lock_.Lock(); // fails only for a lock that is held already
    if (isCalled) {
        if (currentTarget_ == nullptr) return;
        if (acceptor.IsIn(currentTarget_->pending)) acceptor.MoveTo(nullptr);
        patience = Patience_();
        return;
    }
    currentAcceptor_ = nullptr;
    lock_.Broadcast();
    lock_.Unlock();
    Thread::Yield();
    (void)lock_.Lock();
}

// False if the lock of the acceptor is busy.
bool Forwarder_::Call_(BaseDelegate& delegate, CString const& ident, Base const& event, Patience_& patience) {
    constexpr PatienceWords_ WORDS = {IDENT, nullptr, "unable to send \"%1\" to \"%2\" for %3 seconds",
                                      "sending \"%1\" to \"%2\" for %3 ms."};
    return patience.Run(
        delegate.Lock(), [&] { delegate.Handle(event); }, WORDS, event.Ident(), ident);
}

} // namespace Event
