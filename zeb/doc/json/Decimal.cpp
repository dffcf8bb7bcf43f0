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

char* PrintDecimal(char* out, Decimal decimal) {
    char digits[DIGITS];
    int count = 0;
    for (int i = DIGITS - 1; i >= 0; --i, decimal.digits /= 10) {
        digits[i] = static_cast<char>('0' + decimal.digits % 10);
        if (count == 0 && digits[i] != '0') count = i + 1;
    }

    if (decimal.exponent < FIXED_MIN || decimal.exponent >= DIGITS) {
        *out++ = digits[0];
        if (count > 1) *out++ = '.';
        memcpy(out, digits + 1, static_cast<unsigned long>(count - 1));
        out += count - 1;
        int const size = decimal.exponent < 0 ? -decimal.exponent : decimal.exponent;
        *out++ = 'e';
        *out++ = decimal.exponent < 0 ? '-' : '+';
        *out++ = static_cast<char>('0' + size / 10);
        *out++ = static_cast<char>('0' + size % 10);
        return out;
    }

    int const whole = decimal.exponent + 1; // digits ahead of the point
    if (whole <= 0) {
        memcpy(out, "0.0000", 6);
        out += 2 - whole;
        memcpy(out, digits, DIGITS);
        return out + count;
    }
    memcpy(out, digits, DIGITS);
    if (count <= whole) return out + whole;
    memcpy(out + whole + 1, digits + whole, static_cast<unsigned long>(count - whole));
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
