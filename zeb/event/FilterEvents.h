#pragma once

// Packet filters, sets of addresses, ports, and the packet engine.

#include "zeb/core/SharedTypes.h"
#include "zeb/core/String.h"
#include "zeb/event/Fields.h"
#include "zeb/network/Ip6Block.h"
#include "zeb/network/IpBlock.h"
#include "zeb/network/MacAddress.h"
#include "zeb/network/PortAllocator.h"

namespace Event {

// An access list has changed.
class ZEB_PUBLIC Acl : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::Acl";

    enum ActionT : uint32_t { UPDATED = 0, REMOVED = 1 };

    Acl(ActionT action, CString const& name) { SetInitialized_(fields_.Assign(action, name)); }

    char const* Ident() const override;

    ActionT Action() const { return fields_.At<0>(); }
    String const& Name() const { return fields_.At<1>(); }

private:
    Base* Clone_() const override;

    Fields<ActionT, String> fields_;
};

// An IPv6 access list has changed.
class ZEB_PUBLIC Acl6 : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::Acl6";

    enum ActionT : uint32_t { UPDATED = 0, REMOVED = 1 };

    Acl6(ActionT action, CString const& name) { SetInitialized_(fields_.Assign(action, name)); }

    char const* Ident() const override;

    ActionT Action() const { return fields_.At<0>(); }
    String const& Name() const { return fields_.At<1>(); }

private:
    Base* Clone_() const override;

    Fields<ActionT, String> fields_;
};

// A set of addresses has changed.
class ZEB_PUBLIC IpSet : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::IpSet";

    enum ActionT : uint32_t { UPDATED = 0, REMOVED = 1 };

    IpSet(ActionT action, CString const& name) { SetInitialized_(fields_.Assign(action, name)); }

    char const* Ident() const override;

    ActionT Action() const { return fields_.At<0>(); }
    String const& Name() const { return fields_.At<1>(); }

private:
    Base* Clone_() const override;

    Fields<ActionT, String> fields_;
};

// A group of objects that filters refer to has changed.
class ZEB_PUBLIC ObjectGroup : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::ObjectGroup";

    enum ActionT : uint32_t { UPDATED = 0, REMOVED = 1 };

    ObjectGroup(ActionT action, CString const& name) { SetInitialized_(fields_.Assign(action, name)); }

    char const* Ident() const override;

    ActionT Action() const { return fields_.At<0>(); }
    String const& Name() const { return fields_.At<1>(); }

private:
    Base* Clone_() const override;

    Fields<ActionT, String> fields_;
};

// A table of the packet filter has been loaded anew. The type is that of the tool that fills it.
class ZEB_PUBLIC NetfilterUpdated : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::NetfilterUpdated";

    enum NetfilterT : uint32_t { IPV4 = 0, IPV6 = 1 };

    NetfilterUpdated(NetfilterT nfType, CString const& table) {
        SetInitialized_(fields_.Assign(table, nfType));
    }

    char const* Ident() const override;

    String const& Table() const { return fields_.At<0>(); }
    NetfilterT NfType() const { return fields_.At<1>(); }

private:
    Base* Clone_() const override;

    Fields<String, NetfilterT> fields_;
};

// A service has opened or closed a port.
class ZEB_PUBLIC Port : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::Port";

    enum ActionT : uint32_t { OPENED = 0, CLOSED = 1 };

    Port(ActionT action, CString const& service, Network::PortAllocator::FamilyT family,
         Network::PortAllocator::ProtocolT protocol, uint16_t port, SecurityLevelT securityLevel) {
        SetInitialized_(fields_.Assign(action, service, protocol, family, port, securityLevel));
    }

    char const* Ident() const override;

    ActionT Action() const { return fields_.At<0>(); }
    String const& Service() const { return fields_.At<1>(); }
    Network::PortAllocator::ProtocolT Protocol() const { return fields_.At<2>(); }
    Network::PortAllocator::FamilyT Family() const { return fields_.At<3>(); }
    uint16_t PortValue() const { return fields_.At<4>(); }
    SecurityLevelT SecurityLevel() const { return fields_.At<5>(); }

private:
    Base* Clone_() const override;

    Fields<ActionT, String, Network::PortAllocator::ProtocolT, Network::PortAllocator::FamilyT, uint16_t,
           SecurityLevelT>
        fields_;
};

// A service is open to networks of another security level.
class ZEB_PUBLIC SecurityLevelChanged : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::SecurityLevelChanged";

    enum ServiceT : uint32_t { HTTP = 0, SSH = 1, TELNET = 2, FTP = 3 };

    SecurityLevelChanged(ServiceT service, SecurityLevelT securityLevel) {
        SetInitialized_(fields_.Assign(securityLevel, service));
    }

    char const* Ident() const override;

    SecurityLevelT SecurityLevel() const { return fields_.At<0>(); }
    ServiceT Service() const { return fields_.At<1>(); }

private:
    Base* Clone_() const override;

    Fields<SecurityLevelT, ServiceT> fields_;
};

// The packet engine is to forget, or to handle itself, the traffic of one address, of a kind of addresses, or
// all. The address type tells which of the addresses is set.
class ZEB_PUBLIC Ppe : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::Ppe";

    enum AddressT : uint32_t { IP = 0, IP6 = 1, MAC = 2, NONE = 3 };
    enum TypeT : uint32_t { SOFTWARE = 0, HARDWARE = 1 };
    enum ActionT : uint32_t { FLUSH = 0, ENABLE = 1, DISABLE = 2 };

    Ppe(Network::IpBlock const& address, TypeT type, ActionT action);
    Ppe(AddressT addressType, TypeT type, ActionT action);
    Ppe(Network::MacAddress const& mac, TypeT type, ActionT action);
    Ppe(TypeT type, ActionT action);
    Ppe(Network::Ip6::CBlock const& address, TypeT type, ActionT action);

    char const* Ident() const override;

    Network::IpBlock const& Address() const { return address_; }
    Network::Ip6::CBlock const& Address6() const { return address6_; }
    Network::MacAddress const& Mac() const { return mac_; }
    AddressT AddressType() const { return addressType_; }
    TypeT Type() const { return type_; }
    ActionT Action() const { return action_; }

private:
    Base* Clone_() const override;

    Network::IpBlock address_;
    Network::Ip6::CBlock address6_;
    Network::MacAddress mac_;
    AddressT addressType_;
    TypeT type_;
    ActionT action_;
};

} // namespace Event
