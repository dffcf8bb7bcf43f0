#include "zeb/event/InterfaceAddressEvents.h"

namespace Event {

char const* IfIp4Changed::Ident() const { return IDENT; }
Base* IfIp4Changed::Clone_() const { return fields_.Clone<IfIp4Changed>(); }

char const* IfIp6Changed::Ident() const { return IDENT; }
Base* IfIp6Changed::Clone_() const { return fields_.Clone<IfIp6Changed>(); }

char const* IfIp6SystemChanged::Ident() const { return IDENT; }
Base* IfIp6SystemChanged::Clone_() const { return fields_.Clone<IfIp6SystemChanged>(); }

char const* IfGlobalChanged::Ident() const { return IDENT; }
Base* IfGlobalChanged::Clone_() const { return fields_.Clone<IfGlobalChanged>(); }

char const* IfPrivateChanged::Ident() const { return IDENT; }
Base* IfPrivateChanged::Clone_() const { return fields_.Clone<IfPrivateChanged>(); }

char const* IfMacChanged::Ident() const { return IDENT; }
Base* IfMacChanged::Clone_() const { return fields_.Clone<IfMacChanged>(); }

} // namespace Event
