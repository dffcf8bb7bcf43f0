#include "zeb/util/MD4.h"

#include "zeb/util/BlockDigestImpl.h"

namespace Util {

namespace {

constexpr uint32_t ADDED[3] = {0, 0x5A827999, 0x6ED9EBA1}; // by round
constexpr unsigned char TURN[3][4] = {{3, 7, 11, 19}, {3, 5, 9, 13}, {3, 9, 11, 15}};
// The word of the block that a step adds.
constexpr unsigned char WORD[3][16] = {{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15},
                                       {0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15},
                                       {0, 8, 4, 12, 2, 10, 6, 14, 1, 9, 5, 13, 3, 11, 7, 15}};

template<unsigned ROUND>
uint32_t Mix_(uint32_t b, uint32_t c, uint32_t d) {
    if constexpr (ROUND == 0)
        return d ^ (b & (c ^ d));
    else if constexpr (ROUND == 1)
        return (c & d) + (b & (c ^ d)); // b is the latest to be known
    else
        return b ^ (c ^ d);
}

} // namespace

uint32_t const MD4Rules::START[WORDS] = {0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476};

void MD4Rules::Absorb(uint32_t (&state)[WORDS], unsigned char const* blocks, unsigned long count) {
    for (; count != 0; --count, blocks += 64) {
        uint32_t x[16];
        LoadWords<ORDER>(x, blocks);
        uint32_t s[4] = {state[0], state[1], state[2], state[3]};
        Unrolled<48>([&](auto step) __attribute__((always_inline)) {
            constexpr unsigned I = step, ROUND = I / 16;
            uint32_t& a = s[(48 - I) % 4];
            a += x[WORD[ROUND][I % 16]] + ADDED[ROUND];
            a += Mix_<ROUND>(s[(49 - I) % 4], s[(50 - I) % 4], s[(51 - I) % 4]);
            a = std::rotl(a, TURN[ROUND][I % 4]);
        });
        for (unsigned i = 0; i < 4; ++i)
            state[i] += s[i];
    }
}

template class BlockDigest<MD4Rules>;

} // namespace Util
