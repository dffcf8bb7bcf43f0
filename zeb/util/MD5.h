#pragma once

// Util::MD5: MD5 (RFC 1321), 16 bytes, broken, for what still demands it. How to use it stands in
// BlockDigest.h.

#include "zeb/util/BlockDigest.h"

#include <bit>

namespace Util {

struct ZEB_PUBLIC MD5Rules {
    using WordT = uint32_t;
    static constexpr unsigned WORDS = 4;
    static constexpr unsigned LENGTH_SIZE = 8;
    static constexpr std::endian ORDER = std::endian::little;
    static WordT const START[WORDS];
    static void Absorb(WordT (&state)[WORDS], unsigned char const* blocks, unsigned long count);
};

extern template class BlockDigest<MD5Rules>;

class ZEB_PUBLIC MD5 : public BlockDigest<MD5Rules> {};

} // namespace Util
