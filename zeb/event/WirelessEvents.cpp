#include "zeb/event/WirelessEvents.h"

#include "zeb/doc/xml/Document.h"

namespace Event {

char const* BandSteeringChanged::Ident() const { return IDENT; }
Base* BandSteeringChanged::Clone_() const { return New_<BandSteeringChanged>(); }

char const* CountryChanged::Ident() const { return IDENT; }
Base* CountryChanged::Clone_() const { return New_<CountryChanged>(); }

char const* MloChanged::Ident() const { return IDENT; }
Base* MloChanged::Clone_() const { return fields_.Clone<MloChanged>(); }

char const* RadioStateChanged::Ident() const { return IDENT; }
Base* RadioStateChanged::Clone_() const { return fields_.Clone<RadioStateChanged>(); }

char const* RadioTurnState::Ident() const { return IDENT; }
Base* RadioTurnState::Clone_() const { return fields_.Clone<RadioTurnState>(); }

char const* WifiConfigured::Ident() const { return IDENT; }
Base* WifiConfigured::Clone_() const { return fields_.Clone<WifiConfigured>(); }

char const* WpsConfigured::Ident() const { return IDENT; }
Base* WpsConfigured::Clone_() const { return fields_.Clone<WpsConfigured>(); }

char const* WpsStart::Ident() const { return IDENT; }
Base* WpsStart::Clone_() const { return fields_.Clone<WpsStart>(); }

char const* Sms::Ident() const { return IDENT; }
Base* Sms::Clone_() const { return fields_.Clone<Sms>(); }

bool Sms::PrintXmlBody_(Xml::Node& event) const {
    event.AppendElement("interface-id", InterfaceId());
    event.AppendElement("message-id", MessageId());
    return event.Doc()->Valid();
}

} // namespace Event
