#pragma once

// The bytes that stand for themselves in a JSON string: all but those below 0x20, the quote and the
// backslash. Internal to the library.

#include "zeb/core/Simd.h"

namespace Json {

constexpr bool IsPlain(unsigned char c) { return c >= 0x20 && c != '"' && c != '\\'; }

inline Simd::Set FindSpecials(Simd::Block block) {
    return Simd::Positions(Simd::Equal(block, Simd::Splat('"')) | Simd::Equal(block, Simd::Splat('\\')) |
                           Simd::AtMost(block, Simd::Splat(0x1F)));
}

// The first byte that is not plain, or the end.
inline unsigned char const* FindSpecial(unsigned char const* at, unsigned char const* end) {
    for (; static_cast<unsigned long>(end - at) >= Simd::COUNT; at += Simd::COUNT) {
        Simd::Set const specials = FindSpecials(Simd::Load(at));
        if (specials != 0) return at + Simd::First(specials);
    }
    while (at != end && IsPlain(*at))
        ++at;
    return at;
}

} // namespace Json
