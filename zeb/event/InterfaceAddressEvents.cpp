#include "zeb/event/InterfaceAddressEvents.h"

namespace Event {

char const* IfIp4Changed::Ident() const { return "Event::Type::IfIp4Changed"; }
Base* IfIp4Changed::Clone_() const { return fields_.Clone<IfIp4Changed>(); }

char const* IfIp6Changed::Ident() const { return "Event::Type::IfIp6Changed"; }
Base* IfIp6Changed::Clone_() const { return fields_.Clone<IfIp6Changed>(); }

char const* IfIp6SystemChanged::Ident() const { return "Event::Type::IfIp6SystemChanged"; }
Base* IfIp6SystemChanged::Clone_() const { return fields_.Clone<IfIp6SystemChanged>(); }

char const* IfGlobalChanged::Ident() const { return "Event::Type::IfGlobalChanged"; }
Base* IfGlobalChanged::Clone_() const { return fields_.Clone<IfGlobalChanged>(); }

char const* IfPrivateChanged::Ident() const { return "Event::Type::IfPrivateChanged"; }
Base* IfPrivateChanged::Clone_() const { return fields_.Clone<IfPrivateChanged>(); }

char const* IfMacChanged::Ident() const { return "Event::Type::IfMacChanged"; }
Base* IfMacChanged::Clone_() const { return fields_.Clone<IfMacChanged>(); }

} // namespace Event
