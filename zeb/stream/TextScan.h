#pragma once

// The length of a run of text: how far a line reader may go without looking closer. Text is code 9 and all
// codes from 32 to 254.

#include "zeb/core/Simd.h"

namespace Io {

constexpr bool IsLineText(unsigned char c) { return (c >= 32 && c != 255) || c == 9; }

// The positions of 16 bytes that are no text.
inline Simd::Set NoText(char const* text) {
    Simd::Block const bytes = Simd::Load(text);
    // As signed: 32 to 127, 128 to 254, 9.
    Simd::Block const good = Simd::SignedBelow(Simd::Splat(31), bytes) |
                             Simd::SignedBelow(bytes, Simd::Splat(-1)) | Simd::Equal(bytes, Simd::Splat(9));
    return Simd::Positions(good) ^ Simd::ALL;
}

inline unsigned long TextRun(char const* text, unsigned long size) {
    unsigned long n = 0;
    if constexpr (Simd::BITS == 1) {
        // Four blocks make one word of positions: one branch for a line of common length.
        for (; size - n >= 4 * Simd::COUNT; n += 4 * Simd::COUNT) {
            char const* const at = text + n;
            uint64_t const bad = NoText(at) | uint64_t{NoText(at + 16)} << 16 |
                                 uint64_t{NoText(at + 32)} << 32 | uint64_t{NoText(at + 48)} << 48;
            if (bad != 0) return n + static_cast<unsigned>(std::countr_zero(bad));
        }
    }
    for (; size - n >= Simd::COUNT; n += Simd::COUNT) {
        Simd::Set const bad = NoText(text + n);
        if (bad != 0) return n + Simd::First(bad);
    }
    while (n < size && IsLineText(static_cast<unsigned char>(text[n])))
        ++n;
    return n;
}

} // namespace Io
