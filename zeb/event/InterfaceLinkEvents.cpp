#include "zeb/event/InterfaceLinkEvents.h"

namespace Event {

char const* IfLaggModeChanged::Ident() const { return IDENT; }
Base* IfLaggModeChanged::Clone_() const { return fields_.Clone<IfLaggModeChanged>(); }

char const* IfLayerChanged::Ident() const { return IDENT; }
Base* IfLayerChanged::Clone_() const { return fields_.Clone<IfLayerChanged>(); }

char const* IfLinkSpeedChanged::Ident() const { return IDENT; }
Base* IfLinkSpeedChanged::Clone_() const { return fields_.Clone<IfLinkSpeedChanged>(); }

char const* IfMtuChanged::Ident() const { return IDENT; }
Base* IfMtuChanged::Clone_() const { return fields_.Clone<IfMtuChanged>(); }

char const* IfPeerIsolationChanged::Ident() const { return IDENT; }
Base* IfPeerIsolationChanged::Clone_() const { return fields_.Clone<IfPeerIsolationChanged>(); }

} // namespace Event
