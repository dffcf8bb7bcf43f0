#pragma once

// The length of a run of text: how far a line reader may go without looking closer. Text is code 9 and all
// codes from 32 to 254.

#include "zeb/core/Simd.h"

namespace Io {

constexpr bool IsLineText(unsigned char c) { return (c >= 32 && c != 255) || c == 9; }

inline unsigned long TextRun(char const* text, unsigned long size) {
    Simd::Block const tab = Simd::Splat(9);
    Simd::Block const control = Simd::Splat(31);
    Simd::Block const last = Simd::Splat(-1);
    unsigned long n = 0;
    for (; size - n >= Simd::COUNT; n += Simd::COUNT) {
        Simd::Block const bytes = Simd::Load(text + n);
        // As signed: 32 to 127, 128 to 254, 9.
        Simd::Block const good =
            Simd::SignedBelow(control, bytes) | Simd::SignedBelow(bytes, last) | Simd::Equal(bytes, tab);
        Simd::Set const bad = Simd::Positions(good) ^ Simd::ALL;
        if (bad != 0) return n + Simd::First(bad);
    }
    while (n < size && IsLineText(static_cast<unsigned char>(text[n])))
        ++n;
    return n;
}

} // namespace Io
