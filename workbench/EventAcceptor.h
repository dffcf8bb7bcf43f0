// An acceptor of events of one class, for a test: it hands each to a function.
//
//     EventAcceptor<Event::MemoryPressure> acceptor([&](Event::MemoryPressure const&) { ++heard; });
//     ASSERT_TRUE(acceptor.Subscribe());
//
// Header only, as Threads.h.
//
// Owns       the function, and what that refers to must outlive it
// Threads    the function runs on the thread of the bus
// Waits      the destructor for a call that is under way: the function must not wait for who destroys it
// Locks      the lock that is given is held around the function, and must outlive the acceptor
#pragma once

#include "zeb/event/Bus.h"
#include "zeb/event/Delegate.h"

#include <functional>
#include <utility>

template<class EventT>
struct EventAcceptor {
    using HandlerT = std::function<void(EventT const& event)>;

    explicit EventAcceptor(HandlerT handler, Mutex const* lock = nullptr, char const* ident = "acceptor")
        : handler_(std::move(handler))
        , delegate(ident, this, &EventAcceptor::On_, lock) {}
    ~EventAcceptor() { Unsubscribe(); }

    bool Subscribe(char const* type = EventT::IDENT) { return Event::Subscribe(type, delegate); }
    // The same handler under another lock, or name.
    Event::Delegate<EventAcceptor> Under(Mutex const* lock, char const* ident = "acceptor") {
        return {ident, this, &EventAcceptor::On_, lock};
    }
    // Another handler, of any event: the one who raises it sees to its class.
    Event::Delegate<EventAcceptor> General() { return {"acceptor", this, &EventAcceptor::OnAny_, nullptr}; }
    void Unsubscribe() { Event::Unsubscribe("", this, delegate.Ident()); }

    void On_(EventT const& event) { handler_(event); }
    void OnAny_(Event::Base const& event) { handler_(static_cast<EventT const&>(event)); }

    HandlerT handler_;
    Event::Delegate<EventAcceptor> const delegate;
};
