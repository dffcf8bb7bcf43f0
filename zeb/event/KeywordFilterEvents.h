#pragma once

// The filters that keep hosts from content by its keywords: which profiles hold for a host or an interface.

#include "zeb/core/String.h"
#include "zeb/core/StringVector.h"
#include "zeb/event/Fields.h"
#include "zeb/network/MacAddress.h"

namespace Event {

// The profiles of a host have changed.
class ZEB_PUBLIC HostKeywordFilter : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::HostKeywordFilter";

    enum ActionT : uint32_t { SET = 0, REMOVED = 1 };

    HostKeywordFilter(ActionT action, Network::MacAddress const& mac, StringVector const& profiles) {
        SetInitialized_(fields_.Assign(action, mac, profiles));
    }

    char const* Ident() const override;

    ActionT Action() const { return fields_.At<0>(); }
    Network::MacAddress const& Mac() const { return fields_.At<1>(); }
    StringVector const& Profiles() const { return fields_.At<2>(); }

private:
    Base* Clone_() const override;

    Fields<ActionT, Network::MacAddress, StringVector> fields_;
};

// The profiles of the hosts of an interface have changed.
class ZEB_PUBLIC IfaceKeywordFilter : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::IfaceKeywordFilter";

    enum ActionT : uint32_t { SET = 0, REMOVED = 1 };

    IfaceKeywordFilter(ActionT action, CString const& ifaceId, uint32_t interfaceIdx,
                       StringVector const& profiles) {
        SetInitialized_(fields_.Assign(action, ifaceId, interfaceIdx, profiles));
    }

    char const* Ident() const override;

    ActionT Action() const { return fields_.At<0>(); }
    String const& IfaceId() const { return fields_.At<1>(); }
    uint32_t InterfaceIdx() const { return fields_.At<2>(); }
    StringVector const& Profiles() const { return fields_.At<3>(); }

private:
    Base* Clone_() const override;

    Fields<ActionT, String, uint32_t, StringVector> fields_;
};

// A profile has changed.
class ZEB_PUBLIC ProfileKeywordFilter : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::ProfileKeywordFilter";

    enum ActionT : uint32_t { SET = 0, REMOVED = 1 };

    ProfileKeywordFilter(ActionT action, CString const& name, CString const& objectGroup, bool isActive) {
        SetInitialized_(fields_.Assign(action, name, objectGroup, isActive));
    }

    char const* Ident() const override;

    ActionT Action() const { return fields_.At<0>(); }
    String const& Name() const { return fields_.At<1>(); }
    String const& ObjectGroup() const { return fields_.At<2>(); }
    bool IsActive() const { return fields_.At<3>(); }

private:
    Base* Clone_() const override;

    Fields<ActionT, String, String, bool> fields_;
};

} // namespace Event
