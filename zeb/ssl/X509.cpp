#include "zeb/ssl/X509.h"

#include "zeb/firmware/OwnedImpl.h"
#include "zeb/ssl/Error.h"
#include "zeb/ssl/ReportImpl.h"

#include <openssl/pem.h>

#include <climits>

namespace Ssl {

namespace {

using Certificate_ = AutoPtr<x509_st, X509::X509Deleter>;

// The first object of a text, or null. One that is encrypted is none: nobody is asked for a password, as
// OpenSSL would on a terminal.
template<class T>
T* Read_(CString const& pem, T* (*read)(BIO*, T**, pem_password_cb*, void*)) {
    if (pem.Size() > INT_MAX) return nullptr;
    Owned_<BIO> const stream(BIO_new_mem_buf(pem.Cstr(), static_cast<int>(pem.Size())));
    char noPassword[] = "";
    return stream ? read(stream.Ptr(), nullptr, nullptr, noPassword) : nullptr;
}

ReturnT ReadCertificate_(char const* ident, CString const& pem, Certificate_& out) {
    out.Reset(Read_(pem, PEM_read_bio_X509));
    return out ? ReturnT::Done() : Oom_(ident, "unable to read a certificate");
}

ReturnT VerifyKey_(char const* ident, x509_st* issuer, x509_st* certificate) {
    EVP_PKEY* const key = X509_get0_pubkey(issuer);
    if (key == nullptr) return Fail_(ident, "unable to get a public key of an issuer");
    if (X509_verify(certificate, key) != 1) return Fail_(ident, "unable to verify a certificate signature");
    return Done_(ident);
}

ReturnT VerifyStore_(char const* ident, x509_st* ca, x509_st* certificate) {
    Owned_<X509_STORE> const store(X509_STORE_new());
    if (!store) return Oom_(ident, "unable to create a certificate store");
    if (X509_STORE_add_cert(store.Ptr(), ca) != 1) return Fail_(ident, "unable to store a certificate");
    Owned_<X509_STORE_CTX> const context(X509_STORE_CTX_new());
    if (!context) return Oom_(ident, "unable to create a certificate store context");
    if (X509_STORE_CTX_init(context.Ptr(), store.Ptr(), certificate, nullptr) != 1)
        return Fail_(ident, "unable to initialize a certificate store context");
    if (X509_verify_cert(context.Ptr()) == 1) return Done_(ident);
    int const error = X509_STORE_CTX_get_error(context.Ptr());
    return (StatusLog(ReturnT::Fail(), Log::CRITICAL, ident, nullptr, "%1")
            << X509_verify_cert_error_string(error))
        .SetFail();
}

} // namespace

void X509::Free_(x509_st* certificate) { X509_free(certificate); }

ReturnT X509::MatchPublicKey(char const* ident, CString const& requestPem, CString const& certificatePem,
                             bool& match) {
    Error const scope(ident, Log::VERBOSE_ON);
    Owned_<X509_REQ> const request(Read_(requestPem, PEM_read_bio_X509_REQ));
    if (!request) return Oom_(ident, "unable to read a certificate request");
    Certificate_ certificate;
    if (ReturnT const code = ReadCertificate_(ident, certificatePem, certificate); code.Failed()) return code;
    EVP_PKEY* const requested = X509_REQ_get0_pubkey(request.Ptr());
    EVP_PKEY* const certified = X509_get0_pubkey(certificate.Ptr());
    if (requested == nullptr || certified == nullptr) return Oom_(ident, "unable to read a public key");
    int const equal = EVP_PKEY_eq(requested, certified);
    if (equal == -2) return Fail_(ident, "unable to compare public keys");
    match = equal == 1;
    return Done_(ident);
}

ReturnT X509::VerifySignature(char const* ident, CString const& issuerPem, CString const& certificatePem) {
    Error const scope(ident, Log::VERBOSE_ON);
    Certificate_ issuer, certificate;
    if (ReturnT const code = ReadCertificate_(ident, issuerPem, issuer); code.Failed()) return code;
    if (ReturnT const code = ReadCertificate_(ident, certificatePem, certificate); code.Failed()) return code;
    return VerifyKey_(ident, issuer.Ptr(), certificate.Ptr());
}

ReturnT X509::VerifyChain(char const* ident, CString const& caPem, CString const& certificatePem) {
    Error const scope(ident, Log::VERBOSE_ON);
    Certificate_ certificate;
    if (ReturnT const code = ReadCertificate_(ident, certificatePem, certificate); code.Failed()) return code;
    return VerifyChain(ident, caPem, certificate);
}

ReturnT X509::VerifyChain(char const* ident, CString const& caPem,
                          AutoPtr<x509_st, X509Deleter>& certificate) {
    Error const scope(ident, Log::VERBOSE_ON);
    if (!certificate) return Fail_(ident, "no certificate");
    Certificate_ ca;
    if (ReturnT const code = ReadCertificate_(ident, caPem, ca); code.Failed()) return code;
    if (ReturnT const code = VerifyKey_(ident, ca.Ptr(), certificate.Ptr()); code.Failed()) return code;
    return VerifyStore_(ident, ca.Ptr(), certificate.Ptr());
}

} // namespace Ssl
