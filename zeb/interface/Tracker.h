#pragma once

// Tracker_<IfT>: what the trackers of both address families have in common: a table of interfaces by id,
// which follows the events of the interface manager. Use Ip4TrackerBase or Ip6TrackerBase.
//
// Events may come late, after the interface was destroyed and created anew under its id. Each event carries
// the time of creation of the life that it speaks of. One of an earlier life than the tracker knows is
// dropped, and so is one that was raised before that life began. An event for an id without a record makes
// one, with the names of the event.
//
// Owns       the records; what a query gives lives until the next event that the tracker takes
// Threads    none, no subscription and no lock: the deriving class has them, and holds its lock around all
//            calls
// Waits      for nothing
// Memory     taken for a new record, a longer name and further addresses. What ran out is logged and gives
//            false; what the event had set before stays, and a record that it made. Later events mend it

#include "zeb/core/CString.h"
#include "zeb/core/Export.h"
#include "zeb/core/SharedTypes.h"
#include "zeb/core/String.h"
#include "zeb/core/TimeSpan.h"
#include "zeb/core/VoidPMap.h"

namespace Event {
class Base;
class IfDestroyed;
class IfGlobalChanged;
class IfGroup;
class IfNameChanged;
class IfPrivateChanged;
} // namespace Event

namespace Network::Interface {

template<class IfT>
class ZEB_PUBLIC Tracker_ {
public:
    virtual ~Tracker_();
    Tracker_(Tracker_ const&) = delete;
    Tracker_& operator=(Tracker_ const&) = delete;

    // False if memory ran out in construction.
    bool Initialized() const { return (flags_ & INITIALIZED_) != 0; }

    // Whether a query for an interface that is not known is logged. Off at first.
    void SetDebug(DebugT debug) { flags_ = debug == DEBUG_ON ? flags_ | DEBUG_ : flags_ & ~DEBUG_; }

    // True when the record is new or a value in it is another one. False: nothing changed; the event was
    // dropped; memory ran out. Of each interface that the event names:

    // Removes the record, unless it is of a later life.
    bool OnIfDestroyed(Event::IfDestroyed const& event);
    // Sets the global priority and the name.
    bool OnIfGlobalChanged(Event::IfGlobalChanged const& event);
    // Sets the security level and the name.
    bool OnIfPrivateChanged(Event::IfPrivateChanged const& event);
    // Sets the name.
    bool OnIfNameChanged(Event::IfNameChanged const& event);
    // For KEEP and INHERIT only. Sets the names of the member and of its group; INCLUDED makes the member
    // included, any other action not, and the group itself never is. A record of either may be made although
    // the event is dropped for the other.
    bool OnIfGroup(Event::IfGroup const& event);

    // Queries by id. What they give lives until the table changes. For an unknown id: that of a new
    // interface; 0; the nil string; false.
    SecurityLevelT SecurityLevel(CString const& id) const;
    unsigned long GlobalPriority(CString const& id) const;
    CString const& Name(CString const& id) const;
    CString const& SystemName(CString const& id) const;
    bool IsIncluded(CString const& id) const;

protected:
    explicit Tracker_(CString const& ident);

    // The record of the id, or a new one; null, logged, if memory ran out. Stale: the record is of a later
    // incarnation than that of `created`.
    IfT* FindCreate_(CString const& id, CString const& name, CString const& systemName,
                     Time::Span const& created, bool& isNew, bool& isStale);

    // The same for an event; null as well if the event is older than the record.
    IfT* Admit_(Event::Base const& event, CString const& id, CString const& name, CString const& systemName,
                Time::Span const& created, bool& isNew);

    // Null, logged as "has no interface" for what was asked if debugging is on.
    IfT const* Find_(CString const& id, char const* what) const;

    static constexpr char const LOOPBACK[] = "Loopback";

    // The record of the loopback; null, logged, if memory ran out.
    IfT* Loopback_(bool& isNew);

    // Frees the record of the id. False if there is none.
    bool Remove_(CString const& id);

    // Logs that memory ran out; false.
    bool FailOom_() const;

private:
    static constexpr unsigned INITIALIZED_ = 1;
    static constexpr unsigned DEBUG_ = 2;

    IfT* Fail_() const;

    String ident_;
    VoidPMap interfaces_; // of IfT, owned
    unsigned flags_ = 0;
};

} // namespace Network::Interface
