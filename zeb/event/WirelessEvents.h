#pragma once

// Radios and access points, and the text messages of modems.

#include "zeb/core/String.h"
#include "zeb/event/Fields.h"

namespace Event {

// The steering of stations between bands has been set anew.
class ZEB_PUBLIC BandSteeringChanged : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::BandSteeringChanged";

    char const* Ident() const override;

private:
    Base* Clone_() const override;
};

// The country, whose rules the radios follow, has changed.
class ZEB_PUBLIC CountryChanged : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::CountryChanged";

    char const* Ident() const override;

private:
    Base* Clone_() const override;
};

// The links that an access point offers together have changed.
class ZEB_PUBLIC MloChanged : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::MloChanged";

    explicit MloChanged(CString const& id) { SetInitialized_(fields_.Assign(id)); }

    char const* Ident() const override;

    String const& Id() const { return fields_.At<0>(); }

private:
    Base* Clone_() const override;

    Fields<String> fields_;
};

// A radio is on the air, or off.
class ZEB_PUBLIC RadioStateChanged : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::RadioStateChanged";

    RadioStateChanged(CString const& id, bool isUp) { SetInitialized_(fields_.Assign(id, isUp)); }

    char const* Ident() const override;

    String const& Id() const { return fields_.At<0>(); }
    bool IsUp() const { return fields_.At<1>(); }

private:
    Base* Clone_() const override;

    Fields<String, bool> fields_;
};

// A radio has been switched on or off.
class ZEB_PUBLIC RadioTurnState : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::RadioTurnState";

    RadioTurnState(CString const& id, bool isOn) { SetInitialized_(fields_.Assign(id, isOn)); }

    char const* Ident() const override;

    String const& Id() const { return fields_.At<0>(); }
    bool IsOn() const { return fields_.At<1>(); }

private:
    Base* Clone_() const override;

    Fields<String, bool> fields_;
};

// Access points of these bands have new settings.
class ZEB_PUBLIC WifiConfigured : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::WifiConfigured";

    // Bits, one for each band.
    enum BandMaskT : uint32_t { BAND_2GHZ = 1, BAND_5GHZ = 2, BAND_6GHZ = 4 };

    explicit WifiConfigured(BandMaskT bandMask) { SetInitialized_(fields_.Assign(bandMask)); }

    char const* Ident() const override;

    BandMaskT BandMask() const { return fields_.At<0>(); }

private:
    Base* Clone_() const override;

    Fields<BandMaskT> fields_;
};

// An access point has its settings from push-button configuration.
class ZEB_PUBLIC WpsConfigured : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::WpsConfigured";

    explicit WpsConfigured(CString const& id) { SetInitialized_(fields_.Assign(id)); }

    char const* Ident() const override;

    String const& Id() const { return fields_.At<0>(); }

private:
    Base* Clone_() const override;

    Fields<String> fields_;
};

// Push-button configuration of an access point has begun.
class ZEB_PUBLIC WpsStart : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::WpsStart";

    explicit WpsStart(CString const& id) { SetInitialized_(fields_.Assign(id)); }

    char const* Ident() const override;

    String const& Id() const { return fields_.At<0>(); }

private:
    Base* Clone_() const override;

    Fields<String> fields_;
};

// A modem has received a text message. Public.
class ZEB_PUBLIC Sms : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::Sms";

    Sms(CString const& interfaceId, CString const& messageId) {
        SetInitialized_(fields_.Assign(interfaceId, messageId));
    }

    char const* Ident() const override;

    String const& InterfaceId() const { return fields_.At<0>(); }
    String const& MessageId() const { return fields_.At<1>(); }

private:
    bool PrintXmlBody_(Xml::Node& event) const override;
    Base* Clone_() const override;

    Fields<String, String> fields_;
};

} // namespace Event
