#include "zeb/firmware/OwnedImpl.h"
#include "zeb/ssl/EcImpl.h"
#include "zeb/ssl/Error.h"
#include "zeb/ssl/Params.h"
#include "zeb/ssl/ReportImpl.h"

#include <openssl/core_names.h>

#include <utility>

namespace Ssl::Ec {

namespace {

// A key that has the curve and nothing else.
ReturnT MakeGroup_(KeyPtr& out) {
    Owned_<EVP_PKEY_CTX> const context(EVP_PKEY_CTX_new_from_name(nullptr, "EC", nullptr));
    if (!context) return Oom_(PublicKey::IDENT, "unable to create a key context");
    Params::Array params;
    params.AddStr(OSSL_PKEY_PARAM_GROUP_NAME, GROUP_);
    if (EVP_PKEY_fromdata_init(context.Ptr()) != 1)
        return Fail_(PublicKey::IDENT, "unable to initialize a key context");
    EVP_PKEY* key = nullptr;
    auto* const list = const_cast<OSSL_PARAM*>(params.Ptr());
    int const made = EVP_PKEY_fromdata(context.Ptr(), &key, EVP_PKEY_KEY_PARAMETERS, list);
    out.Reset(key);
    if (made != 1) return Fail_(PublicKey::IDENT, "unable to create a key of a group");
    return ReturnT::Done();
}

} // namespace

void KeyDeleter<evp_pkey_st>::Free(evp_pkey_st* key) { EVP_PKEY_free(key); }

ReturnT Share_(char const* ident, evp_pkey_st* from, KeyPtr& to) {
    Error const scope(SCOPE_, Log::VERBOSE_ON);
    if (from != nullptr && EVP_PKEY_up_ref(from) != 1) return Fail_(ident, "unable to share a key");
    KeyPtr(from).Swap(to); // one reference more, also of a key that was here before
    return Done_(ident);
}

ReturnT EncodePoint_(char const* ident, evp_pkey_st const* key, Buffer& out) {
    if (key == nullptr) return Fail_(ident, NO_KEY_);
    unsigned long size = 0;
    if (EVP_PKEY_get_octet_string_param(key, OSSL_PKEY_PARAM_PUB_KEY, nullptr, 0, &size) != 1)
        return Fail_(ident, "unable to get the size of a public key");
    Buffer point;
    if (!point.Resize(size)) return Oom_(ident, "unable to allocate a public key");
    if (EVP_PKEY_get_octet_string_param(key, OSSL_PKEY_PARAM_PUB_KEY, point.Bytes(), size, &size) != 1)
        return Fail_(ident, "unable to get a public key");
    point.Truncate(size);
    out.Swap(point);
    return Done_(ident);
}

ReturnT PublicKey::Assign(PublicKey const& other) { return Share_(IDENT, other.key_.Ptr(), key_); }

ReturnT PublicKey::EncodeAsn1(Buffer& out) const {
    Error const scope(SCOPE_, Log::VERBOSE_ON);
    return EncodePoint_(IDENT, key_.Ptr(), out);
}

ReturnT PublicKey::DecodeAsn1(CBuffer const& data) {
    Error const scope(SCOPE_, Log::VERBOSE_ON);
    KeyPtr made;
    if (ReturnT const code = MakeGroup_(made); code.Failed()) return code;
    unsigned char const* at = data.Bytes();
    EVP_PKEY* key = made.Ptr(); // stays the same object: the form that frees it is not used
    if (data.Empty() || d2i_PublicKey(EVP_PKEY_EC, &key, &at, static_cast<long>(data.Size())) == nullptr)
        return Fail_(IDENT, SEQUENCE_);
    key_.Swap(made);
    return Done_(IDENT);
}

ReturnT PublicKey::Verify(CBuffer const& data, CBuffer const& signature) const {
    Error const scope(SCOPE_, Log::VERBOSE_ON);
    if (!key_) return Fail_(IDENT, NO_KEY_);
    Owned_<EVP_MD_CTX> const context(EVP_MD_CTX_new());
    if (!context) return Oom_(IDENT, "unable to create a signature context");
    if (EVP_DigestVerifyInit(context.Ptr(), nullptr, EVP_sha256(), nullptr, key_.Ptr()) != 1)
        return Report_(NO_VERIFICATION, IDENT, "unable to initialize signature verification");
    if (EVP_DigestVerify(context.Ptr(), signature.Bytes(), signature.Size(), data.Bytes(), data.Size()) != 1)
        return Report_(WRONG_SIGNATURE, IDENT, "wrong signature");
    return Done_(IDENT);
}

} // namespace Ssl::Ec
