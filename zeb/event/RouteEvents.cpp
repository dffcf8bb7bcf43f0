#include "zeb/event/RouteEvents.h"

namespace Event {

char const* Route::Ident() const { return "Event::Type::Route"; }
Base* Route::Clone_() const { return fields_.Clone<Route>(); }

char const* Route6::Ident() const { return "Event::Type::Route6"; }
Base* Route6::Clone_() const { return fields_.Clone<Route6>(); }

char const* RoutesUpdated::Ident() const { return "Event::Type::RoutesUpdated"; }
Base* RoutesUpdated::Clone_() const { return New_<RoutesUpdated>(fields_.At<1>(), fields_.At<0>()); }

char const* Policy::Ident() const { return "Event::Type::Policy"; }
Base* Policy::Clone_() const { return fields_.Clone<Policy>(); }

char const* Ip6PrefixesChanged::Ident() const { return "Event::Type::Ip6PrefixesChanged"; }
Base* Ip6PrefixesChanged::Clone_() const { return New_<Ip6PrefixesChanged>(); }

char const* Ip6SubnetsChanged::Ident() const { return "Event::Type::Ip6SubnetsChanged"; }
Base* Ip6SubnetsChanged::Clone_() const { return New_<Ip6SubnetsChanged>(); }

} // namespace Event
