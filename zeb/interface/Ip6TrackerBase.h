#pragma once

// Network::Interface::Ip6TrackerBase: the IPv6 addresses of the interfaces of the device, followed through
// events; see Ip4TrackerBase.h for its use.
//
// A link-local address stands until the next is set: an event of its removal stores it as well.

#include "zeb/interface/InterfaceRecord.h"
#include "zeb/interface/Tracker.h"
#include "zeb/network/Ip6Block.h"

namespace Event {
class IfIp6Changed;
}

namespace Network::Interface {

class ZEB_PUBLIC Ip6If_ : public Record_<Ip6::CBlock> {
public:
    static constexpr char const TRACKER[] = "Network::Interface::Ip6TrackerBase";

    Ip6If_(CString const& name, CString const& systemName, Time::Span const& created)
        : Record_(name, systemName, created) {}

    Ip6::CBlock const& LinkLocal() const { return First_(); }
    Array<Ip6::CBlock> const& Addresses() const { return Others_(); }

    bool SetLinkLocal(Ip6::CBlock const& block) { return SetFirst_(block); }
    [[nodiscard]] bool AddAddress(Ip6::CBlock const& block, bool& changed) { return Add_(block, changed); }
    bool RemoveAddress(Ip6::CBlock const& block) { return Remove_(block); }
    bool SwapAddresses(Array<Ip6::CBlock>& blocks) { return Swap_(blocks); }
};

class ZEB_PUBLIC Ip6TrackerBase : public Tracker_<Ip6If_> {
public:
    using Ip6If = Ip6If_;

    explicit Ip6TrackerBase(CString const& ident)
        : Tracker_(ident) {}
    ~Ip6TrackerBase() override;

    // The interface "Loopback" with ::1 and that level, of which no event tells. True when it is new or the
    // level changed.
    bool AddLoopback(SecurityLevelT level);

    // Sets the global priority and the name, and then: a link-local address is stored whatever the action is;
    // any other is added by ADDED and UPDATED, and removed by REMOVED. Any other action gives false, although
    // priority and name are set.
    bool OnIfIp6Changed(Event::IfIp6Changed const& event);

    // Zero, and none, for an unknown id.
    Ip6::CBlock const& LinkLocal(CString const& id) const;
    Array<Ip6::CBlock> const& Addresses(CString const& id) const;
};

extern template class Tracker_<Ip6If_>;

} // namespace Network::Interface
