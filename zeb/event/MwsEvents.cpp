#include "zeb/event/MwsEvents.h"

#include "zeb/doc/xml/Document.h"
#include "zeb/event/Words.h"

namespace Event {

char const* MwsAcquire::Ident() const { return IDENT; }
Base* MwsAcquire::Clone_() const { return fields_.Clone<MwsAcquire>(); }

char const* MwsController::Ident() const { return IDENT; }
Base* MwsController::Clone_() const { return fields_.Clone<MwsController>(); }

char const* MwsLock::Ident() const { return IDENT; }
Base* MwsLock::Clone_() const { return fields_.Clone<MwsLock>(); }

char const* MwsMember::Ident() const { return IDENT; }
Base* MwsMember::Clone_() const { return fields_.Clone<MwsMember>(); }

bool MwsMember::PrintXmlBody_(Xml::Node& event) const {
    static constexpr char const* ACTIONS[] = {"new", "update", "delete"};
    static constexpr char const* STATES[] = {"online", "offline", "errors"};
    event.AppendElement("action", Word_(Action(), ACTIONS));
    event.AppendElement("state", Word_(State(), STATES));
    event.AppendElement("mac", Network::MacAddress::Str(Mac()));
    event.AppendElement("cid", Cid());
    return event.Doc()->Valid();
}

char const* MwsMemberUpdateDone::Ident() const { return IDENT; }
Base* MwsMemberUpdateDone::Clone_() const { return fields_.Clone<MwsMemberUpdateDone>(); }

char const* MwsWlan::Ident() const { return IDENT; }
Base* MwsWlan::Clone_() const { return New_<MwsWlan>(); }

} // namespace Event
