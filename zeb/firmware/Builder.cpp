#include "libzeb/zeb_string.h"
#include "zeb/firmware/ErrorImpl.h"
#include "zeb/firmware/SignatureImpl.h"

#include <openssl/x509v3.h>

#include <climits>
#include <cstdlib>
#include <new>

namespace {

enum KindT : int { LEAF = 0, AUTHORITY = 1 };

bool IsRevocable_(uint32_t firmwareId) {
    for (uint32_t const* id = CRT_REVOKE_LISTS[0].firmwareIds; *id != 0; ++id)
        if (*id == firmwareId) return true;
    return false;
}

constexpr char LEAF_WORDS[] = "code signing";

bool GetSerial_(zeb_fw_error* error, X509* certificate, char const* kind, ASN1_INTEGER const*& serial) {
    serial = X509_get0_serialNumber(certificate);
    return serial != nullptr ||
           zeb_fw_error_openssl_(error, 614, "unable to get a serial of %s certificate", kind);
}

bool CheckSerial_(zeb_fw_error* error, X509* certificate, char const* kind) {
    ASN1_INTEGER const* serial;
    if (!GetSerial_(error, certificate, kind, serial)) return false;
    int const length = ASN1_STRING_length(serial);
    bool const isNegative = ASN1_STRING_type(serial) == V_ASN1_NEG_INTEGER;
    bool const isZero = length == 1 && ASN1_STRING_get0_data(serial)[0] == 0;
    if (!isNegative && !isZero && length >= 1 && length <= static_cast<int>(zeb_fw_revocations_::SERIAL_SIZE))
        return true;
    return zeb_fw_error_(error, 615, "%s certificate has an invalid serial (length: %i, negative: %s)", kind,
                         length, isNegative ? "yes" : "no");
}

bool CheckRevocation_(zeb_fw_error* error, X509* certificate, int kind, uint32_t firmwareId) {
    if (!CheckSerial_(error, certificate, kind == AUTHORITY ? "intermediate" : LEAF_WORDS)) return false;
    if (IsRevocable_(firmwareId)) return true;
    return zeb_fw_error_(error, 636, "no certificate revocation list found for 0x%08x firmware ID",
                         firmwareId);
}

bool Sort_(zeb_fw_error* error, Owned_<X509>& certificate, int kind, zeb_fw_builder_& builder) {
    if (kind == AUTHORITY) {
        if (sk_X509_push(builder.untrusted.Ptr(), certificate.Ptr()) <= 0)
            return zeb_fw_error_openssl_(error, 633, "unable to store an untrusted certificate");
        certificate.Release();
        return true;
    }
    if (builder.leaf)
        return zeb_fw_error_(error, 635,
                             "multiple code signing certificates found in a builder certificate stream");
    builder.leaf.Swap(certificate);
    return true;
}

// The texts of OpenSSL have a release of their own.
bool DescribeNames_(zeb_fw_error* error, X509* certificate, zeb_fw_crt_info& info) {
    info.version = X509_get_version(certificate);
    info.issuer = X509_NAME_oneline(X509_get_issuer_name(certificate), nullptr, 0);
    if (info.issuer == nullptr)
        return zeb_fw_error_openssl_(error, 606, "unable to get a builder certificate issuer");
    info.subject = X509_NAME_oneline(X509_get_subject_name(certificate), nullptr, 0);
    return info.subject != nullptr ||
           zeb_fw_error_openssl_(error, 607, "unable to get a builder certificate subject");
}

bool DescribeKey_(zeb_fw_error* error, X509* certificate, zeb_fw_crt_info& info) {
    EVP_PKEY const* const key = X509_get0_pubkey(certificate);
    if (key == nullptr)
        return zeb_fw_error_openssl_(error, 608, "unable to get a builder certificate public key");
    char const* const name = OBJ_nid2sn(EVP_PKEY_get_base_id(key));
    if (name == nullptr)
        return zeb_fw_error_openssl_(
            error, 609, "unable ot get a signature algorithm of a builder certificate public key");
    info.keyAlgorithm = zeb_string_dup(name);
    return info.keyAlgorithm != nullptr ||
           zeb_fw_error_sys_(error, 610, "unable to allocate a public key algorithm name");
}

bool DescribeDigits_(zeb_fw_error* error, X509* certificate, zeb_fw_crt_info& info) {
    constexpr char DIGEST[] = "sha256";
    EVP_MD const* const type = EVP_get_digestbyname(DIGEST);
    if (type == nullptr) return zeb_fw_error_openssl_(error, 611, "no \"%s\" digest found", DIGEST);
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned size = 0;
    if (X509_digest(certificate, type, digest, &size) != 1)
        return zeb_fw_error_openssl_(error, 612, "unable to get a builder certificate fingerprint");
    info.fingerprint = zeb_fw_alloc_hex_string_(digest, size);
    if (info.fingerprint == nullptr)
        return zeb_fw_error_sys_(error, 613, "unable to allocate a builder certificate fingerprint");
    ASN1_INTEGER const* serial;
    if (!GetSerial_(error, certificate, LEAF_WORDS, serial)) return false;
    info.serial = zeb_fw_alloc_hex_string_(ASN1_STRING_get0_data(serial),
                                           static_cast<size_t>(ASN1_STRING_length(serial)));
    return info.serial != nullptr ||
           zeb_fw_error_sys_(error, 617, "unable to allocate a builder certificate serial");
}

template<class T>
struct UsageDeleter_;
template<>
struct UsageDeleter_<ASN1_BIT_STRING> {
    static void Free(ASN1_BIT_STRING* usage) { ASN1_BIT_STRING_free(usage); }
};
template<>
struct UsageDeleter_<EXTENDED_KEY_USAGE> {
    static void Free(EXTENDED_KEY_USAGE* usage) { EXTENDED_KEY_USAGE_free(usage); }
};

bool ListsCodeSigning_(EXTENDED_KEY_USAGE const* usage) {
    for (int i = 0; i < sk_ASN1_OBJECT_num(usage); ++i)
        if (OBJ_obj2nid(sk_ASN1_OBJECT_value(usage, i)) == NID_code_sign) return true;
    return false;
}

} // namespace

