#include "zeb/util/SHA1.h"

#include "zeb/util/LanesImpl.h"

namespace Util {

namespace {

constexpr unsigned ROUNDS = 80;
constexpr unsigned GROUPS = ROUNDS / LANES, GROUPS_AHEAD = 5;
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

LanesT Turned_(LanesT lanes, int count) { return lanes << count | lanes >> (32 - count); }

// Of the words of a block, and of those made out of them, four at a time.
struct Schedule_ {
    LanesT groups[GROUPS];
    ScheduledWords<ROUNDS> added; // with the constants of the rounds

    template<unsigned I>
    [[gnu::always_inline]] void Make(unsigned char const* block) {
        LanesT& group = groups[I];
        if constexpr (I < 4)
            group = LoadLanes(block + sizeof group * I);
        else if constexpr (I < 8)
            Mix<I>(group);
        else // the rule below, put into itself: no word depends on one of its group
            group = Turned_(__builtin_shufflevector(groups[I - 2], groups[I - 1], 2, 3, 4, 5) ^
                                (groups[I - 4] ^ groups[I - 7] ^ groups[I - 8]),
                            2);
        added.Set<I>(group + ADDED[I / 5]);
    }

    // A word is the turned XOR of those 3, 8, 14 and 16 ahead of it. What the last one of a group gets from
    // the first comes on top.
    template<unsigned I>
    [[gnu::always_inline]] void Mix(LanesT& group) {
        constexpr LanesT NONE = {};
        group = Turned_(__builtin_shufflevector(groups[I - 1], NONE, 1, 2, 3, 4) ^
                            (groups[I - 2] ^ groups[I - 4] ^
                             __builtin_shufflevector(groups[I - 4], groups[I - 3], 2, 3, 4, 5)),
                        1);
        group ^= __builtin_shufflevector(NONE, Turned_(group, 1), 0, 0, 0, 4);
    }
};

} // namespace

uint32_t const SHA1Rules::START[WORDS] = {0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476, 0xC3D2E1F0};

void SHA1Rules::Absorb(uint32_t (&state)[WORDS], unsigned char const* blocks, unsigned long count) {
    for (; count != 0; --count, blocks += 64) {
        Schedule_ schedule;
        Unrolled<GROUPS_AHEAD>([&](auto i) __attribute__((always_inline)) { schedule.Make<i>(blocks); });
        uint32_t s[WORDS] = {state[0], state[1], state[2], state[3], state[4]};
        Unrolled<ROUNDS>([&](auto step) __attribute__((always_inline)) {
            constexpr unsigned I = step, ROUND = I / 20, AHEAD = I / LANES + GROUPS_AHEAD;
            if constexpr (I % LANES == 0 && AHEAD < GROUPS) schedule.Make<AHEAD>(blocks);
            uint32_t const a = s[(80 - I) % 5];
            uint32_t &b = s[(81 - I) % 5], &e = s[(84 - I) % 5];
            e += schedule.added.Get<I>();
            e += Mix_<ROUND>(b, s[(82 - I) % 5], s[(83 - I) % 5]);
            e += std::rotl(a, 5); // a is the latest to be known
            b = std::rotl(b, 30);
        });
        for (unsigned i = 0; i < WORDS; ++i)
            state[i] += s[i];
    }
}

template class BlockDigest<SHA1Rules>;

} // namespace Util
