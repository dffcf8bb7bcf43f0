#include "zeb/event/InterfaceLinkEvents.h"

namespace Event {

char const* IfLaggModeChanged::Ident() const { return "Event::Type::IfLaggModeChanged"; }
Base* IfLaggModeChanged::Clone_() const { return fields_.Clone<IfLaggModeChanged>(); }

char const* IfLayerChanged::Ident() const { return "Event::Type::IfLayerChanged"; }
Base* IfLayerChanged::Clone_() const { return fields_.Clone<IfLayerChanged>(); }

char const* IfLinkSpeedChanged::Ident() const { return "Event::Type::IfLinkSpeedChanged"; }
Base* IfLinkSpeedChanged::Clone_() const { return fields_.Clone<IfLinkSpeedChanged>(); }

char const* IfMtuChanged::Ident() const { return "Event::Type::IfMtuChanged"; }
Base* IfMtuChanged::Clone_() const { return fields_.Clone<IfMtuChanged>(); }

char const* IfPeerIsolationChanged::Ident() const { return "Event::Type::IfPeerIsolationChanged"; }
Base* IfPeerIsolationChanged::Clone_() const { return fields_.Clone<IfPeerIsolationChanged>(); }

} // namespace Event
