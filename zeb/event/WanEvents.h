#pragma once

// The way to the internet: which interface leads, and whether the internet answers.

#include "zeb/core/String.h"
#include "zeb/event/Fields.h"
#include "zeb/network/Ip6Address.h"
#include "zeb/network/IpAddress.h"
#include "zeb/text/URI.h"

namespace Event {

// The state of an IPv4 interface to the internet, and which of them leads now. Public.
class ZEB_PUBLIC IpWan : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::IpWan";

    enum StateT : uint32_t { DOWN = 0, UP = 1 };

    IpWan(CString const& id, CString const& name, CString const& systemName, uint32_t systemIndex,
          StateT state, unsigned long order, CString const& currentId, CString const& currentName,
          CString const& currentSystemName, uint32_t currentSystemIndex, unsigned long currentPriority,
          Network::IpAddress const& currentIpAddress, Network::IpAddress const& currentDefaultGateway) {
        SetInitialized_(fields_.Assign(id, name, systemName, systemIndex, state, order, currentId,
                                       currentName, currentSystemName, currentSystemIndex, currentPriority,
                                       currentIpAddress, currentDefaultGateway));
    }

    char const* Ident() const override;

    String const& Id() const { return fields_.At<0>(); }
    String const& Name() const { return fields_.At<1>(); }
    String const& SystemName() const { return fields_.At<2>(); }
    uint32_t SystemIndex() const { return fields_.At<3>(); }
    StateT State() const { return fields_.At<4>(); }
    unsigned long Order() const { return fields_.At<5>(); }
    String const& CurrentId() const { return fields_.At<6>(); }
    String const& CurrentName() const { return fields_.At<7>(); }
    String const& CurrentSystemName() const { return fields_.At<8>(); }
    uint32_t CurrentSystemIndex() const { return fields_.At<9>(); }
    unsigned long CurrentPriority() const { return fields_.At<10>(); }
    Network::IpAddress const& CurrentIpAddress() const { return fields_.At<11>(); }
    Network::IpAddress const& CurrentDefaultGateway() const { return fields_.At<12>(); }

private:
    bool PrintXmlBody_(Xml::Node& event) const override;
    Base* Clone_() const override;

    Fields<String, String, String, uint32_t, StateT, unsigned long, String, String, String, uint32_t,
           unsigned long, Network::IpAddress, Network::IpAddress>
        fields_;
};

// The state of an IPv6 interface to the internet, and which of them leads now.
class ZEB_PUBLIC Ip6Wan : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::Ip6Wan";

    enum StateT : uint32_t { DOWN = 0, UP = 1 };

    Ip6Wan(CString const& id, CString const& name, CString const& systemName, StateT state,
           unsigned long order, CString const& currentId, CString const& currentName,
           CString const& currentSystemName, unsigned long currentPriority,
           Network::Ip6::Address const& currentIpAddress,
           Network::Ip6::Address const& currentDefaultGateway) {
        SetInitialized_(fields_.Assign(id, name, systemName, state, order, currentId, currentName,
                                       currentSystemName, currentPriority, currentIpAddress,
                                       currentDefaultGateway));
    }

    char const* Ident() const override;

    String const& Id() const { return fields_.At<0>(); }
    String const& Name() const { return fields_.At<1>(); }
    String const& SystemName() const { return fields_.At<2>(); }
    StateT State() const { return fields_.At<3>(); }
    unsigned long Order() const { return fields_.At<4>(); }
    String const& CurrentId() const { return fields_.At<5>(); }
    String const& CurrentName() const { return fields_.At<6>(); }
    String const& CurrentSystemName() const { return fields_.At<7>(); }
    unsigned long CurrentPriority() const { return fields_.At<8>(); }
    Network::Ip6::Address const& CurrentIpAddress() const { return fields_.At<9>(); }
    Network::Ip6::Address const& CurrentDefaultGateway() const { return fields_.At<10>(); }

private:
    Base* Clone_() const override;

    Fields<String, String, String, StateT, unsigned long, String, String, String, unsigned long,
           Network::Ip6::Address, Network::Ip6::Address>
        fields_;
};

// A network has named the portal that guests are to log in at.
class ZEB_PUBLIC IpCaptivePortal : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::IpCaptivePortal";

    IpCaptivePortal(CString const& interfaceId, Util::URI const& uri) {
        SetInitialized_(fields_.Assign(interfaceId, uri));
    }

    char const* Ident() const override;

    String const& InterfaceId() const { return fields_.At<0>(); }
    Util::URI const& Uri() const { return fields_.At<1>(); }

private:
    Base* Clone_() const override;

    Fields<String, Util::URI> fields_;
};

// The internet has been found to answer, or not to.
class ZEB_PUBLIC Internet : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::Internet";

    explicit Internet(bool hasInternetAccess) { SetInitialized_(fields_.Assign(hasInternetAccess)); }

    char const* Ident() const override;

    bool HasInternetAccess() const { return fields_.At<0>(); }

private:
    Base* Clone_() const override;

    Fields<bool> fields_;
};

// The ping check of an interface has another result.
class ZEB_PUBLIC PingCheck : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::PingCheck";

    explicit PingCheck(CString const& interfaceId) { SetInitialized_(fields_.Assign(interfaceId)); }

    char const* Ident() const override;

    String const& InterfaceId() const { return fields_.At<0>(); }

private:
    Base* Clone_() const override;

    Fields<String> fields_;
};

// The ping check has made an interface the backup, or has taken that back.
class ZEB_PUBLIC PingCheckBackup : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::PingCheckBackup";

    explicit PingCheckBackup(CString const& interfaceId) { SetInitialized_(fields_.Assign(interfaceId)); }

    char const* Ident() const override;

    String const& InterfaceId() const { return fields_.At<0>(); }

private:
    Base* Clone_() const override;

    Fields<String> fields_;
};

} // namespace Event
