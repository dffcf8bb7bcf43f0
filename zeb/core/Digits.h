#pragma once

// The one place where integers are printed as digits and digits are read as integers. Integer,
// StringAccumulator, the streams, the documents and the log stand on these. Nothing here allocates, fails
// otherwise than by its result, or writes a terminator.

#include "zeb/core/Export.h"

#include <cstdint>

namespace Digits {

// Most characters that the routines write: 20 decimal, or 16 hexadecimal digits, and a sign.
inline constexpr unsigned long MAX_SIZE = 21;

enum CaseT : int { LOWER, UPPER };

// The two hexadecimal digits of each byte, one pair behind the other.
struct HexPairsT {
    char text[512];

    constexpr explicit HexPairsT(char const* digits)
        : text() {
        for (int i = 0; i < 256; ++i) {
            text[2 * i] = digits[i >> 4];
            text[2 * i + 1] = digits[i & 15];
        }
    }
};

// By CaseT.
inline constexpr HexPairsT HEX_PAIRS[] = {HexPairsT("0123456789abcdef"), HexPairsT("0123456789ABCDEF")};

// Each writes at `out`, which has room, and returns the end of what it wrote.
ZEB_PUBLIC char* PrintDecimal(char* out, uint64_t value);
ZEB_PUBLIC char* PrintHex(char* out, uint64_t value, CaseT letters = LOWER);

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
ZEB_PUBLIC bool ParseDecimal(char const* begin, char const* end, uint64_t& value);
ZEB_PUBLIC bool ParseHex(char const* begin, char const* end, uint64_t& value);

} // namespace Digits
