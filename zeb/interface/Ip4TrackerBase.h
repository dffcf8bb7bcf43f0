#pragma once

// Network::Interface::Ip4TrackerBase: the IPv4 addresses of the interfaces of the device, followed through
// events. A client derives from it, subscribes to the events and hands each to its operation:
//
//   class Routes : private Network::Interface::Ip4TrackerBase {
//       void OnAddress_(Event::IfIp4Changed const& event) {        // mutex_ is held
//           if (OnIfIp4Changed(event)) Rebuild_(Primary(event.Id()));
//       }
//       ...
//   };
//
// See Tracker.h for order, owners, threads and failure, and for the events of both families.

#include "zeb/interface/InterfaceRecord.h"
#include "zeb/interface/Tracker.h"
#include "zeb/network/IpBlock.h"

namespace Event {
class IfIp4Changed;
}

namespace Network::Interface {

class ZEB_PUBLIC Ip4If_ : public Record_<IpBlock> {
public:
    static constexpr char const TRACKER[] = "Network::Interface::Ip4TrackerBase";

    Ip4If_(CString const& name, CString const& systemName, Time::Span const& created)
        : Record_(name, systemName, created) {}

    IpBlock const& Primary() const { return First_(); }
    Array<IpBlock> const& Aliases() const { return Others_(); }

    bool SetPrimary(IpBlock const& block) { return SetFirst_(block); }
    [[nodiscard]] bool AddAlias(IpBlock const& block, bool& changed) { return Add_(block, changed); }
    bool RemoveAlias(IpBlock const& block) { return Remove_(block); }
    bool SwapAliases(Array<IpBlock>& blocks) { return Swap_(blocks); }
};

class ZEB_PUBLIC Ip4TrackerBase : public Tracker_<Ip4If_> {
public:
    using Ip4If = Ip4If_;

    explicit Ip4TrackerBase(CString const& ident)
        : Tracker_(ident) {}
    ~Ip4TrackerBase() override;

    // The interface "Loopback" with 127.0.0.1 and that level, of which no event tells. True when it is new or
    // something changed.
    bool AddLoopback(SecurityLevelT level);

    // Sets the global priority and the name, and then by type and action: a PRIMARY that is SET is the
    // primary address, and any other action clears it; an alias is added by SET and removed by REMOVED. Any
    // other action gives false, although priority and name are set.
    bool OnIfIp4Changed(Event::IfIp4Changed const& event);

    // Zero, and none, for an unknown id.
    IpBlock const& Primary(CString const& id) const;
    Array<IpBlock> const& Aliases(CString const& id) const;
};

extern template class Tracker_<Ip4If_>;

} // namespace Network::Interface
