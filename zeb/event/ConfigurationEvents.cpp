#include "zeb/event/ConfigurationEvents.h"

#include "zeb/doc/xml/Document.h"

namespace Event {

char const* ConfigurationSaved::Ident() const { return "Event::Type::ConfigurationSaved"; }
Base* ConfigurationSaved::Clone_() const { return New_<ConfigurationSaved>(); }

Base* ConfigurationSaved::ParseXmlBody_(Xml::Node const&) { return New_<ConfigurationSaved>(); }

char const* SaveConfiguration::Ident() const { return "Event::Type::SaveConfiguration"; }
Base* SaveConfiguration::Clone_() const { return fields_.Clone<SaveConfiguration>(); }

char const* FailSafeState::Ident() const { return "Event::Type::FailSafeState"; }
Base* FailSafeState::Clone_() const { return fields_.Clone<FailSafeState>(); }

bool FailSafeState::PrintXmlBody_(Xml::Node& event) const {
    event.AppendElement("on", Bool_(IsOn()));
    return event.Doc()->Valid();
}

char const* ConfigurationAgent::Ident() const { return "Event::Type::ConfigurationAgent"; }
Base* ConfigurationAgent::Clone_() const { return fields_.Clone<ConfigurationAgent>(); }

char const* DbKey::Ident() const { return "Event::Type::DbKey"; }
Base* DbKey::Clone_() const { return fields_.Clone<DbKey>(); }

char const* DocumentAccepted::Ident() const { return "Event::Type::DocumentAccepted"; }
Base* DocumentAccepted::Clone_() const { return fields_.Clone<DocumentAccepted>(); }

} // namespace Event
