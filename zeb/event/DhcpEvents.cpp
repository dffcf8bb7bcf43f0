#include "zeb/event/DhcpEvents.h"

namespace Event {

char const* DhcpLease::Ident() const { return "Event::Type::DhcpLease"; }
Base* DhcpLease::Clone_() const { return fields_.Clone<DhcpLease>(); }

char const* DhcpOption::Ident() const { return "Event::Type::DhcpOption"; }
Base* DhcpOption::Clone_() const { return fields_.Clone<DhcpOption>(); }

char const* DhcpPool::Ident() const { return "Event::Type::DhcpPool"; }
Base* DhcpPool::Clone_() const { return fields_.Clone<DhcpPool>(); }

} // namespace Event
