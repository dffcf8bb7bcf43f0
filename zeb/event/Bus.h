#pragma once

// The event bus: one queue of raised events and one thread, which calls the acceptors of each event in turn.
//
//   Event::Subscribe("Event::Type::Heartbeat", onHeartbeat_);     // a Delegate of this object
//   ...
//   AutoPtr<Event::Base> event(new (std::nothrow) Event::Heartbeat);
//   Event::Raise(event, Event::ASYNC, Event::DIRECT);
//   ...
//   Event::Unsubscribe("", this, onHeartbeat_.Ident());           // before the object goes
//
// A handler runs on that thread with the lock of its delegate held, and no lock of the bus. It may raise,
// subscribe and unsubscribe; it must not raise with SYNC, which would wait for itself. The bus never blocks
// on the lock of an acceptor: while it is busy the bus polls, and every 30 seconds it logs who holds it. As
// events go out one after the other, such an acceptor holds up all that follow. The queue has no limit.
//
// The thread lives as long as there is an acceptor or an operation in progress. An event that is raised
// without it is dropped at no cost.
//
// All operations may be called from any thread, under locks of places below EVENT_SENDER. Whoever raises with
// SYNC holds no lock of an acceptor, which would never be reached.

#include "zeb/event/Base.h"
#include "zeb/event/BaseDelegate.h"

namespace Event {

// Calls a clone of the delegate for events of the type, after those that are subscribed to it. False, logged:
// an empty type, the same handler subscribed already, no memory, no thread. A handler that has been
// unsubscribed and is still running can be subscribed again, with the same lock.
ZEB_PUBLIC bool Subscribe(CString const& type, BaseDelegate const& delegate);

// Ends all subscriptions of the object under the ident, to the type or, if that is empty, to all types. When
// it returns no handler of them runs or will, unless it was called from that handler: then the acceptor
// itself is kept until the next Unsubscribe of the same object and ident.
ZEB_PUBLIC void Unsubscribe(CString const& type, void const* object, CString const& ident);

// Takes the event over, and the delegate, which may be null: with one the event goes only to the acceptor
// that equals it. A null or uninitialized event is logged and refused. Without a thread the arguments stay as
// they are. SYNC returns when the event was delivered.
ZEB_PUBLIC void Raise(AutoPtr<Base, StdDeleter>& event, AutoPtr<BaseDelegate, StdDeleter>& delegate,
                      TypeT type, OrderT order);
ZEB_PUBLIC void Raise(AutoPtr<Base, StdDeleter>& event, TypeT type, OrderT order);

// Raises clones. False, logged, if the event is not initialized or memory ran out.
ZEB_PUBLIC bool Raise(Base const& event, BaseDelegate const* delegate, TypeT type, OrderT order);

} // namespace Event
