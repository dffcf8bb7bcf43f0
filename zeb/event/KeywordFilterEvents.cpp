#include "zeb/event/KeywordFilterEvents.h"

namespace Event {

char const* HostKeywordFilter::Ident() const { return "Event::Type::HostKeywordFilter"; }
Base* HostKeywordFilter::Clone_() const { return fields_.Clone<HostKeywordFilter>(); }

char const* IfaceKeywordFilter::Ident() const { return "Event::Type::IfaceKeywordFilter"; }
Base* IfaceKeywordFilter::Clone_() const { return fields_.Clone<IfaceKeywordFilter>(); }

char const* ProfileKeywordFilter::Ident() const { return "Event::Type::ProfileKeywordFilter"; }
Base* ProfileKeywordFilter::Clone_() const { return fields_.Clone<ProfileKeywordFilter>(); }

} // namespace Event
