#pragma once

// Event::Base: what all events are: a typed message, raised once and then constant. The type is the text that
// Ident() gives, "Event::Type::" and the name of the class; subscriptions go by it. Fields.h shows how a
// class of one's own is written.
//
// Owns       its payload, by value: it outlives the raise. Once raised an event belongs to the bus
// Threads    one at a time until it is raised; then that of the bus alone, which destroys it too
// Callback   a destructor does nothing with the bus, and takes no lock under which the bus is used
// Memory     a constructor that could not copy a part of the payload leaves Initialized() false, and so does
//            every copy of such an event: it is refused when it is raised

#include "zeb/core/AutoPtr.h"
#include "zeb/core/CString.h"
#include "zeb/core/Export.h"
#include "zeb/core/Intrusive.h"
#include "zeb/core/TimeSpan.h"
#include "zeb/event/BaseDelegate.h"

class StringMap;

namespace Xml {
class Node;
}

namespace Event {

// Whether the raiser goes on at once, or waits until the event has been delivered.
enum TypeT : unsigned { ASYNC = 0, SYNC = 1 };

// In which order the acceptors of an event are called: that of their subscription, or backwards.
enum OrderT : unsigned { DIRECT = 0, REVERSE = 1 };

class ZEB_PUBLIC Base {
public:
    // The idents of the public events, which can be printed; null ends the table.
    static char const* const PUBLIC_EVENTS_[];

    virtual ~Base();
    virtual char const* Ident() const = 0;

    // Appends the payload below the element of the event. False if memory ran out.
    [[nodiscard]] virtual bool PrintXmlBody_(Xml::Node& event) const;

    // A new event with the same type and payload; null if memory ran out.
    [[nodiscard]] virtual Base* Clone_() const = 0;

    Base& operator=(Base const&) = delete;

    // The payload could be copied.
    bool Initialized() const { return initialized_; }

    // On the monotonic clock; zero before the event was raised.
    Time::Span const& RaiseTime() const { return raiseTime_; }

    // A copy with its raise time, not with its delegate or order. Null, logged, if memory ran out, here or
    // when this event was made.
    [[nodiscard]] Base* Clone() const;

    // Appends an element "event" with the class, the raise time and the payload. Public events only. False,
    // logged, leaves the parent as it was.
    [[nodiscard]] bool PrintXml(Xml::Node& parent) const;

    // The event, or null in place of one that is null or not initialized, which is destroyed and logged as
    // out of memory. The ident is that of the event.
    [[nodiscard]] static Base* CheckInitialized_(char const* ident, Base* event);

    // Elements in the order of two tables, of which null ends the first. The ident is not used. False,
    // logged, if memory ran out.
    [[nodiscard]] static bool PrintXmlTags_(char const* ident, Xml::Node& node, char const* const* names,
                                            char const* const* values);

    // "yes" or "no", and back. IsBool_ leaves the result as it was on false, which is logged with the name of
    // the event.
    static CString const& Bool_(bool value);
    [[nodiscard]] static bool IsBool_(char const* event, char const* value, bool& result);

    // For the bus.
    void MarkRaised();
    void SetDelegate_(AutoPtr<BaseDelegate, StdDeleter>& delegate) { delegate_ = std::move(delegate); }
    BaseDelegate const* Delegate_() const { return delegate_.Ptr(); }
    void SetRaiseCompleted_(bool* completed) { raiseCompleted_ = completed; }
    bool* RaiseCompleted_() const { return raiseCompleted_; }
    void SetOrder_(OrderT order) { order_ = order; }
    OrderT Order_() const { return order_; }

protected:
    static constexpr char const IDENT_[] = "Event::Base";

    Base() = default;
    Base(Base const&) = delete;

    // False stays.
    void SetInitialized_(bool initialized) { initialized_ = initialized_ && initialized; }

    // A deep copy below the parent, in the memory of its document, with the types of the nodes as they are.
    // Memory that ran out shows in the document.
    static void CloneXml_(Xml::Node const* source, Xml::Node* parent);

    // "name=value&name=value" with percent-encoded parts into the map; the last value of a name wins. Pairs
    // that are not valid are logged and skipped. False if memory ran out; the pairs so far are in the map
    // then.
    [[nodiscard]] static bool Decode_(CString const& text, StringMap& map);

private:
    bool PrintXml_(Xml::Node& parent) const;

    bool initialized_ = true;
    Time::Span raiseTime_;
    AutoPtr<BaseDelegate, StdDeleter> delegate_;
    bool* raiseCompleted_ = nullptr;
    OrderT order_ = DIRECT;
    Intrusive::Hook hook_;

public:
    using QueueT_ = Intrusive::List<Base, &Base::hook_>;
};

} // namespace Event
