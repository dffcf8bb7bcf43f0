#pragma once

// The wireless system of several devices: one controller, and members that it acquires and configures. The
// cid is the id of a member.

#include "zeb/core/String.h"
#include "zeb/event/Fields.h"
#include "zeb/network/MacAddress.h"

namespace Event {

// A controller acquires this device.
class ZEB_PUBLIC MwsAcquire : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::MwsAcquire";

    MwsAcquire(CString const& token, CString const& cid) { SetInitialized_(fields_.Assign(token, cid)); }

    char const* Ident() const override;

    String const& Token() const { return fields_.At<0>(); }
    String const& Cid() const { return fields_.At<1>(); }

private:
    Base* Clone_() const override;

    Fields<String, String> fields_;
};

// The controller of this device.
class ZEB_PUBLIC MwsController : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::MwsController";

    MwsController(Network::MacAddress const& mac, CString const& cid) {
        SetInitialized_(fields_.Assign(mac, cid));
    }

    char const* Ident() const override;

    Network::MacAddress const& Mac() const { return fields_.At<0>(); }
    String const& Cid() const { return fields_.At<1>(); }

private:
    Base* Clone_() const override;

    Fields<Network::MacAddress, String> fields_;
};

// A controller has locked this device.
class ZEB_PUBLIC MwsLock : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::MwsLock";

    MwsLock(CString const& token, CString const& cid) { SetInitialized_(fields_.Assign(token, cid)); }

    char const* Ident() const override;

    String const& Token() const { return fields_.At<0>(); }
    String const& Cid() const { return fields_.At<1>(); }

private:
    Base* Clone_() const override;

    Fields<String, String> fields_;
};

// A member has come, changed or gone. Public.
class ZEB_PUBLIC MwsMember : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::MwsMember";

    enum ActionT : uint32_t { ADDED = 0, UPDATED = 1, REMOVED = 2 };
    enum StateT : uint32_t { ONLINE = 0, OFFLINE = 1, ERRORS = 2 };

    MwsMember(ActionT action, StateT state, Network::MacAddress const& mac, CString const& cid) {
        SetInitialized_(fields_.Assign(action, state, mac, cid));
    }

    char const* Ident() const override;

    ActionT Action() const { return fields_.At<0>(); }
    StateT State() const { return fields_.At<1>(); }
    Network::MacAddress const& Mac() const { return fields_.At<2>(); }
    String const& Cid() const { return fields_.At<3>(); }

private:
    bool PrintXmlBody_(Xml::Node& event) const override;
    Base* Clone_() const override;

    Fields<ActionT, StateT, Network::MacAddress, String> fields_;
};

// The update of the firmware of a member has ended.
class ZEB_PUBLIC MwsMemberUpdateDone : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::MwsMemberUpdateDone";

    explicit MwsMemberUpdateDone(CString const& cid) { SetInitialized_(fields_.Assign(cid)); }

    char const* Ident() const override;

    String const& Cid() const { return fields_.At<0>(); }

private:
    Base* Clone_() const override;

    Fields<String> fields_;
};

// The access points that members take over have changed.
class ZEB_PUBLIC MwsWlan : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::MwsWlan";

    char const* Ident() const override;

private:
    Base* Clone_() const override;
};

} // namespace Event
