#include "zeb/event/InterfaceEvents.h"

namespace Event {

char const* IfCreated::Ident() const { return "Event::Type::IfCreated"; }
Base* IfCreated::Clone_() const { return fields_.Clone<IfCreated>(); }

char const* IfDestroyed::Ident() const { return "Event::Type::IfDestroyed"; }
Base* IfDestroyed::Clone_() const { return fields_.Clone<IfDestroyed>(); }

char const* IfNameChanged::Ident() const { return "Event::Type::IfNameChanged"; }
Base* IfNameChanged::Clone_() const { return fields_.Clone<IfNameChanged>(); }

char const* IfDomainChanged::Ident() const { return "Event::Type::IfDomainChanged"; }
Base* IfDomainChanged::Clone_() const { return fields_.Clone<IfDomainChanged>(); }

char const* IfGroup::Ident() const { return "Event::Type::IfGroup"; }
Base* IfGroup::Clone_() const { return fields_.Clone<IfGroup>(); }

char const* IfRole::Ident() const { return "Event::Type::IfRole"; }
Base* IfRole::Clone_() const { return fields_.Clone<IfRole>(); }

char const* IfSchedule::Ident() const { return IDENT; }
Base* IfSchedule::Clone_() const { return fields_.Clone<IfSchedule>(); }

char const* IfSettingsChanged::Ident() const { return "Event::Type::IfSettingsChanged"; }
Base* IfSettingsChanged::Clone_() const { return fields_.Clone<IfSettingsChanged>(); }

char const* IfDebug::Ident() const { return "Event::Type::IfDebug"; }
Base* IfDebug::Clone_() const { return fields_.Clone<IfDebug>(); }

char const* IfAuth::Ident() const { return IDENT; }
Base* IfAuth::Clone_() const { return fields_.Clone<IfAuth>(); }

} // namespace Event
