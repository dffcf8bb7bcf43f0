#pragma once

// The update and name service of the maker, and what it tells the device.

#include "zeb/core/String.h"
#include "zeb/core/StringMap.h"
#include "zeb/core/TimeSpan.h"
#include "zeb/doc/xml/Document.h"
#include "zeb/event/Fields.h"

namespace Event {

// The firmware is to be updated now.
class ZEB_PUBLIC ZessAutoUpdate : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::ZessAutoUpdate";

    ZessAutoUpdate(CString const& reason, CString const& sandbox) {
        SetInitialized_(fields_.Assign(reason, sandbox));
    }

    char const* Ident() const override;

    String const& Reason() const { return fields_.At<0>(); }
    String const& Sandbox() const { return fields_.At<1>(); }

private:
    Base* Clone_() const override;

    Fields<String, String> fields_;
};

// Cookies that the service has sent, decoded.
class ZEB_PUBLIC ZessCookie : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::ZessCookie";

    // Of cookie strings, "name=value&name=value"; of equal names the last counts.
    ZessCookie(CString const& first, CString const& second, CString const& third);

    explicit ZessCookie(StringMap const& cookie) { SetInitialized_(fields_.Assign(cookie)); }

    char const* Ident() const override;

    StringMap const& Cookie() const { return fields_.At<0>(); }

private:
    Base* Clone_() const override;

    Fields<StringMap> fields_;
};

// The service asks to be called again after that time.
class ZEB_PUBLIC ZessDeferred : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::ZessDeferred";

    explicit ZessDeferred(Time::Span const& delay) { SetInitialized_(fields_.Assign(delay)); }

    char const* Ident() const override;

    Time::Span const& Delay() const { return fields_.At<0>(); }

private:
    Base* Clone_() const override;

    Fields<Time::Span> fields_;
};

// The names under which the device is reached have changed.
class ZEB_PUBLIC ZessHostname : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::ZessHostname";

    ZessHostname(CString const& hostname, bool isCloud, bool isCloud6, bool isAcme) {
        SetInitialized_(fields_.Assign(hostname, isCloud, isCloud6, isAcme));
    }

    char const* Ident() const override;

    String const& Hostname() const { return fields_.At<0>(); }
    bool IsCloud() const { return fields_.At<1>(); }
    bool IsCloud6() const { return fields_.At<2>(); }
    bool IsAcme() const { return fields_.At<3>(); }
    char const* Id() const { return "ub1"; }

private:
    Base* Clone_() const override;

    Fields<String, bool, bool, bool> fields_;
};

// The service has sent an XML document. Id is an attribute of its root element.
class ZEB_PUBLIC ZessNotify : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::ZessNotify";

    enum ProtocolT : uint32_t { HTTP = 0, HTTPS = 1 };

    // Copies the source. Without one the event has no id and no host.
    ZessNotify(CString const& host, Xml::Node const* source, ProtocolT protocol);

    char const* Ident() const override;

    String const& Id() const { return id_; }
    String const& ServiceHost() const { return serviceHost_; }
    Xml::Document const& Xml() const { return xml_; }
    ProtocolT Protocol() const { return protocol_; }

private:
    Base* Clone_() const override;

    String id_;
    String serviceHost_;
    Xml::Document xml_;
    ProtocolT protocol_;
};

} // namespace Event
