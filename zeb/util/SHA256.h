#pragma once

// Util::SHA256: SHA-256 (FIPS 180), 32 bytes. How to use it stands in BlockDigest.h.

#include "zeb/util/BlockDigest.h"

#include <bit>

namespace Util {

struct ZEB_PUBLIC SHA256Rules {
    using WordT = uint32_t;
    static constexpr unsigned WORDS = 8;
    static constexpr unsigned LENGTH_SIZE = 8;
    static constexpr std::endian ORDER = std::endian::big;
    static WordT const START[WORDS];
    static void Absorb(WordT (&state)[WORDS], unsigned char const* blocks, unsigned long count);
};

extern template class BlockDigest<SHA256Rules>;

class ZEB_PUBLIC SHA256 : public BlockDigest<SHA256Rules> {};

} // namespace Util
