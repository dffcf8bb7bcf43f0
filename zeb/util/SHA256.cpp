#include "zeb/util/SHA256.h"

#include "zeb/util/LanesImpl.h"

namespace Util {

namespace {

constexpr unsigned ROUNDS = 64;
constexpr unsigned GROUPS = ROUNDS / LANES, GROUPS_AHEAD = 4;

// Of the cube roots of the first 64 primes, the first 32 bits behind the point.
constexpr uint32_t ADDED[64] = {
    0x428A2F98, 0x71374491, 0xB5C0FBCF, 0xE9B5DBA5, 0x3956C25B, 0x59F111F1, 0x923F82A4, 0xAB1C5ED5,
    0xD807AA98, 0x12835B01, 0x243185BE, 0x550C7DC3, 0x72BE5D74, 0x80DEB1FE, 0x9BDC06A7, 0xC19BF174,
    0xE49B69C1, 0xEFBE4786, 0x0FC19DC6, 0x240CA1CC, 0x2DE92C6F, 0x4A7484AA, 0x5CB0A9DC, 0x76F988DA,
    0x983E5152, 0xA831C66D, 0xB00327C8, 0xBF597FC7, 0xC6E00BF3, 0xD5A79147, 0x06CA6351, 0x14292967,
    0x27B70A85, 0x2E1B2138, 0x4D2C6DFC, 0x53380D13, 0x650A7354, 0x766A0ABB, 0x81C2C92E, 0x92722C85,
    0xA2BFE8A1, 0xA81A664B, 0xC24B8B70, 0xC76C51A3, 0xD192E819, 0xD6990624, 0xF40E3585, 0x106AA070,
    0x19A4C116, 0x1E376C08, 0x2748774C, 0x34B0BCB5, 0x391C0CB3, 0x4ED8AA4A, 0x5B9CCA4F, 0x682E6FF3,
    0x748F82EE, 0x78A5636F, 0x84C87814, 0x8CC70208, 0x90BEFFFA, 0xA4506CEB, 0xBEF9A3F7, 0xC67178F2,
};

// The XOR of three turns, by the distances between them.
uint32_t Turned_(uint32_t x, int first, int second, int third) {
    return std::rotr(x ^ std::rotr(x ^ std::rotr(x, third - second), second - first), first);
}
// Turned by 7 and by 18, and shifted by 3.
LanesT Low_(LanesT words) {
    LanesT const right = words >> 3, left = words << 14;
    return right ^ right >> 4 ^ right >> 15 ^ left ^ left << 11;
}

// Of words that stand twice in a pair: turned by 17 and by 19, and shifted by 10. What counts is the lower
// half of a pair, which gets from the upper one what the turns push out of it.
LanesT High_(LanesT pairs) {
    auto const wide = reinterpret_cast<PairsT>(pairs);
    return reinterpret_cast<LanesT>(wide >> 17 ^ wide >> 19) ^ pairs >> 10;
}

// Of the words of a block, and of those made out of them, four at a time.
struct Schedule_ {
    LanesT groups[GROUPS];
    ScheduledWords<ROUNDS> added; // with the constants of the rounds

    template<unsigned I>
    [[gnu::always_inline]] void Make(unsigned char const* block) {
        LanesT& group = groups[I];
        if constexpr (I < 4)
            group = LoadLanes(block + sizeof group * I);
        else
            Mix<I>(group);
        LanesT constants;
        memcpy(&constants, ADDED + LANES * I, sizeof constants);
        added.Set<I>(group + constants);
    }

    // A word is made of those 16, 15, 7 and 2 ahead of it: the upper two need the lower two.
    template<unsigned I>
    [[gnu::always_inline]] void Mix(LanesT& group) {
        constexpr LanesT NONE = {};
        constexpr int LOW = std::endian::native == std::endian::little ? 0 : 1; // the lower half of a pair
        LanesT const& last = groups[I - 1];
        group = groups[I - 4] + __builtin_shufflevector(groups[I - 2], last, 1, 2, 3, 4) +
                Low_(__builtin_shufflevector(groups[I - 4], groups[I - 3], 1, 2, 3, 4));
        LanesT high = High_(__builtin_shufflevector(last, last, 2, 2, 3, 3));
        group += __builtin_shufflevector(high, NONE, LOW, LOW + 2, 4, 4);
        high = High_(__builtin_shufflevector(group, group, 0, 0, 1, 1));
        group += __builtin_shufflevector(NONE, high, 0, 0, LOW + 4, LOW + 6);
    }
};

} // namespace

uint32_t const SHA256Rules::START[WORDS] = {0x6A09E667, 0xBB67AE85, 0x3C6EF372, 0xA54FF53A,
                                            0x510E527F, 0x9B05688C, 0x1F83D9AB, 0x5BE0CD19};

void SHA256Rules::Absorb(uint32_t (&state)[WORDS], unsigned char const* blocks, unsigned long count) {
    for (; count != 0; --count, blocks += 64) {
        Schedule_ schedule;
        Unrolled<GROUPS_AHEAD>([&](auto i) __attribute__((always_inline)) { schedule.Make<i>(blocks); });
        uint32_t s[WORDS];
        memcpy(s, state, sizeof s);
        uint32_t differs = s[1] ^ s[2]; // b and c
        Unrolled<ROUNDS>([&](auto step) __attribute__((always_inline)) {
            constexpr unsigned I = step, AHEAD = I / LANES + GROUPS_AHEAD;
            if constexpr (I % LANES == 0 && AHEAD < GROUPS) schedule.Make<AHEAD>(blocks);
            uint32_t const a = s[(64 - I) % 8], b = s[(65 - I) % 8];
            uint32_t const e = s[(68 - I) % 8], f = s[(69 - I) % 8], g = s[(70 - I) % 8];
            uint32_t &d = s[(67 - I) % 8], &h = s[(71 - I) % 8];
            h += schedule.added.Get<I>();
            h += g ^ (e & (f ^ g));
            h += Turned_(e, 6, 11, 25);
            d += h;
            uint32_t const next = a ^ b;
            h += b ^ (next & differs); // what two of a, b and c say
            h += Turned_(a, 2, 13, 22);
            differs = next;
        });
        for (unsigned i = 0; i < WORDS; ++i)
            state[i] += s[i];
    }
}

template class BlockDigest<SHA256Rules>;

} // namespace Util
