#include "zeb/util/SipHash.h"

#include "zeb/core/CBuffer.h"
#include "zeb/util/BlockDigestImpl.h"

namespace Util {

namespace {

constexpr char const FIXED_KEY[SipHash::KEY_SIZE + 1] = "Sip-fixed-key-16";

uint64_t Word_(void const* from, unsigned long size = sizeof(uint64_t)) {
    uint64_t word = 0;
    memcpy(&word, from, size);
    return InOrder<std::endian::little>(word);
}

struct State_ {
    uint64_t v0, v1, v2, v3;

    State_(uint64_t k0, uint64_t k1)
        : v0(k0 ^ 0x736F6D6570736575) // "somepseudorandomlygeneratedbytes"
        , v1(k1 ^ 0x646F72616E646F6D)
        , v2(k0 ^ 0x6C7967656E657261)
        , v3(k1 ^ 0x7465646279746573) {}

    template<unsigned ROUNDS>
    void Mix() {
        Unrolled<ROUNDS>([this](auto) __attribute__((always_inline)) {
            v0 += v1;
            v2 += v3;
            v1 = std::rotl(v1, 13) ^ v0;
            v3 = std::rotl(v3, 16) ^ v2;
            v0 = std::rotl(v0, 32) + v3;
            v2 += v1;
            v3 = std::rotl(v3, 21) ^ v0;
            v1 = std::rotl(v1, 17) ^ v2;
            v2 = std::rotl(v2, 32);
        });
    }

    template<unsigned ROUNDS>
    void Absorb(uint64_t word) {
        v3 ^= word;
        Mix<ROUNDS>();
        v0 ^= word;
    }
};

template<unsigned WORD_ROUNDS, unsigned END_ROUNDS>
uint64_t Digest_(char const* key, CBuffer const& data) {
    unsigned char const* at = data.Bytes();
    unsigned long const size = data.Size(), rest = size % 8;
    State_ state(Word_(key), Word_(key + 8));
    for (unsigned long left = size / 8; left != 0; --left, at += 8)
        state.Absorb<WORD_ROUNDS>(Word_(at));
    state.Absorb<WORD_ROUNDS>(uint64_t{size} << 56 | (rest != 0 ? Word_(at, rest) : 0));
    state.v2 ^= 0xFF;
    state.Mix<END_ROUNDS>();
    return state.v0 ^ state.v1 ^ state.v2 ^ state.v3;
}

} // namespace

unsigned long SipHash::Digest4u8(char const* key, CBuffer const& data) { return Digest_<4, 8>(key, data); }
unsigned long SipHash::Digest2u4(CBuffer const& data) { return Digest_<2, 4>(FIXED_KEY, data); }

} // namespace Util
