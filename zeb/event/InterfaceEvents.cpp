#include "zeb/event/InterfaceEvents.h"

namespace Event {

char const* IfCreated::Ident() const { return IDENT; }
Base* IfCreated::Clone_() const { return fields_.Clone<IfCreated>(); }

char const* IfDestroyed::Ident() const { return IDENT; }
Base* IfDestroyed::Clone_() const { return fields_.Clone<IfDestroyed>(); }

char const* IfNameChanged::Ident() const { return IDENT; }
Base* IfNameChanged::Clone_() const { return fields_.Clone<IfNameChanged>(); }

char const* IfDomainChanged::Ident() const { return IDENT; }
Base* IfDomainChanged::Clone_() const { return fields_.Clone<IfDomainChanged>(); }

char const* IfGroup::Ident() const { return IDENT; }
Base* IfGroup::Clone_() const { return fields_.Clone<IfGroup>(); }

char const* IfRole::Ident() const { return IDENT; }
Base* IfRole::Clone_() const { return fields_.Clone<IfRole>(); }

char const* IfSchedule::Ident() const { return IDENT; }
Base* IfSchedule::Clone_() const { return fields_.Clone<IfSchedule>(); }

char const* IfSettingsChanged::Ident() const { return IDENT; }
Base* IfSettingsChanged::Clone_() const { return fields_.Clone<IfSettingsChanged>(); }

char const* IfDebug::Ident() const { return IDENT; }
Base* IfDebug::Clone_() const { return fields_.Clone<IfDebug>(); }

char const* IfAuth::Ident() const { return IDENT; }
Base* IfAuth::Clone_() const { return fields_.Clone<IfAuth>(); }

} // namespace Event
