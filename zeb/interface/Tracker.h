#pragma once

// Tracker_<IfT>: what the trackers of both address families have in common: a table of interfaces by id,
// which follows the events of the interface manager. Use Ip4TrackerBase or Ip6TrackerBase.
//
// Events may come late, after the interface was destroyed and created anew under its id. Each event carries
// the time of creation of the incarnation that it speaks of; one that is older than what the tracker knows is
// dropped.
//
// Operations on events give true when the table changed. Memory that ran out is logged, and gives false. A
// tracker has no thread, subscription or lock: the deriving class has them, and holds its lock around all
// calls.

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

    bool OnIfDestroyed(Event::IfDestroyed const& event);
    bool OnIfGlobalChanged(Event::IfGlobalChanged const& event);
    bool OnIfPrivateChanged(Event::IfPrivateChanged const& event);
    bool OnIfNameChanged(Event::IfNameChanged const& event);
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