bool zeb_fw_sort_builder_(zeb_fw_error* error, zeb_fw_value_ const& pem, uint32_t const* revocable,
                          zeb_fw_builder_& builder) {
    Owned_<BIO> stream;
    if (pem.size <= INT_MAX) stream.Reset(BIO_new_mem_buf(pem.data, static_cast<int>(pem.size)));
    if (!stream) return zeb_fw_error_openssl_(error, 925, "unable to create a builder certificate stream");
    builder.untrusted.Reset(sk_X509_new_null());
    if (!builder.untrusted)
        return zeb_fw_error_openssl_(error, 631, "unable to allocate a list of untrusted certificates");
    while (Owned_<X509> certificate{zeb_fw_read_certificate_(stream.Ptr())}) {
        int const kind = X509_check_ca(certificate.Ptr());
        if (kind != LEAF && kind != AUTHORITY)
            return zeb_fw_error_(error, 634,
                                 "certificate with unsupported format in a builder certificate stream");
        if (revocable != nullptr && !CheckRevocation_(error, certificate.Ptr(), kind, *revocable))
            return false;
        if (!Sort_(error, certificate, kind, builder)) return false;
    }
    if (!zeb_fw_is_pem_end_(stream.Ptr()))
        return zeb_fw_error_openssl_(error, 632, "unable to read a builder certificate chain from a stream");
    return bool(builder.leaf) || zeb_fw_error_(error, 627, "no builder certificate found in a stream");
}

bool zeb_fw_verify_builder_(zeb_fw_error* error, X509_STORE* store, zeb_fw_builder_ const& builder) {
    Owned_<X509_STORE_CTX> const context(X509_STORE_CTX_new());
    if (!context) return zeb_fw_error_openssl_(error, 602, "unable to create a builder certificate store");
    if (X509_STORE_CTX_init(context.Ptr(), store, builder.leaf.Ptr(), builder.untrusted.Ptr()) != 1)
        return zeb_fw_error_openssl_(error, 603, "unable to initialize a builder certificate store context");
    bool const verified = X509_verify_cert(context.Ptr()) == 1;
    int const reason = X509_STORE_CTX_get_error(context.Ptr());
    if (verified && reason == X509_V_OK) return true;
    return zeb_fw_error_openssl_(error, 604, "a builder certificate is invalid (error %i at depth %i; %s)",
                                 reason, X509_STORE_CTX_get_error_depth(context.Ptr()),
                                 X509_verify_cert_error_string(reason));
}

bool zeb_fw_describe_(zeb_fw_error* error, X509* certificate, zeb_fw_crt_info** info) {
    *info = static_cast<zeb_fw_crt_info*>(calloc(1, sizeof **info));
    if (*info == nullptr)
        return zeb_fw_error_sys_(error, 605, "unable to allocate a builder certificate information block");
    if (DescribeNames_(error, certificate, **info) && DescribeKey_(error, certificate, **info) &&
        DescribeDigits_(error, certificate, **info))
        return true;
    zeb_fw_free_crt_info(info);
    return false;
}

void zeb_fw_free_crt_info(zeb_fw_crt_info** info) {
    if (info == nullptr || *info == nullptr) return;
    OPENSSL_free((*info)->issuer);
    OPENSSL_free((*info)->subject);
    free((*info)->serial);
    free((*info)->keyAlgorithm);
    free((*info)->fingerprint);
    free(*info);
    *info = nullptr;
}

bool zeb_fw_check_usage_(zeb_fw_error* error, X509* certificate) {
    constexpr unsigned char DIGITAL_SIGNATURE = 0x80;
    AutoPtr<ASN1_BIT_STRING, UsageDeleter_> const usage(
        static_cast<ASN1_BIT_STRING*>(X509_get_ext_d2i(certificate, NID_key_usage, nullptr, nullptr)));
    if (!usage)
        return zeb_fw_error_openssl_(error, 619,
                                     "unable to get a key usage extension from a builder certificate");
    bool const isEmpty = ASN1_STRING_length(usage.Ptr()) < 1;
    if (isEmpty || (ASN1_STRING_get0_data(usage.Ptr())[0] & DIGITAL_SIGNATURE) == 0)
        return zeb_fw_error_(error, 620,
                             "a builder certificate is not intended to use for a digital signature");
    AutoPtr<EXTENDED_KEY_USAGE, UsageDeleter_> const extended(
        static_cast<EXTENDED_KEY_USAGE*>(X509_get_ext_d2i(certificate, NID_ext_key_usage, nullptr, nullptr)));
    if (!extended)
        return zeb_fw_error_openssl_(
            error, 621, "unable to get an extended key usage extension of a builder certificate");
    if (ListsCodeSigning_(extended.Ptr())) return true;
    return zeb_fw_error_(error, 622, "a builder certificate is not intended to use for code signing");
}
