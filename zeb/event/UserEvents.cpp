#include "zeb/event/UserEvents.h"

#include "zeb/doc/xml/Document.h"
#include "zeb/event/Words.h"

namespace Event {

char const* AuditLog::Ident() const { return IDENT; }
Base* AuditLog::Clone_() const { return fields_.Clone<AuditLog>(); }

bool AuditLog::PrintXmlBody_(Xml::Node& event) const {
    static constexpr char const* ACTIONS[] = {"AUTH_OPEN", "AUTH_PASS", "AUTH_ZEBA"};
    event.AppendElement("action", Word_(Action(), ACTIONS, "AUTH_FAIL"));
    event.AppendElement("user", UserName());
    event.AppendElement("agent", ScgiAgent());
    event.AppendElement("address", RemoteAddr());
    event.AppendElement("session", SessionId());
    if (!Service_().Empty()) event.AppendElement("service", Service_());
    return event.Doc()->Valid();
}

char const* User::Ident() const { return IDENT; }
Base* User::Clone_() const { return fields_.Clone<User>(); }

bool User::PrintXmlBody_(Xml::Node& event) const {
    static constexpr char const* ACTIONS[] = {"added", "changed", "password", "removed"};
    event.AppendElement("action", Word_(Action(), ACTIONS));
    event.AppendElement("name", Name());
    event.AppendElement("category", Category_() == NORMAL ? "normal" : "hidden");
    event.AppendElement("actor", Actor_());
    for (unsigned long i = 0; i < Passwords().Size(); ++i) {
        Xml::Node* const password = event.AppendToArray("password", Passwords().Get(i));
        if (password == nullptr) return false;
        password->AppendAttribute("type", Passwords().Key(i));
    }
    for (unsigned long i = 0; i < Tags().Size(); ++i) {
        event.AppendToArray("tag", Tags()[i]);
    }
    return event.Doc()->Valid();
}

char const* Lockout::Ident() const { return IDENT; }
Base* Lockout::Clone_() const {
    return Client6().IsZero() ? New_<Lockout>(Id(), Action(), Client4())
                              : New_<Lockout>(Id(), Action(), Client6());
}

} // namespace Event
