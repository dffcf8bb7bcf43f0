#pragma once

// Accounts of the device, and who uses them.

#include "zeb/core/String.h"
#include "zeb/core/StringMap.h"
#include "zeb/core/StringVector.h"
#include "zeb/event/Fields.h"
#include "zeb/network/Ip6Address.h"
#include "zeb/network/IpAddress.h"

namespace Event {

// Someone has logged in, or tried to. Public.
class ZEB_PUBLIC AuditLog : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::AuditLog";

    enum ActionT : uint32_t { AUTH_OPEN = 0, AUTH_PASS = 1, AUTH_ZEBA = 2, AUTH_FAIL = 3 };

    AuditLog(ActionT action, CString const& userName, CString const& scgiAgent, CString const& remoteAddr,
             CString const& sessionId, CString const& service) {
        SetInitialized_(fields_.Assign(action, userName, scgiAgent, remoteAddr, sessionId, service));
    }

    char const* Ident() const override;

    ActionT Action() const { return fields_.At<0>(); }
    String const& UserName() const { return fields_.At<1>(); }
    String const& ScgiAgent() const { return fields_.At<2>(); }
    String const& RemoteAddr() const { return fields_.At<3>(); }
    String const& SessionId() const { return fields_.At<4>(); }

private:
    bool PrintXmlBody_(Xml::Node& event) const override;
    Base* Clone_() const override;

    String const& Service_() const { return fields_.At<5>(); }

    Fields<ActionT, String, String, String, String, String> fields_;
};

// An account has been added, changed or removed, by the actor. Passwords go by their type. Public.
class ZEB_PUBLIC User : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::User";

    enum ActionT : uint32_t { ADDED = 0, CHANGED = 1, PASSWORD = 2, REMOVED = 3 };
    enum CategoryT : uint32_t { NORMAL = 0, HIDDEN = 1 };

    User(ActionT action, CString const& name, StringMap const& passwords, StringVector const& tags,
         CategoryT category, CString const& actor, unsigned long activeSessionId) {
        SetInitialized_(fields_.Assign(action, name, passwords, tags, category, actor, activeSessionId));
    }

    char const* Ident() const override;

    ActionT Action() const { return fields_.At<0>(); }
    String const& Name() const { return fields_.At<1>(); }
    StringMap const& Passwords() const { return fields_.At<2>(); }
    StringVector const& Tags() const { return fields_.At<3>(); }
    unsigned long ActiveSessionId() const { return fields_.At<6>(); }

private:
    bool PrintXmlBody_(Xml::Node& event) const override;
    Base* Clone_() const override;

    CategoryT Category_() const { return fields_.At<4>(); }
    String const& Actor_() const { return fields_.At<5>(); }

    Fields<ActionT, String, StringMap, StringVector, CategoryT, String, unsigned long> fields_;
};

// A client is locked out of a service after failed attempts, or is let in again. One of the two addresses is
// set.
class ZEB_PUBLIC Lockout : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::Lockout";

    enum ActionT : uint32_t { LOCKED = 0, UNLOCKED = 1 };

    Lockout(CString const& id, ActionT action, Network::Ip6::Address const& client6) {
        SetInitialized_(fields_.Assign(id, action, Network::IpAddress(), client6));
    }
    Lockout(CString const& id, ActionT action, Network::IpAddress const& client4) {
        SetInitialized_(fields_.Assign(id, action, client4));
    }

    char const* Ident() const override;

    String const& Id() const { return fields_.At<0>(); }
    ActionT Action() const { return fields_.At<1>(); }
    Network::IpAddress const& Client4() const { return fields_.At<2>(); }
    Network::Ip6::Address const& Client6() const { return fields_.At<3>(); }

private:
    Base* Clone_() const override;

    Fields<String, ActionT, Network::IpAddress, Network::Ip6::Address> fields_;
};

} // namespace Event
