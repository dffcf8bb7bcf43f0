#include "zeb/event/ConfigurationEvents.h"

#include "zeb/doc/xml/Document.h"

namespace Event {

char const* ConfigurationSaved::Ident() const { return IDENT; }
Base* ConfigurationSaved::Clone_() const { return New_<ConfigurationSaved>(); }

Base* ConfigurationSaved::ParseXmlBody_(Xml::Node const&) { return New_<ConfigurationSaved>(); }

char const* SaveConfiguration::Ident() const { return IDENT; }
Base* SaveConfiguration::Clone_() const { return fields_.Clone<SaveConfiguration>(); }

char const* FailSafeState::Ident() const { return IDENT; }
Base* FailSafeState::Clone_() const { return fields_.Clone<FailSafeState>(); }

bool FailSafeState::PrintXmlBody_(Xml::Node& event) const {
    event.AppendElement("on", Bool_(IsOn()));
    return event.Doc()->Valid();
}

char const* ConfigurationAgent::Ident() const { return IDENT; }
Base* ConfigurationAgent::Clone_() const { return fields_.Clone<ConfigurationAgent>(); }

char const* DbKey::Ident() const { return IDENT; }
Base* DbKey::Clone_() const { return fields_.Clone<DbKey>(); }

char const* DocumentAccepted::Ident() const { return IDENT; }
Base* DocumentAccepted::Clone_() const { return fields_.Clone<DocumentAccepted>(); }

} // namespace Event
