#pragma once

// The one place where integers are printed as digits and digits are read as integers. Integer,
// StringAccumulator, the streams, the documents and the log stand on these. Nothing here allocates, fails
// otherwise than by its result, or writes a terminator.

#include "zeb/core/Export.h"

#include <bit>
#include <cstdint>

namespace Digits {

// Most characters that the routines write: 20 decimal, or 16 hexadecimal digits, and a sign.
inline constexpr unsigned long MAX_SIZE = 21;

enum CaseT : int { LOWER, UPPER };

// Each writes at `out`, which has room, and returns the end of what it wrote.
ZEB_PUBLIC char* PrintDecimal(char* out, uint64_t value);
inline char* PrintHex(char* out, uint64_t value, CaseT letters = LOWER) {
    char const* const digits = letters == LOWER ? "0123456789abcdef" : "0123456789ABCDEF";
    char* const end = out + (std::bit_width(value | 1) + 3) / 4;
    char* p = end;
    for (; value >= 0x100; value >>= 8) {
        *--p = digits[value & 0xF];
        *--p = digits[value >> 4 & 0xF];
    }
    *--p = digits[value & 0xF];
    if (value >= 0x10) *--p = digits[value >> 4];
    return end;
}

inline char* PrintSigned(char* out, int64_t value) {
    if (value >= 0) return PrintDecimal(out, static_cast<uint64_t>(value));
    *out = '-';
    return PrintDecimal(out + 1, 0 - static_cast<uint64_t>(value));
}

// Any integer type, in decimal.
template<class T>
char* Print(char* out, T value) {
    if constexpr (T(-1) < T(0))
        return PrintSigned(out, value);
    else
        return PrintDecimal(out, static_cast<uint64_t>(value));
}

// The whole range must be digits and the number must fit into 64 bits; leading zeros are free, a sign, a
// blank or "0x" is not taken. An empty range is no number. On false `value` stays as it was.
[[nodiscard]] ZEB_PUBLIC bool ParseDecimal(char const* begin, char const* end, uint64_t& value);
[[nodiscard]] ZEB_PUBLIC bool ParseHex(char const* begin, char const* end, uint64_t& value);

} // namespace Digits
