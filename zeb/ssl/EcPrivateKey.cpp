#include "zeb/firmware/OwnedImpl.h"
#include "zeb/ssl/EcImpl.h"
#include "zeb/ssl/Error.h"
#include "zeb/ssl/ReportImpl.h"

#include <openssl/core_names.h>
#include <openssl/ec.h>
#include <openssl/pem.h>

#include <cstring>

namespace Ssl::Ec {

ReturnT PrivateKey::Generate() {
    Error const scope(SCOPE_, Log::VERBOSE_ON);
    KeyPtr key(EVP_PKEY_Q_keygen(nullptr, nullptr, "EC", GROUP_));
    if (!key) return Fail_(IDENT, "unable to generate a key");
    if (EVP_PKEY_set_utf8_string_param(key.Ptr(), OSSL_PKEY_PARAM_EC_POINT_CONVERSION_FORMAT, "compressed") !=
        1)
        return Fail_(IDENT, "unable to set a point format");
    key_.Swap(key);
    return Done_(IDENT);
}

ReturnT PrivateKey::Assign(PrivateKey const& other) { return Share_(IDENT, other.key_.Ptr(), key_); }

ReturnT PrivateKey::EncodeAsn1(Buffer& out) const {
    Error const scope(SCOPE_, Log::VERBOSE_ON);
    if (!key_) return Fail_(IDENT, NO_KEY_);
    // One pass: where memory ends, OpenSSL may give the second of two another form than the first.
    unsigned char* der = nullptr;
    int const size = i2d_PrivateKey(key_.Ptr(), &der);
    if (size <= 0) return Fail_(IDENT, "unable to encode a key");
    CryptoBuffer encoded;
    bool const copied = encoded.Assign(CBuffer(der, static_cast<unsigned long>(size)));
    OPENSSL_clear_free(der, static_cast<unsigned long>(size));
    if (!copied) return Oom_(IDENT, "unable to allocate a key");
    out.Swap(encoded);
    return Done_(IDENT);
}

ReturnT PrivateKey::DecodeAsn1(CBuffer const& data) {
    Error const scope(SCOPE_, Log::VERBOSE_ON);
    unsigned char const* at = data.Bytes();
    KeyPtr key;
    if (!data.Empty()) key.Reset(d2i_PrivateKey(EVP_PKEY_EC, nullptr, &at, static_cast<long>(data.Size())));
    if (!key) return Report_(NOT_DECODED, IDENT, SEQUENCE_);
    char group[sizeof GROUP_];
    if (EVP_PKEY_get_group_name(key.Ptr(), group, sizeof group, nullptr) != 1 || strcmp(group, GROUP_) != 0)
        return Report_(WRONG_CURVE, IDENT, "unable to decode an unsupported type EC");
    key_.Swap(key);
    return Done_(IDENT);
}

ReturnT PrivateKey::EncodePem(String& out) const {
    Error const scope(SCOPE_, Log::VERBOSE_ON);
    if (!key_) return Fail_(IDENT, NO_KEY_);
    Owned_<BIO> const stream(BIO_new(BIO_s_mem()));
    if (!stream) return Oom_(IDENT, "unable to create a PEM stream");
    if (BIO_set_close(stream.Ptr(), BIO_CLOSE) != 1) return Fail_(IDENT, "unable to set up a PEM stream");
    if (PEM_write_bio_PrivateKey(stream.Ptr(), key_.Ptr(), nullptr, nullptr, 0, nullptr, nullptr) != 1 ||
        BIO_flush(stream.Ptr()) != 1)
        return Fail_(IDENT, "unable to write a PEM key");
    char* text = nullptr;
    long const size = BIO_get_mem_data(stream.Ptr(), &text);
    if (size <= 0) return Fail_(IDENT, "unable to read a PEM key");
    if (!out.Assign(text, static_cast<unsigned long>(size)))
        return Oom_(IDENT, "unable to allocate a PEM key");
    return Done_(IDENT);
}

ReturnT PrivateKey::Sign(CBuffer const& data, Buffer& signature) const {
    Error const scope(SCOPE_, Log::VERBOSE_ON);
    if (!key_) return Fail_(IDENT, NO_KEY_);
    Owned_<EVP_MD_CTX> const context(EVP_MD_CTX_new());
    if (!context) return Oom_(IDENT, "unable to create a signature context");
    if (EVP_DigestSignInit(context.Ptr(), nullptr, EVP_sha256(), nullptr, key_.Ptr()) != 1)
        return Fail_(IDENT, "unable to initialize signing");
    int const room = EVP_PKEY_get_size(key_.Ptr());
    if (room <= 0) return Fail_(IDENT, "unable to get the size of a signature");
    auto size = static_cast<unsigned long>(room);
    Buffer made;
    if (!made.Resize(size)) return Oom_(IDENT, "unable to allocate a signature");
    if (EVP_DigestSign(context.Ptr(), made.Bytes(), &size, data.Bytes(), data.Size()) != 1)
        return Fail_(IDENT, "unable to sign");
    made.Truncate(size);
    signature.Swap(made);
    return Done_(IDENT);
}

ReturnT PrivateKey::GetPublicKey(PublicKey& out) const {
    Error const scope(SCOPE_, Log::VERBOSE_ON);
    Buffer point;
    if (ReturnT const code = EncodePoint_(IDENT, key_.Ptr(), point); code.Failed()) return code;
    return out.DecodeAsn1(point);
}

} // namespace Ssl::Ec
