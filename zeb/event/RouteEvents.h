#pragma once

// Routes and routing policies. Fields that a constructor does not take are zero or empty.

#include "zeb/core/String.h"
#include "zeb/event/Fields.h"
#include "zeb/network/Ip6Prefix.h"
#include "zeb/network/IpBlock.h"

namespace Event {

// A route has been added or removed; without a destination, all of an interface.
class ZEB_PUBLIC Route : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::Route";

    enum ActionT : uint32_t { ADDED = 0, REMOVED = 1 };
    enum TypeT : uint32_t { CONFIGURED = 0, DYNAMIC = 1 };

    Route(ActionT action, TypeT type, CString const& id, CString const& interface, CString const& systemName,
          Network::IpBlock const& destination, Network::IpAddress const& gateway, uint32_t metric) {
        SetInitialized_(
            fields_.Assign(action, type, id, interface, systemName, destination, gateway, metric));
    }
    Route(ActionT action, CString const& interface, CString const& systemName,
          Network::IpBlock const& destination, Network::IpAddress const& gateway, uint32_t metric) {
        SetInitialized_(
            fields_.Assign(action, TypeT(), CString(), interface, systemName, destination, gateway, metric));
    }
    Route(ActionT action, CString const& interface, CString const& systemName) {
        SetInitialized_(fields_.Assign(action, TypeT(), CString(), interface, systemName));
    }
    Route(ActionT action, TypeT type, CString const& interface, CString const& systemName) {
        SetInitialized_(fields_.Assign(action, type, CString(), interface, systemName));
    }

    char const* Ident() const override;

    ActionT Action() const { return fields_.At<0>(); }
    TypeT Type() const { return fields_.At<1>(); }
    String const& Id() const { return fields_.At<2>(); }
    String const& Interface() const { return fields_.At<3>(); }
    String const& SystemName() const { return fields_.At<4>(); }
    Network::IpBlock const& Destination() const { return fields_.At<5>(); }
    Network::IpAddress const& Gateway() const { return fields_.At<6>(); }
    uint32_t Metric() const { return fields_.At<7>(); }

private:
    Base* Clone_() const override;

    Fields<ActionT, TypeT, String, String, String, Network::IpBlock, Network::IpAddress, uint32_t> fields_;
};

// An IPv6 route has been added or removed; without a destination, all of an interface.
class ZEB_PUBLIC Route6 : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::Route6";

    enum ActionT : uint32_t { ADDED = 0, REMOVED = 1 };
    enum TypeT : uint32_t { CONFIGURED = 0, DYNAMIC = 1 };

    Route6(ActionT action, TypeT type, CString const& id, CString const& interface, CString const& systemName,
           Network::Ip6::Prefix const& destination, Network::Ip6::Address const& gateway, uint32_t metric) {
        SetInitialized_(
            fields_.Assign(action, type, id, interface, systemName, destination, gateway, metric));
    }
    Route6(ActionT action, CString const& interface, CString const& systemName,
           Network::Ip6::Prefix const& destination, Network::Ip6::Address const& gateway, uint32_t metric) {
        SetInitialized_(
            fields_.Assign(action, TypeT(), CString(), interface, systemName, destination, gateway, metric));
    }
    Route6(ActionT action, CString const& interface, CString const& systemName) {
        SetInitialized_(fields_.Assign(action, TypeT(), CString(), interface, systemName));
    }
    Route6(ActionT action, TypeT type, CString const& interface, CString const& systemName) {
        SetInitialized_(fields_.Assign(action, type, CString(), interface, systemName));
    }

    char const* Ident() const override;

    ActionT Action() const { return fields_.At<0>(); }
    TypeT Type() const { return fields_.At<1>(); }
    String const& Id() const { return fields_.At<2>(); }
    String const& Interface() const { return fields_.At<3>(); }
    String const& SystemName() const { return fields_.At<4>(); }
    Network::Ip6::Prefix const& Destination() const { return fields_.At<5>(); }
    Network::Ip6::Address const& Gateway() const { return fields_.At<6>(); }
    uint32_t Metric() const { return fields_.At<7>(); }

private:
    Base* Clone_() const override;

    Fields<ActionT, TypeT, String, String, String, Network::Ip6::Prefix, Network::Ip6::Address, uint32_t>
        fields_;
};

// The kernel has another content of a routing table.
class ZEB_PUBLIC RoutesUpdated : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::RoutesUpdated";

    enum FamilyT : uint32_t { IPV4 = 0, IPV6 = 1 };

    RoutesUpdated(FamilyT family, uint32_t table) { SetInitialized_(fields_.Assign(table, family)); }

    char const* Ident() const override;

    uint32_t Table() const { return fields_.At<0>(); }
    FamilyT Family() const { return fields_.At<1>(); }

private:
    Base* Clone_() const override;

    Fields<uint32_t, FamilyT> fields_;
};

// A routing policy has changed: its place, its mark and ports of its name server, or an interface to the
// internet in it.
class ZEB_PUBLIC Policy : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::Policy";

    enum ActionT : uint32_t { ADDED = 0, UPDATED = 1, REMOVED = 2 };

    Policy(CString const& name, unsigned long index, ActionT action, uint32_t mark, uint16_t dnsPort,
           uint16_t dnsRpcPort, CString const& wan, bool multipath) {
        SetInitialized_(fields_.Assign(name, index, action, mark, dnsPort, dnsRpcPort, wan, multipath));
    }
    Policy(CString const& name, unsigned long index, ActionT action) {
        SetInitialized_(fields_.Assign(name, index, action));
    }
    Policy(CString const& name, unsigned long index, uint32_t mark, uint16_t dnsPort, uint16_t dnsRpcPort) {
        SetInitialized_(fields_.Assign(name, index, ActionT(), mark, dnsPort, dnsRpcPort));
    }
    Policy(ActionT action, CString const& name, unsigned long index, CString const& wan, bool multipath) {
        SetInitialized_(
            fields_.Assign(name, index, action, uint32_t(), uint16_t(), uint16_t(), wan, multipath));
    }

    char const* Ident() const override;

    String const& Name() const { return fields_.At<0>(); }
    unsigned long Index() const { return fields_.At<1>(); }
    ActionT Action() const { return fields_.At<2>(); }
    uint32_t Mark() const { return fields_.At<3>(); }
    uint16_t DnsPort() const { return fields_.At<4>(); }
    uint16_t DnsRpcPort() const { return fields_.At<5>(); }
    String const& Wan() const { return fields_.At<6>(); }
    bool Multipath() const { return fields_.At<7>(); }

private:
    Base* Clone_() const override;

    Fields<String, unsigned long, ActionT, uint32_t, uint16_t, uint16_t, String, bool> fields_;
};

// The prefixes that were delegated to the device have changed.
class ZEB_PUBLIC Ip6PrefixesChanged : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::Ip6PrefixesChanged";

    char const* Ident() const override;

private:
    Base* Clone_() const override;
};

// The subnets made of the delegated prefixes have changed.
class ZEB_PUBLIC Ip6SubnetsChanged : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::Ip6SubnetsChanged";

    char const* Ident() const override;

private:
    Base* Clone_() const override;
};

} // namespace Event
