#pragma once

// The configuration of the device and of its database.

#include "zeb/core/SharedTypes.h"
#include "zeb/core/String.h"
#include "zeb/event/Fields.h"

namespace Event {

// The configuration has been written to the flash memory. Public.
class ZEB_PUBLIC ConfigurationSaved : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::ConfigurationSaved";

    char const* Ident() const override;

    // A new event, whatever the node says; null when memory ran out.
    static Base* ParseXmlBody_(Xml::Node const& event);

private:
    Base* Clone_() const override;
};

// The configuration is to be written, by the session given.
class ZEB_PUBLIC SaveConfiguration : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::SaveConfiguration";

    enum FailSafeT : uint32_t { FAIL_SAFE_KEEP = 0, FAIL_SAFE_COMMIT = 1 };

    SaveConfiguration(FailSafeT failSafe, RebootT reboot, unsigned long sessionId) {
        SetInitialized_(fields_.Assign(failSafe, reboot, sessionId));
    }

    char const* Ident() const override;

private:
    Base* Clone_() const override;

    Fields<FailSafeT, RebootT, unsigned long> fields_;
};

// Fail-safe mode, in which an unconfirmed configuration is taken back, is on or off. Public.
class ZEB_PUBLIC FailSafeState : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::FailSafeState";

    explicit FailSafeState(bool isOn) { SetInitialized_(fields_.Assign(isOn)); }

    char const* Ident() const override;

    bool IsOn() const { return fields_.At<0>(); }

private:
    bool PrintXmlBody_(Xml::Node& event) const override;
    Base* Clone_() const override;

    Fields<bool> fields_;
};

// An agent has taken over the configuration.
class ZEB_PUBLIC ConfigurationAgent : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::ConfigurationAgent";

    explicit ConfigurationAgent(CString const& name) { SetInitialized_(fields_.Assign(name)); }

    char const* Ident() const override;

    String const& Name() const { return fields_.At<0>(); }

private:
    Base* Clone_() const override;

    Fields<String> fields_;
};

// A key of the database has another value.
class ZEB_PUBLIC DbKey : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::DbKey";

    enum StatT : uint32_t { UNCHANGED = 0, CHANGED = 1, REMOVED = 2 };

    DbKey(CString const& name, unsigned long oldValue, unsigned long newValue, StatT stat) {
        SetInitialized_(fields_.Assign(name, oldValue, newValue, stat));
    }

    char const* Ident() const override;

    String const& Name() const { return fields_.At<0>(); }
    unsigned long OldValue() const { return fields_.At<1>(); }
    unsigned long NewValue() const { return fields_.At<2>(); }
    StatT Stat() const { return fields_.At<3>(); }

private:
    Base* Clone_() const override;

    Fields<String, unsigned long, unsigned long, StatT> fields_;
};

// The user has accepted a document.
class ZEB_PUBLIC DocumentAccepted : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::DocumentAccepted";

    enum TypeT : uint32_t { LICENCE = 0, PRIVACY = 1 };

    explicit DocumentAccepted(TypeT type) { SetInitialized_(fields_.Assign(type)); }

    char const* Ident() const override;

    TypeT Type() const { return fields_.At<0>(); }

private:
    Base* Clone_() const override;

    Fields<TypeT> fields_;
};

} // namespace Event
