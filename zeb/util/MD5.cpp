#include "zeb/util/MD5.h"

#include "zeb/util/BlockDigestImpl.h"

namespace Util {

namespace {

// The whole part of 2^32 times the absolute value of sin(i + 1).
constexpr uint32_t ADDED[64] = {
    0xD76AA478, 0xE8C7B756, 0x242070DB, 0xC1BDCEEE, 0xF57C0FAF, 0x4787C62A, 0xA8304613, 0xFD469501,
    0x698098D8, 0x8B44F7AF, 0xFFFF5BB1, 0x895CD7BE, 0x6B901122, 0xFD987193, 0xA679438E, 0x49B40821,
    0xF61E2562, 0xC040B340, 0x265E5A51, 0xE9B6C7AA, 0xD62F105D, 0x02441453, 0xD8A1E681, 0xE7D3FBC8,
    0x21E1CDE6, 0xC33707D6, 0xF4D50D87, 0x455A14ED, 0xA9E3E905, 0xFCEFA3F8, 0x676F02D9, 0x8D2A4C8A,
    0xFFFA3942, 0x8771F681, 0x6D9D6122, 0xFDE5380C, 0xA4BEEA44, 0x4BDECFA9, 0xF6BB4B60, 0xBEBFBC70,
    0x289B7EC6, 0xEAA127FA, 0xD4EF3085, 0x04881D05, 0xD9D4D039, 0xE6DB99E5, 0x1FA27CF8, 0xC4AC5665,
    0xF4292244, 0x432AFF97, 0xAB9423A7, 0xFC93A039, 0x655B59C3, 0x8F0CCC92, 0xFFEFF47D, 0x85845DD1,
    0x6FA87E4F, 0xFE2CE6E0, 0xA3014314, 0x4E0811A1, 0xF7537E82, 0xBD3AF235, 0x2AD7D2BB, 0xEB86D391,
};
constexpr unsigned char TURN[4][4] = {{7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}};
// Step i of a round adds the word FIRST + i * STRIDE, modulo 16, of the block.
constexpr unsigned FIRST[4] = {0, 1, 5, 0}, STRIDE[4] = {1, 5, 3, 7};

template<unsigned ROUND>
uint32_t Mix_(uint32_t b, uint32_t c, uint32_t d) {
    if constexpr (ROUND == 0)
        return d ^ (b & (c ^ d));
    else if constexpr (ROUND == 1)
        return (c & ~d) + (b & d); // b comes last: it is the latest to be known
    else if constexpr (ROUND == 2)
        return b ^ (c ^ d);
    else
        return c ^ (b | ~d);
}

} // namespace

uint32_t const MD5Rules::START[WORDS] = {0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476};

void MD5Rules::Absorb(uint32_t (&state)[WORDS], unsigned char const* blocks, unsigned long count) {
    for (; count != 0; --count, blocks += 64) {
        uint32_t x[16];
        LoadWords<ORDER>(x, blocks);
        uint32_t s[4] = {state[0], state[1], state[2], state[3]};
        Unrolled<64>([&](auto step) __attribute__((always_inline)) {
            constexpr unsigned I = step, ROUND = I / 16;
            uint32_t& a = s[(64 - I) % 4];
            uint32_t const b = s[(65 - I) % 4], c = s[(66 - I) % 4], d = s[(67 - I) % 4];
            a += x[(FIRST[ROUND] + I % 16 * STRIDE[ROUND]) % 16] + ADDED[I];
            a += Mix_<ROUND>(b, c, d);
            a = std::rotl(a, TURN[ROUND][I % 4]) + b;
        });
        for (unsigned i = 0; i < 4; ++i)
            state[i] += s[i];
    }
}

template class BlockDigest<MD5Rules>;

} // namespace Util
