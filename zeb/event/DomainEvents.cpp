#include "zeb/event/DomainEvents.h"

namespace Event {

char const* DnsListUpdated::Ident() const { return "Event::Type::DnsListUpdated"; }
Base* DnsListUpdated::Clone_() const { return New_<DnsListUpdated>(); }

char const* Domain::Ident() const { return "Event::Type::Domain"; }
Base* Domain::Clone_() const { return fields_.Clone<Domain>(); }

char const* Realm::Ident() const { return "Event::Type::Realm"; }
Base* Realm::Clone_() const { return fields_.Clone<Realm>(); }

char const* SslCertificate::Ident() const { return "Event::Type::SslCertificate"; }
Base* SslCertificate::Clone_() const { return fields_.Clone<SslCertificate>(); }

char const* TokenAlias::Ident() const { return "Event::Type::TokenAlias"; }
Base* TokenAlias::Clone_() const { return fields_.Clone<TokenAlias>(); }

} // namespace Event
