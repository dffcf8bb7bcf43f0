#include "zeb/ssl/Params.h"

#include <openssl/params.h>

namespace Ssl::Params {

Array::Array() { params_[0] = OSSL_PARAM_construct_end(); }

bool Array::Add_(CString const& key, unsigned type, void const* data, unsigned long size) {
    valid_ = valid_ && count_ < CAPACITY && data != nullptr && !key.Empty();
    if (!valid_) return false;
    params_[count_] = {key.Cstr(), type, const_cast<void*>(data), size, OSSL_PARAM_UNMODIFIED};
    params_[++count_] = OSSL_PARAM_construct_end();
    return true;
}

bool Array::AddU32(CString const& key, unsigned const* value) {
    return Add_(key, OSSL_PARAM_UNSIGNED_INTEGER, value, sizeof *value);
}

bool Array::AddU64(CString const& key, unsigned long const* value) {
    return Add_(key, OSSL_PARAM_UNSIGNED_INTEGER, value, sizeof *value);
}

bool Array::AddBuf(CString const& key, CBuffer const& value) {
    return Add_(key, OSSL_PARAM_OCTET_STRING, value.Empty() ? "" : value.Ptr(), value.Size());
}

bool Array::AddStr(CString const& key, CString const& value) {
    return Add_(key, OSSL_PARAM_UTF8_STRING, value.Cstr(), value.Size() + 1);
}

} // namespace Ssl::Params
