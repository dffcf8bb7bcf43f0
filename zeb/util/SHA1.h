#pragma once

// Util::SHA1: SHA-1 (FIPS 180), 20 bytes, broken, for what still demands it. How to use it stands in
// BlockDigest.h.

#include "zeb/util/BlockDigest.h"

#include <bit>

namespace Util {

struct ZEB_PUBLIC SHA1Rules {
    using WordT = uint32_t;
    static constexpr unsigned WORDS = 5;
    static constexpr unsigned LENGTH_SIZE = 8;
    static constexpr std::endian ORDER = std::endian::big;
    static WordT const START[WORDS];
    static void Absorb(WordT (&state)[WORDS], unsigned char const* blocks, unsigned long count);
};

extern template class BlockDigest<SHA1Rules>;

class ZEB_PUBLIC SHA1 : public BlockDigest<SHA1Rules> {};

} // namespace Util
