#include "libzeb/zeb_crcImpl.h"

#if defined(__x86_64__)

#include <immintrin.h>

// By carry-less multiplication: four lanes of 16 bytes are folded over 64 bytes, then into one, and the rest
// is done by the tables. The constants are powers of x modulo the polynomial, in the reflected order of bits.

namespace {

constexpr uint64_t BY_512_LOW = 0x154442BD4, BY_512_HIGH = 0x1C6E41596; // over 64 bytes
constexpr uint64_t BY_128_LOW = 0x1751997D0, BY_128_HIGH = 0xCCAA009E;  // over 16 bytes
constexpr size_t LANE = 16, LANES = 4;

__attribute__((target("pclmul,sse4.1"))) __m128i Load(unsigned char const* at) {
    return _mm_loadu_si128(static_cast<__m128i const*>(static_cast<void const*>(at)));
}

__attribute__((target("pclmul,sse4.1"))) __m128i Fold(__m128i lane, __m128i by, __m128i next) {
    __m128i const low = _mm_clmulepi64_si128(lane, by, 0x00), high = _mm_clmulepi64_si128(lane, by, 0x11);
    return _mm_xor_si128(_mm_xor_si128(low, high), next);
}

__attribute__((target("pclmul,sse4.1"))) uint32_t ByMultiplication(uint32_t crc, unsigned char const* data,
                                                                   size_t size) {
    if (size < 2 * LANES * LANE) return zeb_crc32_tables_(crc, data, size);
    __m128i const by512 = _mm_set_epi64x(BY_512_HIGH, BY_512_LOW),
                  by128 = _mm_set_epi64x(BY_128_HIGH, BY_128_LOW);
    __m128i lanes[LANES];
    for (size_t i = 0; i < LANES; ++i, data += LANE)
        lanes[i] = Load(data);
    lanes[0] = _mm_xor_si128(lanes[0], _mm_cvtsi32_si128(static_cast<int>(crc)));
    for (size -= LANES * LANE; size >= LANES * LANE; size -= LANES * LANE)
        for (size_t i = 0; i < LANES; ++i, data += LANE)
            lanes[i] = Fold(lanes[i], by512, Load(data));
    __m128i all = lanes[0];
    for (size_t i = 1; i < LANES; ++i)
        all = Fold(all, by128, lanes[i]);
    unsigned char rest[LANE]; // has the check of all that was folded into it
    _mm_storeu_si128(static_cast<__m128i*>(static_cast<void*>(rest)), all);
    return zeb_crc32_tables_(zeb_crc32_tables_(0, rest, LANE), data, size);
}

} // namespace

zeb_crc32_fast_t_ zeb_crc32_fast_() {
    bool const has = __builtin_cpu_supports("pclmul") && __builtin_cpu_supports("sse4.1");
    return has ? ByMultiplication : nullptr;
}

#elif !defined(__aarch64__)

zeb_crc32_fast_t_ zeb_crc32_fast_() { return nullptr; }

#endif
