#include "zeb/event/CloudEvents.h"

#include "zeb/doc/xml/Document.h"
#include "zeb/event/Words.h"

namespace Event {

char const* CloudReady::Ident() const { return IDENT; }
Base* CloudReady::Clone_() const { return fields_.Clone<CloudReady>(); }

bool CloudReady::PrintXmlBody_(Xml::Node& event) const {
    static constexpr char const* TRANSPORTS[] = {"tcp", "udp"};
    event.AppendElement("transport", Word_(Transport_(), TRANSPORTS, "<fail>"));
    return event.Doc()->Valid();
}

char const* CloudSettingsChanged::Ident() const { return IDENT; }
Base* CloudSettingsChanged::Clone_() const { return New_<CloudSettingsChanged>(); }

char const* CwmpNotificationRequired::Ident() const { return IDENT; }
Base* CwmpNotificationRequired::Clone_() const {
    return New_<CwmpNotificationRequired>(fields_.At<1>(), fields_.At<0>());
}

char const* CwmpSessionFinished::Ident() const { return IDENT; }
Base* CwmpSessionFinished::Clone_() const { return New_<CwmpSessionFinished>(); }

} // namespace Event
