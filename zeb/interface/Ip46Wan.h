#pragma once

// Network::Ip46Wan: which interface to the internet leads now, for each address family and of both, followed
// through events. The higher priority leads, and at equal priorities IPv6.
//
// Owns       copies of what the events say; the strings that are given live until the next event
// Threads    none and no lock: the owner holds its own around all calls
// Memory     taken for longer names; what ran out is not logged

#include "zeb/core/Export.h"
#include "zeb/core/String.h"
#include "zeb/network/Ip6Address.h"
#include "zeb/network/IpAddress.h"

namespace Event {
class Ip6Wan;
class IpWan;
} // namespace Event

namespace Network {

class ZEB_PUBLIC Ip46Wan {
public:
    Ip46Wan() = default;

    // Take the current interface of the event: id, system name, priority and address; an empty id clears
    // them. `changed`: the leading one of both families is another one now, or has another address, priority
    // or id. False if memory ran out: nothing changed then.
    [[nodiscard]] bool OnIpWan(Event::IpWan const& event, bool& changed);
    [[nodiscard]] bool OnIp6Wan(Event::Ip6Wan const& event, bool& changed);

    CString const& Ip4WanId() const { return ip4Id_; }
    CString const& Ip6WanId() const { return ip6Id_; }
    CString const& Ip4WanSystemName() const { return ip4SystemName_; }
    CString const& Ip6WanSystemName() const { return ip6SystemName_; }
    IpAddress const& Ip4WanAddress() const { return ip4Address_; }
    Ip6::Address const& Ip6WanAddress() const { return ip6Address_; }

    // An interface with an address, of the family or of any.
    bool HasIp4() const { return !ip4Address_.IsZero() && !ip4Id_.Empty(); }
    bool HasIp6() const { return !ip6Address_.IsZero() && !ip6Id_.Empty(); }
    bool HasAddress() const { return !ip4Address_.IsZero() || !ip6Address_.IsZero(); }
    // IPv6 has an address, and leads.
    bool IsIp6WanPrimary() const { return !ip6Address_.IsZero() && ip6Priority_ >= ip4Priority_; }

private:
    String ip4Id_;
    String ip6Id_;
    String ip4SystemName_;
    String ip6SystemName_;
    unsigned long ip4Priority_ = 0;
    unsigned long ip6Priority_ = 0;
    IpAddress ip4Address_;
    Ip6::Address ip6Address_;
};

} // namespace Network
