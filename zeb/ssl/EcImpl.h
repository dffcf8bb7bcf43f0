#pragma once

// What the two kinds of keys share.

#include "zeb/ssl/Ec.h"

struct evp_pkey_st;

namespace Ssl::Ec {

constexpr char SCOPE_[] = "Ssl::Ec";
constexpr char GROUP_[] = "prime256v1";
constexpr char NO_KEY_[] = "no key";
constexpr char SEQUENCE_[] = "unable to decode an ASN.1 sequence";

// Shares `from`, which may be null.
ReturnT Share_(char const* ident, evp_pkey_st* from, KeyPtr& to);

// The point of the public part.
ReturnT EncodePoint_(char const* ident, evp_pkey_st const* key, Buffer& out);

} // namespace Ssl::Ec
