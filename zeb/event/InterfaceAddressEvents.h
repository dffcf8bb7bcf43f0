#pragma once

// The addresses of interfaces, and how far their networks are trusted. Raised by the interface manager.
// Interface trackers build their tables from these.

#include "zeb/core/SharedTypes.h"
#include "zeb/core/String.h"
#include "zeb/core/TimeSpan.h"
#include "zeb/event/Fields.h"
#include "zeb/network/Ip6Block.h"
#include "zeb/network/IpBlock.h"
#include "zeb/network/MacAddress.h"

namespace Event {

// An IPv4 address of an interface has been set or removed.
class ZEB_PUBLIC IfIp4Changed : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::IfIp4Changed";

    enum StatT : uint32_t { DYNAMIC = 0, STATIC = 1 };
    enum TypeT : uint32_t { PRIMARY = 0, ALIAS = 1 };
    enum ActionT : uint32_t { SET = 0, REMOVED = 1 };

    IfIp4Changed(CString const& id, CString const& name, CString const& systemName,
                 Network::IpBlock const& address, StatT isStatic, TypeT type, ActionT action,
                 unsigned long globalPriority, Time::Span const& createdTime) {
        SetInitialized_(fields_.Assign(id, name, systemName, address, isStatic, type, action, globalPriority,
                                       createdTime));
    }

    char const* Ident() const override;

    String const& Id() const { return fields_.At<0>(); }
    String const& Name() const { return fields_.At<1>(); }
    String const& SystemName() const { return fields_.At<2>(); }
    Network::IpBlock const& Address() const { return fields_.At<3>(); }
    StatT Static() const { return fields_.At<4>(); }
    TypeT Type() const { return fields_.At<5>(); }
    ActionT Action() const { return fields_.At<6>(); }
    unsigned long GlobalPriority() const { return fields_.At<7>(); }
    Time::Span const& CreatedTime() const { return fields_.At<8>(); }

private:
    Base* Clone_() const override;

    Fields<String, String, String, Network::IpBlock, StatT, TypeT, ActionT, unsigned long, Time::Span>
        fields_;
};

// An IPv6 address of an interface has been set or removed. A link-local one stands until the next is set.
class ZEB_PUBLIC IfIp6Changed : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::IfIp6Changed";

    // TENTATIVE is not to be used before the check for duplicates is over.
    enum ActionT : uint32_t { ADDED = 0, TENTATIVE = 1, UPDATED = 2, REMOVED = 3 };

    IfIp6Changed(ActionT action, CString const& id, CString const& name, CString const& systemName,
                 Network::Ip6::Block const& address, Network::Ip6::ProtoT prototype,
                 unsigned long globalPriority, Time::Span const& createdTime) {
        SetInitialized_(
            fields_.Assign(action, id, name, systemName, address, prototype, globalPriority, createdTime));
    }

    char const* Ident() const override;

    ActionT Action() const { return fields_.At<0>(); }
    String const& Id() const { return fields_.At<1>(); }
    String const& Name() const { return fields_.At<2>(); }
    String const& SystemName() const { return fields_.At<3>(); }
    Network::Ip6::Block const& Address() const { return fields_.At<4>(); }
    Network::Ip6::ProtoT Prototype() const { return fields_.At<5>(); }
    unsigned long GlobalPriority() const { return fields_.At<6>(); }
    Time::Span const& CreatedTime() const { return fields_.At<7>(); }

private:
    Base* Clone_() const override;

    Fields<ActionT, String, String, String, Network::Ip6::Block, Network::Ip6::ProtoT, unsigned long,
           Time::Span>
        fields_;
};

// The kernel has added or removed an IPv6 address.
class ZEB_PUBLIC IfIp6SystemChanged : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::IfIp6SystemChanged";

    enum ActionT : uint32_t { ADDED = 0, REMOVED = 1 };

    IfIp6SystemChanged(ActionT action, uint32_t systemIndex, Network::Ip6::Block const& address) {
        SetInitialized_(fields_.Assign(action, systemIndex, address));
    }

    char const* Ident() const override;

    ActionT Action() const { return fields_.At<0>(); }
    uint32_t SystemIndex() const { return fields_.At<1>(); }
    Network::Ip6::Block const& Address() const { return fields_.At<2>(); }

private:
    Base* Clone_() const override;

    Fields<ActionT, uint32_t, Network::Ip6::Block> fields_;
};

// An interface has become a way to the internet, with a priority, or is none any more.
class ZEB_PUBLIC IfGlobalChanged : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::IfGlobalChanged";

    IfGlobalChanged(CString const& id, CString const& name, CString const& systemName,
                    unsigned long globalPriority, Time::Span const& createdTime) {
        SetInitialized_(fields_.Assign(id, name, systemName, globalPriority, createdTime));
    }

    char const* Ident() const override;

    String const& Id() const { return fields_.At<0>(); }
    String const& Name() const { return fields_.At<1>(); }
    String const& SystemName() const { return fields_.At<2>(); }
    unsigned long GlobalPriority() const { return fields_.At<3>(); }
    Time::Span const& CreatedTime() const { return fields_.At<4>(); }
    bool IsGlobal() const { return GlobalPriority() != 0; }

private:
    Base* Clone_() const override;

    Fields<String, String, String, unsigned long, Time::Span> fields_;
};

// The security level of an interface, or the isolation of its hosts, has changed.
class ZEB_PUBLIC IfPrivateChanged : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::IfPrivateChanged";

    IfPrivateChanged(CString const& id, CString const& name, CString const& systemName,
                     SecurityLevelT securityLevel, bool isIsolate, Time::Span const& createdTime) {
        SetInitialized_(fields_.Assign(id, name, systemName, securityLevel, isIsolate, createdTime));
    }

    char const* Ident() const override;

    String const& Id() const { return fields_.At<0>(); }
    String const& Name() const { return fields_.At<1>(); }
    String const& SystemName() const { return fields_.At<2>(); }
    SecurityLevelT SecurityLevel() const { return fields_.At<3>(); }
    bool IsIsolate() const { return fields_.At<4>(); }
    Time::Span const& CreatedTime() const { return fields_.At<5>(); }

private:
    Base* Clone_() const override;

    Fields<String, String, String, SecurityLevelT, bool, Time::Span> fields_;
};

// An interface has another hardware address.
class ZEB_PUBLIC IfMacChanged : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::IfMacChanged";

    IfMacChanged(CString const& id, CString const& systemName, Network::MacAddress const& address) {
        SetInitialized_(fields_.Assign(id, systemName, address));
    }

    char const* Ident() const override;

    String const& Id() const { return fields_.At<0>(); }
    String const& SystemName() const { return fields_.At<1>(); }
    Network::MacAddress const& Address() const { return fields_.At<2>(); }

private:
    Base* Clone_() const override;

    Fields<String, String, Network::MacAddress> fields_;
};

} // namespace Event
