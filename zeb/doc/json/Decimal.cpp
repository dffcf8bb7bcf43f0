#include "zeb/doc/json/Decimal.h"

#include <charconv>
#include <cstring>

namespace Json {

namespace {

constexpr int DIGITS = 6;
constexpr uint32_t LIMIT = 1000000; // of a number of six digits
constexpr unsigned MANTISSA_BITS = 52;
constexpr int BIAS = 1023;
// "%g" prints without an exponent from 10^-4 up to below 10^6.
constexpr int FIXED_MIN = -4;

struct Decimal {
    uint32_t digits; // six of them: the number is digits * 10^(exponent - 5)
    int exponent;
};

// value * 10^power for a mantissa with its highest bit set, value = mantissa * 2^binary: rounded to an
// integer, which is below 2^24. False when that is open.
bool Scale(uint64_t mantissa, int binary, int power, uint32_t& result) {
    unsigned const size = static_cast<unsigned>(power < 0 ? -power : power);
    uint64_t factor = POWERS_OF_TEN.reciprocal[size];
    if (power >= 0) {
        factor = POWERS_OF_TEN.power[size] << (64 - POWERS_OF_TEN.width[size]);
        binary += POWERS_OF_TEN.width[size] - 64;
    } else {
        binary -= 63 + POWERS_OF_TEN.width[size];
    }
    uint64_t const high = static_cast<uint64_t>((Wide_{mantissa} * factor) >> 64);
    unsigned const drop = static_cast<unsigned>(-(binary + 64));
    uint64_t const half = uint64_t{1} << (drop - 1);
    uint64_t const rest = high & (2 * half - 1);
    result = static_cast<uint32_t>(high >> drop) + (rest > half ? 1 : 0);
    return !IsOpen(rest, half);
}

// Of a normal number from 2^MIN_BINARY up to below 2^(MAX_BINARY + 1), for which the table has the powers.
constexpr int MIN_BINARY = -40;
constexpr int MAX_BINARY = 70;

bool RoundToDigits(uint64_t bits, Decimal& decimal) {
    int const binary = static_cast<int>(bits >> MANTISSA_BITS & 0x7FF) - BIAS;
    if (binary < MIN_BINARY || binary > MAX_BINARY) return false;
    uint64_t const mantissa = bits << 11 | uint64_t{1} << 63;

    // log10(2) = 0.30103: the exponent, or one less.
    int exponent = (binary * 78913) >> 18;
    if (!Scale(mantissa, binary - 63, DIGITS - 1 - exponent, decimal.digits)) return false;
    if (decimal.digits >= LIMIT) {
        ++exponent;
        if (!Scale(mantissa, binary - 63, DIGITS - 1 - exponent, decimal.digits)) return false;
        if (decimal.digits == LIMIT) {
            decimal.digits /= 10;
            ++exponent;
        }
    }
    decimal.exponent = exponent;
    return true;
}

// The six digits as bytes, the first one lowest.
uint64_t Spread(uint32_t digits) {
    // First in groups of four, then in pairs, then single ones, each in lanes of their own.
    uint64_t const fours = digits / 10000 | uint64_t{digits % 10000} << 32;
    uint64_t const high = (fours * 10486 >> 20) & 0x0000007F0000007FU;
    uint64_t const pairs = high | (fours - 100 * high) << 16;
    uint64_t const tens = (pairs * 103 >> 10) & 0x000F000F000F000FU;
    return (tens | (pairs - 10 * tens) << 8) >> 16;
}

// Eight bytes, of which those behind the digits do not matter.
char* PutWord(char* out, uint64_t word) {
    memcpy(out, &word, sizeof(word));
    return out;
}

char* PrintDecimal(char* out, Decimal decimal) {
    static_assert(std::endian::native == std::endian::little);
    uint64_t const values = Spread(decimal.digits);
    uint64_t const digits = values | 0x3030303030303030U;
    int const count = (static_cast<int>(std::bit_width(values)) + 7) / 8; // without the zeros at the end

    if (decimal.exponent < FIXED_MIN || decimal.exponent >= DIGITS) {
        int const size = decimal.exponent < 0 ? -decimal.exponent : decimal.exponent;
        PutWord(out, digits);
        PutWord(out + 2, digits >> 8);
        if (count > 1) out[1] = '.';
        out += count > 1 ? count + 1 : 1;
        char const exponent[] = {'e', decimal.exponent < 0 ? '-' : '+', static_cast<char>('0' + size / 10),
                                 static_cast<char>('0' + size % 10)};
        memcpy(out, exponent, sizeof(exponent));
        return out + sizeof(exponent);
    }

    int const whole = decimal.exponent + 1; // digits ahead of the point
    if (whole <= 0) {
        memcpy(out, "0.0000", 6);
        return PutWord(out + 2 - whole, digits) + count;
    }
    PutWord(out, digits);
    if (count <= whole) return out + whole;
    PutWord(out + whole + 1, digits >> (8 * whole));
    out[whole] = '.';
    return out + count + 1;
}

} // namespace

char* PrintDouble(char* out, double value) {
    uint64_t const bits = std::bit_cast<uint64_t>(value);
    Decimal decimal;
    if (RoundToDigits(bits, decimal)) {
        *out = '-';
        return PrintDecimal(out + (bits >> 63), decimal);
    }
    return std::to_chars(out, out + DOUBLE_SIZE, value, std::chars_format::general, DIGITS).ptr;
}

} // namespace Json
