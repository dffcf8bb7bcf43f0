#pragma once

// Decimal fractions: the double next to a quotient, and six digits of a double. Both are the quick ways of
// the common cases and exact: they say so when they cannot tell, and then std::from_chars and std::to_chars
// do the work. Internal to the library.
//
// A power of ten has 64 bits here, cut off, so a product of 128 bits with it is too small by less than 2^64.
// What is wanted is a rounded part of its high word. The true high word is thus this one or the next, and
// only a rest that is one half, or the next below, leaves open how to round.

#include <bit>
#include <cstdint>

namespace Json {

__extension__ typedef unsigned __int128 Wide_;

struct PowersOfTen_ {
    static constexpr unsigned COUNT = 20; // 10^19 is the last below 2^64

    uint64_t power[COUNT];
    // 2^(63 + width) / power, cut off; it lies in [2^63, 2^64).
    uint64_t reciprocal[COUNT];
    int width[COUNT]; // of the power, in bits

    constexpr PowersOfTen_()
        : power()
        , reciprocal()
        , width() {
        uint64_t value = 1;
        for (unsigned i = 0; i < COUNT; ++i, value *= 10) {
            power[i] = value;
            width[i] = static_cast<int>(std::bit_width(value));
            reciprocal[i] = static_cast<uint64_t>((Wide_{1} << (63 + width[i])) / value);
        }
    }
};

inline constexpr PowersOfTen_ POWERS_OF_TEN;

// Whether the dropped bits of a high word, of which `half` is the highest, are too close to the middle.
constexpr bool IsOpen(uint64_t rest, uint64_t half) { return rest == half || rest == half - 1; }

// The double next to number / 10^exponent, for an exponent from 1 to 19. False in one case of some hundred.
inline bool DivideByPower(uint64_t number, unsigned long exponent, double& quotient) {
    if (number == 0) {
        quotient = 0;
        return true;
    }
    int const shift = std::countl_zero(number);
    Wide_ const product = Wide_{number << shift} * POWERS_OF_TEN.reciprocal[exponent];
    uint64_t const high = static_cast<uint64_t>(product >> 64);
    unsigned const drop = 10 + static_cast<unsigned>(high >> 63); // leaves 53 bits
    uint64_t const half = uint64_t{1} << (drop - 1);
    uint64_t const rest = high & (2 * half - 1);
    if (IsOpen(rest, half)) return false;

    // The hidden bit of the mantissa counts one into the exponent, as does a carry by rounding.
    uint64_t const mantissa = (high >> drop) + (rest > half ? 1 : 0);
    int const binary = static_cast<int>(drop) + 1 - POWERS_OF_TEN.width[exponent] - shift;
    quotient = std::bit_cast<double>((static_cast<uint64_t>(binary + 1074) << 52) + mantissa);
    return true;
}

// Writes what "%g" of printf writes in the C locale, whatever the locale is. `out` has room for DOUBLE_SIZE.
// Returns the end.
inline constexpr unsigned long DOUBLE_SIZE = 39;
char* PrintDouble(char* out, double value);

} // namespace Json
