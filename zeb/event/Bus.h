#pragma once

// The event bus: one queue of raised events and one thread, which calls the acceptors of each event in turn.
//
//   Event::Subscribe(onHeartbeat_);                       // a Delegate<..., Event::Heartbeat> of this object
//   ...
//   AutoPtr<Event::Base> event(new (std::nothrow) Event::Heartbeat);
//   Event::Raise(event, Event::ASYNC, Event::DIRECT);
//   ...
//   Event::Unsubscribe(onHeartbeat_);                     // before the object goes
//
// Use it to tell what happened to whoever wants to know. To have a piece of work done and to wait for its
// result post a task (zeb/task/TaskQueue.h): handlers are short, as all events behind them wait.
//
// Owns       an event from Raise() on; clones of delegates from Subscribe() to Unsubscribe(). The thread
//            lives as long as there is an acceptor or an operation in progress: an event that is raised
//            without it is dropped at no cost. The queue has no limit
// Threads    any. Handlers run on the thread of the bus, one after the other, with the lock of their delegate
//            held and no lock of the bus
// Waits      Raise() with SYNC for the delivery to all, and Unsubscribe() for a call in progress: neither has
//            a limit, and nothing interrupts it. The bus never blocks on the lock of an acceptor: it polls,
//            and every 30 seconds it logs who holds it; all events behind that one are held up
// Locks      all operations may be called under locks of places below EVENT_SENDER. Around Raise() with SYNC
//            hold none that a handler needs, and around Unsubscribe() none that its handler takes by itself;
//            the lock of the delegate may be held there
// Callback   a handler may raise, subscribe and unsubscribe, itself too, and destroy its object behind that
//            if its lock lies elsewhere. SYNC would wait for itself: it is logged and refused there
// Memory     taken by Subscribe() and by the raise of clones; a failure is logged, and leaves nothing behind

#include "zeb/event/Base.h"
#include "zeb/event/BaseDelegate.h"
#include "zeb/event/Delegate.h"

#include <concepts>

namespace Event {

// Calls a clone of the delegate for events of the type, after those that are subscribed to it. False, logged:
// an empty type, the same handler subscribed already, no memory, no thread. The type is the IDENT of a class
// of events, or the text of it. A handler that was unsubscribed in its own call, and is still running, can be
// subscribed again only with the same lock.
[[nodiscard]] ZEB_PUBLIC bool Subscribe(CString const& type, BaseDelegate const& delegate);

// Ends all subscriptions of the object under the ident, to the type or, if that is empty, to all types. When
// it returns no handler of them runs or will, unless it was called from that handler. The acceptor of a
// handler that unsubscribed itself, and the thread with it, are kept until the next Unsubscribe of the object
// and ident, or until it subscribes again: so let the destructor unsubscribe in any case.
ZEB_PUBLIC void Unsubscribe(CString const& type, void const* object, CString const& ident);

// Both for the class of events that the delegate names. All handlers of that class under the ident of the
// delegate are unsubscribed.
template<class T, class E>
requires(!std::same_as<E, Base>) [[nodiscard]] bool Subscribe(Delegate<T, E> const& delegate) {
    return Subscribe(E::IDENT, delegate);
}
template<class T, class E>
requires(!std::same_as<E, Base>) void Unsubscribe(Delegate<T, E> const& delegate) {
    Unsubscribe(E::IDENT, delegate.Object(), delegate.Ident());
}

// Takes the event over, and the delegate, which may be null: with one the event goes only to the acceptor
// that equals it. Refused, logged, with the arguments as they are: a null or uninitialized event, and SYNC on
// the thread of the bus. Without a thread the arguments stay as they are too. SYNC returns when the event was
// delivered. The acceptors are called in the order of their subscriptions (DIRECT) or backwards (REVERSE).
ZEB_PUBLIC void Raise(AutoPtr<Base, StdDeleter>& event, AutoPtr<BaseDelegate, StdDeleter>& delegate,
                      TypeT type, OrderT order);
ZEB_PUBLIC void Raise(AutoPtr<Base, StdDeleter>& event, TypeT type, OrderT order);

// Raises clones; the caller keeps its own. False, logged, if the event was refused or memory ran out.
[[nodiscard]] ZEB_PUBLIC bool Raise(Base const& event, BaseDelegate const* delegate, TypeT type,
                                    OrderT order);

} // namespace Event
