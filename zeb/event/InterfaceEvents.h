#pragma once

// The interfaces of the device: how they come and go, their names, their place in other interfaces, their
// roles and settings. Raised by the interface manager. The created time tells one life of an interface from
// the next under the same id.

#include "zeb/core/SharedTypes.h"
#include "zeb/core/String.h"
#include "zeb/core/TimeSpan.h"
#include "zeb/event/Fields.h"

namespace Event {

// An interface has come to be.
class ZEB_PUBLIC IfCreated : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::IfCreated";

    enum CreateT : uint32_t { CREATED = 0, FOUND = 1 };

    IfCreated(CreateT createType, CString const& id, CString const& systemName, CString const& parentId) {
        SetInitialized_(fields_.Assign(createType, id, systemName, parentId));
    }

    char const* Ident() const override;

    CreateT CreateType() const { return fields_.At<0>(); }
    String const& Id() const { return fields_.At<1>(); }
    String const& SystemName() const { return fields_.At<2>(); }
    String const& ParentId() const { return fields_.At<3>(); }

private:
    Base* Clone_() const override;

    Fields<CreateT, String, String, String> fields_;
};

// An interface is gone.
class ZEB_PUBLIC IfDestroyed : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::IfDestroyed";

    IfDestroyed(CString const& id, CString const& systemName, CString const& parentId,
                Time::Span const& createdTime) {
        SetInitialized_(fields_.Assign(id, systemName, parentId, createdTime));
    }

    char const* Ident() const override;

    String const& Id() const { return fields_.At<0>(); }
    String const& SystemName() const { return fields_.At<1>(); }
    String const& ParentId() const { return fields_.At<2>(); }
    Time::Span const& CreatedTime() const { return fields_.At<3>(); }

private:
    Base* Clone_() const override;

    Fields<String, String, String, Time::Span> fields_;
};

// An interface has been given a name.
class ZEB_PUBLIC IfNameChanged : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::IfNameChanged";

    IfNameChanged(CString const& id, CString const& name, CString const& systemName,
                  Time::Span const& createdTime) {
        SetInitialized_(fields_.Assign(id, name, systemName, createdTime));
    }

    char const* Ident() const override;

    String const& Id() const { return fields_.At<0>(); }
    String const& Name() const { return fields_.At<1>(); }
    String const& SystemName() const { return fields_.At<2>(); }
    Time::Span const& CreatedTime() const { return fields_.At<3>(); }

private:
    Base* Clone_() const override;

    Fields<String, String, String, Time::Span> fields_;
};

// The DNS domain of an interface has changed.
class ZEB_PUBLIC IfDomainChanged : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::IfDomainChanged";

    IfDomainChanged(CString const& id, CString const& systemName, CString const& domain) {
        SetInitialized_(fields_.Assign(id, systemName, domain));
    }

    char const* Ident() const override;

    String const& Id() const { return fields_.At<0>(); }
    String const& SystemName() const { return fields_.At<1>(); }
    String const& Domain() const { return fields_.At<2>(); }

private:
    Base* Clone_() const override;

    Fields<String, String, String> fields_;
};

// An interface has joined or left a group, such as a bridge, or what the group inherits from it has changed.
class ZEB_PUBLIC IfGroup : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::IfGroup";

    enum ActionT : uint32_t { INCLUDED = 0, EXCLUDED = 1 };
    // Whether the addresses of the member move to the group; PORT is a member that has none.
    enum InheritT : uint32_t { KEEP = 0, INHERIT = 1, PORT = 2 };

    IfGroup(ActionT action, InheritT inherit, CString const& id, CString const& name,
            CString const& systemName, CString const& group, CString const& groupName,
            CString const& groupSystemName, LinkT link, Conn4T connected4, Conn6T connected6, IfUpT up,
            Time::Span const& createdTime, Time::Span const& groupCreatedTime) {
        SetInitialized_(fields_.Assign(action, inherit, id, name, systemName, group, groupName,
                                       groupSystemName, link, connected4, connected6, up, createdTime,
                                       groupCreatedTime));
    }

    char const* Ident() const override;

    ActionT Action() const { return fields_.At<0>(); }
    InheritT Inherit() const { return fields_.At<1>(); }
    String const& Id() const { return fields_.At<2>(); }
    String const& Name() const { return fields_.At<3>(); }
    String const& SystemName() const { return fields_.At<4>(); }
    String const& Group() const { return fields_.At<5>(); }
    String const& GroupName() const { return fields_.At<6>(); }
    String const& GroupSystemName() const { return fields_.At<7>(); }
    LinkT IsLinkUp() const { return fields_.At<8>(); }
    Conn4T IsConnected4() const { return fields_.At<9>(); }
    Conn6T IsConnected6() const { return fields_.At<10>(); }
    IfUpT IsIfUp() const { return fields_.At<11>(); }
    Time::Span const& CreatedTime() const { return fields_.At<12>(); }
    Time::Span const& GroupCreatedTime() const { return fields_.At<13>(); }

