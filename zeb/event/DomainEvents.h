#pragma once

// Names of the device and what belongs to them: domains, name servers, certificates.

#include "zeb/core/String.h"
#include "zeb/event/Fields.h"

namespace Event {

// The list of name servers has changed.
class ZEB_PUBLIC DnsListUpdated : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::DnsListUpdated";

    char const* Ident() const override;

private:
    Base* Clone_() const override;
};

// The domain of the device has changed.
class ZEB_PUBLIC Domain : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::Domain";

    explicit Domain(CString const& name) { SetInitialized_(fields_.Assign(name)); }

    char const* Ident() const override;

    String const& Name() const { return fields_.At<0>(); }

private:
    Base* Clone_() const override;

    Fields<String> fields_;
};

// The realm of the device in HTTP authentication has changed.
class ZEB_PUBLIC Realm : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::Realm";

    explicit Realm(CString const& value) { SetInitialized_(fields_.Assign(value)); }

    char const* Ident() const override;

    String const& Value() const { return fields_.At<0>(); }

private:
    Base* Clone_() const override;

    Fields<String> fields_;
};

// The certificate of a domain has been obtained or renewed.
class ZEB_PUBLIC SslCertificate : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::SslCertificate";

    enum DomainTypeT : uint32_t { SERVICE = 0, CUSTOM = 1 };

    SslCertificate(CString const& domainName, DomainTypeT domainType) {
        SetInitialized_(fields_.Assign(domainName, domainType));
    }

    char const* Ident() const override;

    String const& DomainName() const { return fields_.At<0>(); }
    DomainTypeT DomainType() const { return fields_.At<1>(); }

private:
    Base* Clone_() const override;

    Fields<String, DomainTypeT> fields_;
};

// The alias that stands for a domain name of the device, with the certificate authority that serves it.
class ZEB_PUBLIC TokenAlias : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::TokenAlias";

    TokenAlias(CString const& alias, CString const& domain, CString const& fqdn, CString const& acmeDirectory,
               CString const& acmeDivider) {
        SetInitialized_(fields_.Assign(alias, domain, fqdn, acmeDirectory, acmeDivider));
    }

    char const* Ident() const override;

    String const& Alias() const { return fields_.At<0>(); }
    String const& Domain() const { return fields_.At<1>(); }
    String const& Fqdn() const { return fields_.At<2>(); }
    String const& AcmeDirectory() const { return fields_.At<3>(); }
    String const& AcmeDivider() const { return fields_.At<4>(); }

private:
    Base* Clone_() const override;

    Fields<String, String, String, String, String> fields_;
};

} // namespace Event
