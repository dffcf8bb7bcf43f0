#pragma once

// Remote management: the cloud and the auto-configuration server.

#include "zeb/event/Fields.h"

namespace Event {

// The connection to the cloud stands. Public.
class ZEB_PUBLIC CloudReady : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::CloudReady";

    enum TransportT : uint32_t { TCP = 0, UDP = 1 };

    explicit CloudReady(TransportT transport) { SetInitialized_(fields_.Assign(transport)); }

    char const* Ident() const override;

private:
    bool PrintXmlBody_(Xml::Node& event) const override;
    Base* Clone_() const override;

    TransportT Transport_() const { return fields_.At<0>(); }

    Fields<TransportT> fields_;
};

// The settings of the cloud have changed.
class ZEB_PUBLIC CloudSettingsChanged : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::CloudSettingsChanged";

    char const* Ident() const override;

private:
    Base* Clone_() const override;
};

// The auto-configuration server is to be told of a change.
class ZEB_PUBLIC CwmpNotificationRequired : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::CwmpNotificationRequired";

    enum CodeT : uint32_t { PASSIVE = 1, ACTIVE = 2 };

    CwmpNotificationRequired(uint64_t zebId, CodeT code) { SetInitialized_(fields_.Assign(code, zebId)); }

    char const* Ident() const override;

    CodeT Code() const { return fields_.At<0>(); }
    uint64_t ZebId() const { return fields_.At<1>(); }

private:
    Base* Clone_() const override;

    Fields<CodeT, uint64_t> fields_;
};

// A session with the auto-configuration server has ended.
class ZEB_PUBLIC CwmpSessionFinished : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::CwmpSessionFinished";

    char const* Ident() const override;

private:
    Base* Clone_() const override;
};

} // namespace Event
