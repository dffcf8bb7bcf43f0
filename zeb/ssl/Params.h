#pragma once

// Ssl::Params::Array: a list of named values as OpenSSL takes them, on the stack:
//
//   Ssl::Params::Array params;
//   params.AddStr("group", "prime256v1");
//   if (EVP_PKEY_fromdata(context, &key, EVP_PKEY_KEY_PARAMETERS, params.Ptr()) != 1) ...
//
// Owns       nothing: names and values must live as long as the list is used
// Failure    an Add() that finds no room, or no value, makes the list invalid: Ptr() is null from then on,
// and further
//            Add() do nothing. So only the last result needs a look

#include "zeb/core/CBuffer.h"
#include "zeb/core/CString.h"

#include <openssl/core.h>

namespace Ssl::Params {

class ZEB_PUBLIC Array {
public:
    static constexpr unsigned long CAPACITY = 8;

    Array();
    Array(Array const&) = delete;
    Array& operator=(Array const&) = delete;

    bool AddU32(CString const& key, unsigned const* value);
    bool AddU64(CString const& key, unsigned long const* value);
    bool AddBuf(CString const& key, CBuffer const& value);

    // The size that OpenSSL sees counts the terminator.
    bool AddStr(CString const& key, CString const& value);

    OSSL_PARAM const* Ptr() const { return valid_ ? params_ : nullptr; }

private:
    bool Add_(CString const& key, unsigned type, void const* data, unsigned long size);

    unsigned long count_ = 0;
    bool valid_ = true;
    OSSL_PARAM params_[CAPACITY + 1];
};

} // namespace Ssl::Params