private:
    Base* Clone_() const override;

    Fields<ActionT, InheritT, String, String, String, String, String, String, LinkT, Conn4T, Conn6T, IfUpT,
           Time::Span, Time::Span>
        fields_;
};

// An interface has been given a role, or has lost it. Ifor is the interface that the role is played for.
class ZEB_PUBLIC IfRole : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::IfRole";

    enum ActionT : uint32_t { ADDED = 0, REMOVED = 1 };

    IfRole(ActionT action, CString const& id, CString const& systemName, CString const& role,
           CString const& ifor) {
        SetInitialized_(fields_.Assign(action, id, systemName, role, ifor));
    }

    char const* Ident() const override;

    ActionT Action() const { return fields_.At<0>(); }
    String const& Id() const { return fields_.At<1>(); }
    String const& SystemName() const { return fields_.At<2>(); }
    String const& Role() const { return fields_.At<3>(); }
    String const& Ifor() const { return fields_.At<4>(); }

private:
    Base* Clone_() const override;

    Fields<ActionT, String, String, String, String> fields_;
};

// An interface follows a schedule from now on, or none if the name is empty.
class ZEB_PUBLIC IfSchedule : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::IfSchedule";

    IfSchedule(CString const& id, CString const& systemName, CString const& schedule) {
        SetInitialized_(fields_.Assign(id, systemName, schedule));
    }

    char const* Ident() const override;

    String const& Id() const { return fields_.At<0>(); }
    String const& SystemName() const { return fields_.At<1>(); }
    String const& Schedule() const { return fields_.At<2>(); }

private:
    Base* Clone_() const override;

    Fields<String, String, String> fields_;
};

// Settings of an interface have changed; the trait names which.
class ZEB_PUBLIC IfSettingsChanged : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::IfSettingsChanged";

    IfSettingsChanged(CString const& trait, CString const& id, CString const& systemName) {
        SetInitialized_(fields_.Assign(trait, id, systemName));
    }

    char const* Ident() const override;

    String const& Trait() const { return fields_.At<0>(); }
    String const& Id() const { return fields_.At<1>(); }
    String const& SystemName() const { return fields_.At<2>(); }

private:
    Base* Clone_() const override;

    Fields<String, String, String> fields_;
};

// Debugging of an interface has been switched.
class ZEB_PUBLIC IfDebug : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::IfDebug";

    IfDebug(CString const& id, CString const& systemName, DebugT debug) {
        SetInitialized_(fields_.Assign(id, systemName, debug));
    }

    char const* Ident() const override;

    String const& Id() const { return fields_.At<0>(); }
    String const& SystemName() const { return fields_.At<1>(); }
    DebugT Debug() const { return fields_.At<2>(); }

private:
    Base* Clone_() const override;

    Fields<String, String, DebugT> fields_;
};

// An interface has passed or lost its authorization, as of a supplicant.
class ZEB_PUBLIC IfAuth : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::IfAuth";
    enum AuthorizedT : uint32_t { UNAUTHORIZED = 0, AUTHORIZED = 1 };

    IfAuth(CString const& id, AuthorizedT authorized) { SetInitialized_(fields_.Assign(id, authorized)); }

    char const* Ident() const override;

    String const& Id() const { return fields_.At<0>(); }
    AuthorizedT Authorized() const { return fields_.At<1>(); }

private:
    Base* Clone_() const override;

    Fields<String, AuthorizedT> fields_;
};

} // namespace Event
