#pragma once

// The inside of the event bus: the table of subscribers, and the thread with the queue of raised events.

#include "zeb/core/AutoPtr.h"
#include "zeb/core/Intrusive.h"
#include "zeb/core/PVector.h"
#include "zeb/core/String.h"
#include "zeb/event/Bus.h"
#include "zeb/runtime/Condition.h"
#include "zeb/runtime/PatienceImpl.h"
#include "zeb/runtime/Thread.h"

namespace Event {

// One subscription. Owned by the vector of its target, or by the detached list once it was unsubscribed while
// it is being called.
class Acceptor_ {
    Intrusive::Hook hook_;

public:
    using ListT = Intrusive::List<Acceptor_, &Acceptor_::hook_>;
    static constexpr char const IDENT[] = "Event::Acceptor";

    // Null if memory ran out.
    static Acceptor_* New(BaseDelegate const& delegate);
    ~Acceptor_() { MoveTo(nullptr); }

    BaseDelegate& Delegate() const { return *delegate_; }
    CString const& Ident() const { return ident_; }
    void SetIdent(CString const& ident) { ident_ = ident; }
    bool Is(void const* object, CString const& ident) const {
        return delegate_->Object() == object && ident_ == ident;
    }

    // To the tail of the list, or into none, out of the one where it was.
    void MoveTo(ListT* list);
    bool IsIn(ListT const& list) const { return list_ == &list; }

private:
    explicit Acceptor_(BaseDelegate* delegate)
        : delegate_(delegate)
        , ident_(delegate->Ident()) {}

    AutoPtr<BaseDelegate, StdDeleter> delegate_;
    CString ident_; // that of the delegate, or of the one that it came back with during its call
    ListT* list_ = nullptr;
};

// Who has subscribed to what, and the delivery of one event to them.
class Forwarder_ {
public:
    static constexpr char const IDENT[] = "Event::Forwarder";

    // What a subscription did: with RESTORED an acceptor is back, and its reference is the one that it had.
    enum ResultT : unsigned { REFUSED = 0, ADDED = 1, RESTORED = 2 };

    ResultT Subscribe(CString const& type, BaseDelegate const& delegate);

    // The result is the number of acceptors that were destroyed. Waits for a call in progress unless the
    // caller is the one that makes it.
    unsigned long Unsubscribe(CString const& type, void const* object, CString const& ident,
                              bool isSenderThread);

    // On the thread of the sender.
    void Deliver(Base const& event);

private:
    class Target_;

    unsigned long FindTarget_(CString const& type) const;
    ResultT SubscribeFirst_(CString const& type, BaseDelegate const& delegate);
    ResultT SubscribeMore_(Target_& target, CString const& type, BaseDelegate const& delegate);
    static ResultT Restore_(Target_& target, Acceptor_& acceptor, BaseDelegate const& delegate);
    unsigned long Remove_(CString const& type, void const* object, CString const& ident);
    unsigned long RemoveFrom_(Target_& target, void const* object, CString const& ident);
    static bool Call_(BaseDelegate& delegate, CString const& ident, Base const& event, Patience_& patience);
    void Step_(Acceptor_& acceptor, Base const& event, Patience_& patience);

    Condition lock_{Mutex::PRE_ULTIMATE};

    // Guarded by lock_.
    AutoPVector<Target_, StdDeleter> targets_;
    Target_* currentTarget_ = nullptr;     // of the event under delivery
    Acceptor_* currentAcceptor_ = nullptr; // in its call; null while its lock is waited for
};

// All acceptors of one type of event.
class Forwarder_::Target_ {
public:
    ~Target_();

    bool IsUnused() const { return acceptors.Empty() && detached.Empty(); }

    // For a delivery: pending holds who is to be called, in this order.
    void Schedule(OrderT order, BaseDelegate const* delegate);

    String type;
    AutoPVector<Acceptor_, StdDeleter> acceptors; // in order of subscription
    Acceptor_::ListT detached;                    // unsubscribed during their call
    Acceptor_::ListT pending;                     // still to be called for the current event
};

class Sender final : public Thread {
public:
    static constexpr char const IDENT[] = "Event::Sender";

    // Null, logged, if it could not be made or started.
    static Sender* New();
    // Stops the thread; what is queued is destroyed unsent.
    ~Sender() override;

    bool Initialized() const override { return initialized_; }
    ReturnT Run() override;

    Forwarder_& Forwarder() { return forwarder_; }

    // Takes the event over. SYNC waits for the delivery.
    void Raise(AutoPtr<Base, StdDeleter>& event, AutoPtr<BaseDelegate, StdDeleter>& delegate, TypeT type,
               OrderT order);

private:
    Sender()
        : Thread("Event sender") {}

    void Complete_(Base const& event);

    bool initialized_ = false;
    Forwarder_ forwarder_;

    // Guarded by queueLock_.
    Base::QueueT_ queue_;
    Condition queueLock_{Mutex::EVENT_SENDER_QUEUE};

    // Raisers sleep on it; it guards their flags.
    Condition raiseLock_{Mutex::EVENT_SENDER_RAISE};
};

} // namespace Event
