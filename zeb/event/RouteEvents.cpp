#include "zeb/event/RouteEvents.h"

namespace Event {

char const* Route::Ident() const { return IDENT; }
Base* Route::Clone_() const { return fields_.Clone<Route>(); }

char const* Route6::Ident() const { return IDENT; }
Base* Route6::Clone_() const { return fields_.Clone<Route6>(); }

char const* RoutesUpdated::Ident() const { return IDENT; }
Base* RoutesUpdated::Clone_() const { return New_<RoutesUpdated>(fields_.At<1>(), fields_.At<0>()); }

char const* Policy::Ident() const { return IDENT; }
Base* Policy::Clone_() const { return fields_.Clone<Policy>(); }

char const* Ip6PrefixesChanged::Ident() const { return IDENT; }
Base* Ip6PrefixesChanged::Clone_() const { return New_<Ip6PrefixesChanged>(); }

char const* Ip6SubnetsChanged::Ident() const { return IDENT; }
Base* Ip6SubnetsChanged::Clone_() const { return New_<Ip6SubnetsChanged>(); }

} // namespace Event
