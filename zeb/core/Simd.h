#pragma once

// Sixteen bytes at a time, for scans of text: SSE2 on x86-64, NEON on 64-bit ARM, and a plain form for all
// else. The plain form is also taken with -DZEB_SIMD_PLAIN, so that tests can run it on every machine.
//
// A Set is a mask of byte positions. First() gives the lowest position in one that is not empty.
// Loads need no alignment and read exactly 16 bytes: the caller knows that they are there.

#include <bit>
#include <cstdint>
#include <cstring>

#if !defined(ZEB_SIMD_PLAIN) && defined(__SSE2__)
#define ZEB_SIMD_SSE2 1
#include <emmintrin.h>
#elif !defined(ZEB_SIMD_PLAIN) && defined(__aarch64__) && defined(__ARM_NEON)
#define ZEB_SIMD_NEON 1
#include <arm_neon.h>
#endif

namespace Simd {

// Everything stands in the namespace of its form, so that a program may hold more than one.
#if defined(ZEB_SIMD_SSE2)
inline namespace Sse2 {
#elif defined(ZEB_SIMD_NEON)
inline namespace Neon {
#else
inline namespace Plain {
#endif

inline constexpr unsigned COUNT = 16;

#if defined(ZEB_SIMD_SSE2)

struct Block {
    __m128i v;
};

inline Block Load(void const* from) { return {_mm_loadu_si128(static_cast<__m128i const*>(from))}; }
inline Block Pair(uint64_t low, uint64_t high) {
    return {_mm_set_epi64x(static_cast<long long>(high), static_cast<long long>(low))};
}
inline void Store(void* to, Block block) { _mm_storeu_si128(static_cast<__m128i*>(to), block.v); }
inline Block Splat(char c) { return {_mm_set1_epi8(c)}; }
inline Block Equal(Block a, Block b) { return {_mm_cmpeq_epi8(a.v, b.v)}; }
// Bytes compared as signed: with a limit from 1 to 127 this takes the bytes from 128 up as well.
inline Block SignedBelow(Block a, Block limit) { return {_mm_cmplt_epi8(a.v, limit.v)}; }
// Bytes compared as unsigned.
inline Block AtMost(Block a, Block limit) { return {_mm_cmpeq_epi8(_mm_min_epu8(a.v, limit.v), a.v)}; }
inline Block operator|(Block a, Block b) { return {_mm_or_si128(a.v, b.v)}; }

// One bit for each byte.
using Set = uint32_t;
inline constexpr unsigned BITS = 1;

// Of the result of a comparison.
inline Set Positions(Block compared) { return static_cast<Set>(_mm_movemask_epi8(compared.v)); }
inline constexpr Set ALL = 0xFFFF;

#elif defined(ZEB_SIMD_NEON)

struct Block {
    uint8x16_t v;
};

inline Block Load(void const* from) { return {vld1q_u8(static_cast<uint8_t const*>(from))}; }
inline Block Pair(uint64_t low, uint64_t high) { return {vcombine_u8(vcreate_u8(low), vcreate_u8(high))}; }
inline void Store(void* to, Block block) { vst1q_u8(static_cast<uint8_t*>(to), block.v); }
inline Block Splat(char c) { return {vdupq_n_u8(static_cast<uint8_t>(c))}; }
inline Block Equal(Block a, Block b) { return {vceqq_u8(a.v, b.v)}; }
inline Block SignedBelow(Block a, Block limit) {
    return {vcltq_s8(vreinterpretq_s8_u8(a.v), vreinterpretq_s8_u8(limit.v))};
}
inline Block AtMost(Block a, Block limit) { return {vcleq_u8(a.v, limit.v)}; }
inline Block operator|(Block a, Block b) { return {vorrq_u8(a.v, b.v)}; }

// Four bits for each byte: narrowing is the cheapest way to a mask here.
using Set = uint64_t;
inline constexpr unsigned BITS = 4;

inline Set Positions(Block compared) {
    return vget_lane_u64(vreinterpret_u64_u8(vshrn_n_u16(vreinterpretq_u16_u8(compared.v), 4)), 0);
}
inline constexpr Set ALL = ~Set{0};

#else

struct Block {
    uint8_t v[COUNT];
};

inline Block Load(void const* from) {
    Block block;
    memcpy(block.v, from, COUNT);
    return block;
}
inline Block Pair(uint64_t low, uint64_t high) {
    uint64_t const words[] = {low, high};
    return Load(words);
}
inline void Store(void* to, Block block) { memcpy(to, block.v, COUNT); }
inline Block Splat(char c) {
    Block block;
    memset(block.v, static_cast<unsigned char>(c), COUNT);
    return block;
}
inline Block Equal(Block a, Block b) {
    for (unsigned i = 0; i < COUNT; ++i)
        a.v[i] = a.v[i] == b.v[i] ? 0xFF : 0;
    return a;
}
inline Block SignedBelow(Block a, Block limit) {
    for (unsigned i = 0; i < COUNT; ++i)
        a.v[i] = static_cast<int8_t>(a.v[i]) < static_cast<int8_t>(limit.v[i]) ? 0xFF : 0;
    return a;
}
inline Block AtMost(Block a, Block limit) {
    for (unsigned i = 0; i < COUNT; ++i)
        a.v[i] = a.v[i] <= limit.v[i] ? 0xFF : 0;
    return a;
}
inline Block operator|(Block a, Block b) {
    for (unsigned i = 0; i < COUNT; ++i)
        a.v[i] |= b.v[i];
    return a;
}

using Set = uint32_t;
inline constexpr unsigned BITS = 1;

inline Set Positions(Block compared) {
    Set set = 0;
    for (unsigned i = 0; i < COUNT; ++i)
        set |= static_cast<Set>(compared.v[i] & 1U) << i;
    return set;
}
inline constexpr Set ALL = 0xFFFF;

#endif

// The lowest position of a set that is not empty.
inline unsigned First(Set set) { return static_cast<unsigned>(std::countr_zero(set)) / BITS; }

// The positions 0 to count - 1; count is at most 15.
inline Set Below(unsigned count) { return (Set{1} << (count * BITS)) - 1; }

// The bytes of a text of 1 to 15 bytes, each at least once, in no order: for "is any of them ...?".
inline Block Gather(char const* text, unsigned long size) {
    if (size >= 8) {
        uint64_t words[2];
        memcpy(&words[0], text, 8);
        memcpy(&words[1], text + size - 8, 8);
        return Pair(words[0], words[1]);
    }
    if (size >= 4) {
        uint32_t halves[2];
        memcpy(&halves[0], text, 4);
        memcpy(&halves[1], text + size - 4, 4);
        uint64_t const word = halves[0] | uint64_t{halves[1]} << 32;
        return Pair(word, word);
    }
    auto const at = [text](unsigned long i) { return uint64_t{static_cast<unsigned char>(text[i])}; };
    uint64_t const word = (at(0) | at(size / 2) << 8 | at(size - 1) << 16 | at(0) << 24) * 0x100000001U;
    return Pair(word, word);
}

} // namespace
} // namespace Simd
