#include "zeb/util/SHA1.h"

#include "zeb/util/BlockDigestImpl.h"

namespace Util {

namespace {

constexpr uint32_t ADDED[4] = {0x5A827999, 0x6ED9EBA1, 0x8F1BBCDC, 0xCA62C1D6}; // by round

template<unsigned ROUND>
uint32_t Mix_(uint32_t b, uint32_t c, uint32_t d) {
    if constexpr (ROUND == 0)
        return d ^ (b & (c ^ d));
    else if constexpr (ROUND == 2)
        return (b & c) + (d & (b ^ c));
    else
        return b ^ c ^ d;
}

} // namespace

uint32_t const SHA1Rules::START[WORDS] = {0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476, 0xC3D2E1F0};

void SHA1Rules::Absorb(uint32_t (&state)[WORDS], unsigned char const* blocks, unsigned long count) {
    for (; count != 0; --count, blocks += 64) {
        uint32_t w[16]; // the last 16 words of the schedule
        LoadWords<ORDER>(w, blocks);
        uint32_t s[WORDS] = {state[0], state[1], state[2], state[3], state[4]};
        Unrolled<80>([&](auto step) __attribute__((always_inline)) {
            constexpr unsigned I = step, ROUND = I / 20;
            uint32_t const a = s[(80 - I) % 5];
            uint32_t &b = s[(81 - I) % 5], &e = s[(84 - I) % 5];
            uint32_t& word = w[I % 16];
            if constexpr (I >= 16)
                word = std::rotl(w[(I + 13) % 16] ^ w[(I + 8) % 16] ^ w[(I + 2) % 16] ^ word, 1);
            e += word + ADDED[ROUND] + Mix_<ROUND>(b, s[(82 - I) % 5], s[(83 - I) % 5]);
            e += std::rotl(a, 5); // a is the latest to be known
            b = std::rotl(b, 30);
        });
        for (unsigned i = 0; i < WORDS; ++i)
            state[i] += s[i];
    }
}

template class BlockDigest<SHA1Rules>;

} // namespace Util
