#include "zeb/event/DhcpEvents.h"

namespace Event {

char const* DhcpLease::Ident() const { return IDENT; }
Base* DhcpLease::Clone_() const { return fields_.Clone<DhcpLease>(); }

char const* DhcpOption::Ident() const { return IDENT; }
Base* DhcpOption::Clone_() const { return fields_.Clone<DhcpOption>(); }

char const* DhcpPool::Ident() const { return IDENT; }
Base* DhcpPool::Clone_() const { return fields_.Clone<DhcpPool>(); }

} // namespace Event
