#pragma once

// What the DHCP servers and clients of the device have learned.

#include "zeb/core/String.h"
#include "zeb/core/TimeSpan.h"
#include "zeb/event/Fields.h"
#include "zeb/network/IpAddress.h"
#include "zeb/network/MacAddress.h"

namespace Event {

// A server has given a lease, or has taken it back. The short form names a lease by its addresses.
class ZEB_PUBLIC DhcpLease : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::DhcpLease";

    enum ActionT : uint32_t { ADDED = 0, REMOVED = 1 };

    DhcpLease(ActionT action, CString const& hostName, CString const& deviceName, CString const& modeName,
              CString const& interfaceId, Network::IpAddress const& ip, Network::MacAddress const& mac,
              Network::MacAddress const& via, Time::Span const& expires) {
        SetInitialized_(
            fields_.Assign(action, hostName, deviceName, modeName, interfaceId, ip, mac, via, expires));
    }
    DhcpLease(ActionT action, Network::IpAddress const& ip, Network::MacAddress const& mac) {
        SetInitialized_(fields_.Assign(action, CString(), CString(), CString(), CString(), ip, mac));
    }

    char const* Ident() const override;

    ActionT Action() const { return fields_.At<0>(); }
    String const& HostName() const { return fields_.At<1>(); }
    String const& DeviceName() const { return fields_.At<2>(); }
    String const& ModeName() const { return fields_.At<3>(); }
    String const& InterfaceId() const { return fields_.At<4>(); }
    Network::IpAddress const& Ip() const { return fields_.At<5>(); }
    Network::MacAddress const& Mac() const { return fields_.At<6>(); }
    Network::MacAddress const& Via() const { return fields_.At<7>(); }
    Time::Span const& Expires() const { return fields_.At<8>(); }

private:
    Base* Clone_() const override;

    Fields<ActionT, String, String, String, String, Network::IpAddress, Network::MacAddress,
           Network::MacAddress, Time::Span>
        fields_;
};

// A client has received an option.
class ZEB_PUBLIC DhcpOption : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::DhcpOption";

    // By the numbers of RFC 2132 and its followers.
    enum CodeT : uint32_t {
        ROUTER = 3,
        DNS_SERVER = 6,
        DOMAIN_NAME = 15,
        NTP_SERVER = 42,
        VENDOR_SPECIFIC = 43,
        CAPTIVE_PORTAL = 114,
        CLASSLESS_ROUTE = 121
    };

    DhcpOption(CodeT code, CString const& interfaceId, CString const& value) {
        SetInitialized_(fields_.Assign(code, interfaceId, value));
    }

    char const* Ident() const override;

    CodeT Code() const { return fields_.At<0>(); }
    String const& InterfaceId() const { return fields_.At<1>(); }
    String const& Value() const { return fields_.At<2>(); }

private:
    Base* Clone_() const override;

    Fields<CodeT, String, String> fields_;
};

// A pool has been bound to an interface, or its settings have changed.
class ZEB_PUBLIC DhcpPool : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::DhcpPool";

    DhcpPool(CString const& name, CString const& interfaceId) {
        SetInitialized_(fields_.Assign(name, interfaceId));
    }

    char const* Ident() const override;

    String const& Name() const { return fields_.At<0>(); }
    String const& InterfaceId() const { return fields_.At<1>(); }

private:
    Base* Clone_() const override;

    Fields<String, String> fields_;
};

} // namespace Event
