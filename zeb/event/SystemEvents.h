#pragma once

// The device as a whole: start and stop, heartbeat, firmware updates, interrupts, traffic limits.

#include "zeb/core/StringMap.h"
#include "zeb/core/TimeSpan.h"
#include "zeb/event/Fields.h"

namespace Event {

// The device is alive. Raised on a schedule by a program of the device. Public.
class ZEB_PUBLIC Heartbeat : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::Heartbeat";

    char const* Ident() const override;

private:
    Base* Clone_() const override;
};

// The device has started, after that time. Public.
class ZEB_PUBLIC SystemReady : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::SystemReady";

    explicit SystemReady(Time::Span const& uptime) { SetInitialized_(fields_.Assign(uptime)); }

    char const* Ident() const override;

private:
    bool PrintXmlBody_(Xml::Node& event) const override;
    Base* Clone_() const override;

    Time::Span const& Uptime_() const { return fields_.At<0>(); }

    Fields<Time::Span> fields_;
};

// The device is about to stop.
class ZEB_PUBLIC SystemShutdown : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::SystemShutdown";

    char const* Ident() const override;

private:
    Base* Clone_() const override;
};

// The update server has something newer. Public.
class ZEB_PUBLIC UpdatesAvailable : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::UpdatesAvailable";

    char const* Ident() const override;

private:
    Base* Clone_() const override;
};

// Settings of firmware updates have changed: their names and new values. Public.
class ZEB_PUBLIC UpdateSettingsChanged : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::UpdateSettingsChanged";

    char const* Ident() const override;

    StringMap const& Attributes() const { return fields_.At<0>(); }

    // Before the event is raised. The result is that of Initialized().
    bool Set(CString const& name, CString const& value);

private:
    bool PrintXmlBody_(Xml::Node& event) const override;
    Base* Clone_() const override;

    Fields<StringMap> fields_;
};

// The interrupts have been spread anew over the processors.
class ZEB_PUBLIC IrqSetChanged : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::IrqSetChanged";

    char const* Ident() const override;

private:
    Base* Clone_() const override;
};

// The traffic of the billing period has passed its warning threshold, or its limit. Public.
class ZEB_PUBLIC TrafficCounter : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::TrafficCounter";

    TrafficCounter(bool threshold, bool limit) { SetInitialized_(fields_.Assign(threshold, limit)); }

    char const* Ident() const override;

private:
    bool PrintXmlBody_(Xml::Node& event) const override;
    Base* Clone_() const override;

    bool Threshold_() const { return fields_.At<0>(); }
    bool Limit_() const { return fields_.At<1>(); }

    Fields<bool, bool> fields_;
};

} // namespace Event
