#pragma once

// Util::Whirlpool: Whirlpool (ISO/IEC 10118-3), 64 bytes. How to use it stands in BlockDigest.h.

#include "zeb/util/BlockDigest.h"

#include <bit>

namespace Util {

struct ZEB_PUBLIC WhirlpoolRules {
    using WordT = uint64_t;
    static constexpr unsigned WORDS = 8;
    static constexpr unsigned LENGTH_SIZE = 32;
    static constexpr std::endian ORDER = std::endian::big;
    static WordT const START[WORDS];
    static void Absorb(WordT (&state)[WORDS], unsigned char const* blocks, unsigned long count);
};

extern template class BlockDigest<WhirlpoolRules>;

class ZEB_PUBLIC Whirlpool : public BlockDigest<WhirlpoolRules> {};

} // namespace Util
