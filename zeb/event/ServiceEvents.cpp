#include "zeb/event/ServiceEvents.h"

#include "zeb/doc/xml/Document.h"
#include "zeb/event/Words.h"

namespace Event {

char const* CallSync::Ident() const { return IDENT; }
Base* CallSync::Clone_() const { return New_<CallSync>(); }

char const* NtpClientChanged::Ident() const { return IDENT; }
Base* NtpClientChanged::Clone_() const { return New_<NtpClientChanged>(); }

char const* OpkgHook::Ident() const { return IDENT; }
Base* OpkgHook::Clone_() const { return fields_.Clone<OpkgHook>(); }

char const* Schedule::Ident() const { return IDENT; }
Base* Schedule::Clone_() const { return fields_.Clone<Schedule>(); }

bool Schedule::PrintXmlBody_(Xml::Node& event) const {
    static constexpr char const* ACTIONS[] = {"start",   "stop",           "cleared",
                                              "deleted", "built-in-start", "built-in-stop"};
    event.AppendElement("name", Name());
    event.AppendElement("action", Word_(Action(), ACTIONS));
    event.AppendElement("elapsed", Time::Span::String(Elapsed()).Cstr());
    event.AppendElement("type", Type_() == USER_DEFINED ? "user-defined" : "built-in");
    return event.Doc()->Valid();
}

char const* TrackingObject::Ident() const { return IDENT; }
Base* TrackingObject::Clone_() const { return fields_.Clone<TrackingObject>(); }

} // namespace Event
