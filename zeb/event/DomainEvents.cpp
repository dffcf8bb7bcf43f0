#include "zeb/event/DomainEvents.h"

namespace Event {

char const* DnsListUpdated::Ident() const { return IDENT; }
Base* DnsListUpdated::Clone_() const { return New_<DnsListUpdated>(); }

char const* Domain::Ident() const { return IDENT; }
Base* Domain::Clone_() const { return fields_.Clone<Domain>(); }

char const* Realm::Ident() const { return IDENT; }
Base* Realm::Clone_() const { return fields_.Clone<Realm>(); }

char const* SslCertificate::Ident() const { return IDENT; }
Base* SslCertificate::Clone_() const { return fields_.Clone<SslCertificate>(); }

char const* TokenAlias::Ident() const { return IDENT; }
Base* TokenAlias::Clone_() const { return fields_.Clone<TokenAlias>(); }

} // namespace Event
