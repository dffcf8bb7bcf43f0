#pragma once

// Schedules, package hooks, tracked objects, and the settings of small services.

#include "zeb/core/String.h"
#include "zeb/core/StringMap.h"
#include "zeb/core/StringVector.h"
#include "zeb/core/TimeSpan.h"
#include "zeb/event/Fields.h"

namespace Event {

// The list of calls of the telephone service is to be synchronized.
class ZEB_PUBLIC CallSync : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::CallSync";

    char const* Ident() const override;

private:
    Base* Clone_() const override;
};

// The settings of the time client have changed.
class ZEB_PUBLIC NtpClientChanged : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::NtpClientChanged";

    char const* Ident() const override;

private:
    Base* Clone_() const override;
};

// A hook of the packages is to be run.
class ZEB_PUBLIC OpkgHook : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::OpkgHook";

    enum ActionT : uint32_t { RUN = 0, CANCEL = 1 };

    OpkgHook(ActionT action, CString const& id, CString const& hookName, StringVector const& args,
             StringMap const& env) {
        SetInitialized_(fields_.Assign(action, id, hookName, args, env));
    }

    char const* Ident() const override;

    ActionT Action() const { return fields_.At<0>(); }
    String const& Id() const { return fields_.At<1>(); }
    String const& HookName() const { return fields_.At<2>(); }
    StringVector const& Args() const { return fields_.At<3>(); }
    StringMap const& Env() const { return fields_.At<4>(); }

private:
    Base* Clone_() const override;

    Fields<ActionT, String, String, StringVector, StringMap> fields_;
};

// A schedule has reached one of its points. Public.
class ZEB_PUBLIC Schedule : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::Schedule";

    enum ActionT : uint32_t {
        START = 0,
        STOP = 1,
        CLEARED = 2,
        DELETED = 3,
        BUILT_IN_START = 4,
        BUILT_IN_STOP = 5
    };
    enum TypeT : uint32_t { BUILT_IN = 0, USER_DEFINED = 1 };

    Schedule(CString const& name, ActionT action, Time::Span const& elapsed, TypeT type) {
        SetInitialized_(fields_.Assign(name, action, elapsed, type));
    }

    char const* Ident() const override;

    String const& Name() const { return fields_.At<0>(); }
    ActionT Action() const { return fields_.At<1>(); }
    Time::Span const& Elapsed() const { return fields_.At<2>(); }

private:
    bool PrintXmlBody_(Xml::Node& event) const override;
    Base* Clone_() const override;

    TypeT Type_() const { return fields_.At<3>(); }

    Fields<String, ActionT, Time::Span, TypeT> fields_;
};

// A tracked object has changed its state.
class ZEB_PUBLIC TrackingObject : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::TrackingObject";

    enum ActionT : uint32_t { DOWN = 0, UP = 1, REMOVED = 2 };

    TrackingObject(CString const& id, ActionT action) { SetInitialized_(fields_.Assign(id, action)); }

    char const* Ident() const override;

    String const& Id() const { return fields_.At<0>(); }
    ActionT Action() const { return fields_.At<1>(); }

private:
    Base* Clone_() const override;

    Fields<String, ActionT> fields_;
};

} // namespace Event
