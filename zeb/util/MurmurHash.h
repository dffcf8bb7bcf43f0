#pragma once

// Util::MurmurHash: 32 bits of a short text, fast, for tables and filters whose keys no attacker chooses. It
// is a variant of MurmurHash3 for x86, which two things set apart, and which files of CuckooFilter depend on:
// blocks are read with the first byte highest, and the turn of a block by 15 bits is no whole one: (k >> 19)
// | (k << 15).
//
// Static; nothing allocates; any thread.

#include "zeb/core/Export.h"

#include <cstdint>

class CBuffer;

namespace Util {

class ZEB_PUBLIC MurmurHash {
public:
    static unsigned Digest(CBuffer const& data, unsigned seed);

    // The same of a number's four bytes, the lowest first.
    static unsigned Digest(uint32_t number, unsigned seed) {
        return Finish_(Block_(seed, __builtin_bswap32(number)), sizeof number);
    }

private:
    static constexpr uint32_t FACTOR_1 = 0xCC9E2D51, FACTOR_2 = 0x1B873593;

    static uint32_t Block_(uint32_t hash, uint32_t k) {
        k *= FACTOR_1;
        k = (k >> 19) | (k << 15);
        hash ^= k * FACTOR_2;
        return (hash << 13 | hash >> 19) * 5 + 0xE6546B64;
    }
    static uint32_t Finish_(uint32_t hash, unsigned long size) {
        hash ^= static_cast<uint32_t>(size);
        hash = (hash ^ hash >> 16) * 0x85EBCA6B;
        hash = (hash ^ hash >> 13) * 0xC2B2AE35;
        return hash ^ hash >> 16;
    }
};

} // namespace Util
