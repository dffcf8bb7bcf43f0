#pragma once

// The hosts behind the device: which there are, their names, and what they may use.

#include "zeb/core/String.h"
#include "zeb/event/Fields.h"
#include "zeb/network/IpAddress.h"
#include "zeb/network/MacAddress.h"

namespace Event {

// The host name of the device has changed.
class ZEB_PUBLIC Host : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::Host";

    explicit Host(CString const& name) { SetInitialized_(fields_.Assign(name)); }

    char const* Ident() const override;

    String const& Name() const { return fields_.At<0>(); }

private:
    Base* Clone_() const override;

    Fields<String> fields_;
};

// A host has been given a name by the administrator, or has lost it. Public.
class ZEB_PUBLIC KnownHost : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::KnownHost";

    enum ActionT : uint32_t { SET = 0, REMOVED = 1, CLEARED = 2 };

    KnownHost(ActionT action, Network::MacAddress const& mac, CString const& oldName,
              CString const& newName) {
        SetInitialized_(fields_.Assign(action, mac, oldName, newName));
    }

    char const* Ident() const override;

    ActionT Action() const { return fields_.At<0>(); }
    Network::MacAddress const& Mac() const { return fields_.At<1>(); }
    String const& OldName() const { return fields_.At<2>(); }
    String const& NewName() const { return fields_.At<3>(); }

private:
    bool PrintXmlBody_(Xml::Node& event) const override;
    Base* Clone_() const override;

    Fields<ActionT, Network::MacAddress, String, String> fields_;
};

// An entry of the table of neighbours has come, changed or gone. Public.
class ZEB_PUBLIC Neighbour : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::Neighbour";

    enum ActionT : uint32_t { ADDED = 0, UPDATED = 1, REMOVED = 2 };
    // What has changed in the entry.
    enum UpdateT : uint32_t {
        UPDATE_NONE = 0,
        UPDATE_MAC = 1,
        UPDATE_WIRELESS = 2,
        UPDATE_OTHER = 3,
        UPDATE_INFO = 4
    };
    enum AddressT : uint32_t { IP = 0, IP6 = 1 };

    Neighbour(ActionT action, UpdateT update, AddressT addressType, CString const& knownHost,
              Network::MacAddress const& mac, unsigned long entryId) {
        SetInitialized_(fields_.Assign(action, update, addressType, knownHost, mac, entryId));
    }

    char const* Ident() const override;

    ActionT Action() const { return fields_.At<0>(); }
    UpdateT Update() const { return fields_.At<1>(); }
    AddressT AddressType() const { return fields_.At<2>(); }
    String const& KnownHost() const { return fields_.At<3>(); }
    Network::MacAddress const& Mac() const { return fields_.At<4>(); }
    unsigned long EntryId() const { return fields_.At<5>(); }

private:
    bool PrintXmlBody_(Xml::Node& event) const override;
    Base* Clone_() const override;

    Fields<ActionT, UpdateT, AddressT, String, Network::MacAddress, unsigned long> fields_;
};

// The routing policy of a host has changed.
class ZEB_PUBLIC HostPolicy : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::HostPolicy";

    enum ActionT : uint32_t { SET = 0, REMOVED = 1 };

    HostPolicy(ActionT action, Network::MacAddress const& mac, CString const& policy) {
        SetInitialized_(fields_.Assign(policy, action, mac));
    }

    char const* Ident() const override;

    String const& Policy() const { return fields_.At<0>(); }
    ActionT Action() const { return fields_.At<1>(); }
    Network::MacAddress const& Mac() const { return fields_.At<2>(); }

private:
    Base* Clone_() const override;

    Fields<String, ActionT, Network::MacAddress> fields_;
};

// The traffic of a host has another priority.
class ZEB_PUBLIC HostPriorityChanged : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::HostPriorityChanged";

    HostPriorityChanged(Network::MacAddress const& mac, uint8_t priority) {
        SetInitialized_(fields_.Assign(mac, priority));
    }

    char const* Ident() const override;

    Network::MacAddress const& Mac() const { return fields_.At<0>(); }
    uint8_t Priority() const { return fields_.At<1>(); }

private:
    Base* Clone_() const override;

    Fields<Network::MacAddress, uint8_t> fields_;
};

// The speed limits of a host, in kbit/s, have changed.
class ZEB_PUBLIC TrafficShapeHost : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::TrafficShapeHost";

    enum ActionT : uint32_t { SET = 0, REMOVED = 1 };

    TrafficShapeHost(ActionT action, Network::MacAddress const& mac, CString const& schedule,
                     uint32_t txSpeedLimit, uint32_t rxSpeedLimit) {
        SetInitialized_(fields_.Assign(action, mac, schedule, txSpeedLimit, rxSpeedLimit));
    }

    char const* Ident() const override;

    ActionT Action() const { return fields_.At<0>(); }
    Network::MacAddress const& Mac() const { return fields_.At<1>(); }
    String const& Schedule() const { return fields_.At<2>(); }
    uint32_t TxSpeedLimit() const { return fields_.At<3>(); }
    uint32_t RxSpeedLimit() const { return fields_.At<4>(); }

private:
    Base* Clone_() const override;

    Fields<ActionT, Network::MacAddress, String, uint32_t, uint32_t> fields_;
};

// A host has been let in by the hotspot, or has left it; the limits are in bit/s.
class ZEB_PUBLIC ChilliHost : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::ChilliHost";

    enum ActionT : uint32_t { LOGGED_IN = 0, LOGGED_OUT = 1 };

    ChilliHost(ActionT action, Network::IpAddress const& address, Network::MacAddress const& mac,
               uint64_t txSpeedLimit, uint64_t rxSpeedLimit) {
        SetInitialized_(fields_.Assign(action, address, mac, txSpeedLimit, rxSpeedLimit));
    }

    char const* Ident() const override;

    ActionT Action() const { return fields_.At<0>(); }
    Network::IpAddress const& Address() const { return fields_.At<1>(); }
    Network::MacAddress const& Mac() const { return fields_.At<2>(); }
    uint64_t TxSpeedLimit() const { return fields_.At<3>(); }
    uint64_t RxSpeedLimit() const { return fields_.At<4>(); }

private:
    Base* Clone_() const override;

    Fields<ActionT, Network::IpAddress, Network::MacAddress, uint64_t, uint64_t> fields_;
};

} // namespace Event
