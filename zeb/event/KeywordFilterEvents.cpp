#include "zeb/event/KeywordFilterEvents.h"

namespace Event {

char const* HostKeywordFilter::Ident() const { return IDENT; }
Base* HostKeywordFilter::Clone_() const { return fields_.Clone<HostKeywordFilter>(); }

char const* IfaceKeywordFilter::Ident() const { return IDENT; }
Base* IfaceKeywordFilter::Clone_() const { return fields_.Clone<IfaceKeywordFilter>(); }

char const* ProfileKeywordFilter::Ident() const { return IDENT; }
Base* ProfileKeywordFilter::Clone_() const { return fields_.Clone<ProfileKeywordFilter>(); }

} // namespace Event
