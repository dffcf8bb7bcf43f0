#include "zeb/event/SystemEvents.h"

#include "zeb/doc/xml/Document.h"

namespace Event {

char const* Heartbeat::Ident() const { return IDENT; }
Base* Heartbeat::Clone_() const { return New_<Heartbeat>(); }

char const* SystemReady::Ident() const { return IDENT; }
Base* SystemReady::Clone_() const { return fields_.Clone<SystemReady>(); }

bool SystemReady::PrintXmlBody_(Xml::Node& event) const {
    event.AppendElement("uptime", Uptime_().Seconds());
    event.AppendElement("version", ZEB_SYSTEM_VERSION);
    return event.Doc()->Valid();
}

char const* SystemShutdown::Ident() const { return IDENT; }
Base* SystemShutdown::Clone_() const { return New_<SystemShutdown>(); }

char const* UpdatesAvailable::Ident() const { return IDENT; }
Base* UpdatesAvailable::Clone_() const { return New_<UpdatesAvailable>(); }

char const* UpdateSettingsChanged::Ident() const { return IDENT; }
Base* UpdateSettingsChanged::Clone_() const {
    auto* const clone = new (std::nothrow) UpdateSettingsChanged;
    if (clone != nullptr) clone->SetInitialized_(clone->fields_.At<0>().Assign(Attributes()));
    return Settle_(clone);
}

bool UpdateSettingsChanged::Set(CString const& name, CString const& value) {
    SetInitialized_(fields_.At<0>().Set(name, value));
    return Initialized();
}

bool UpdateSettingsChanged::PrintXmlBody_(Xml::Node& event) const {
    for (unsigned long i = 0; i < Attributes().Size(); ++i) {
        event.AppendElement(Attributes().Key(i), Attributes().Get(i));
    }
    return event.Doc()->Valid();
}

char const* IrqSetChanged::Ident() const { return IDENT; }
Base* IrqSetChanged::Clone_() const { return New_<IrqSetChanged>(); }

char const* TrafficCounter::Ident() const { return IDENT; }
Base* TrafficCounter::Clone_() const { return fields_.Clone<TrafficCounter>(); }

bool TrafficCounter::PrintXmlBody_(Xml::Node& event) const {
    event.AppendElement("threshold", Bool_(Threshold_()));
    event.AppendElement("limit", Bool_(Limit_()));
    return event.Doc()->Valid();
}

} // namespace Event
