#include "zeb/doc/json/NumberFlags.h"
#include "zeb/doc/json/ParserImpl.h"

#include "zeb/doc/json/Decimal.h"

#include <bit>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace Json {

namespace {

using Byte = unsigned char;

constexpr unsigned long WORD = 8;
// So many digits never pass 64 bits.
constexpr unsigned long SAFE_DIGITS = 19;
constexpr uint64_t MAX_NEGATIVE = uint64_t{1} << 63;

constexpr bool IsDigit(Byte c) { return c >= '0' && c <= '9'; }
constexpr bool IsExponent(Byte c) { return c == 'e' || c == 'E'; }

// The number in eight digits, the first being the lowest byte.
inline uint64_t JoinDigits(uint64_t word) {
    constexpr uint64_t PAIRS = 0x000000FF000000FFU;
    word = word * 10 + (word >> 8);
    return ((word & PAIRS) * (100 + (uint64_t{1000000} << 32)) +
            (word >> 16 & PAIRS) * (1 + (uint64_t{10000} << 32))) >>
           32;
}

// The digits from `at`, joined modulo 2^64.
inline Byte const* ScanDigits(Byte const* at, Byte const* end, uint64_t& value) {
    static_assert(std::endian::native == std::endian::little);
    value = 0;
    while (static_cast<unsigned long>(end - at) >= WORD) {
        uint64_t word;
        memcpy(&word, at, WORD);
        word -= 0x3030303030303030U;
        // The lowest byte that is no digit sets its highest bit; those above it may err.
        uint64_t const others = ((word + 0x7676767676767676U) | word) & 0x8080808080808080U;
        if (others != 0) {
            unsigned const bits = static_cast<unsigned>(std::countr_zero(others)) & ~7U;
            if (bits == 0) return at;
            value = value * POWERS_OF_TEN.power[bits / 8] + JoinDigits(word << (64 - bits));
            return at + bits / 8;
        }
        value = value * 100000000 + JoinDigits(word);
        at += WORD;
    }
    for (; at != end && IsDigit(*at); ++at)
        value = value * 10 + (*at - '0');
    return at;
}

// Joins digit by digit as long as the number grows and stays within the bound: the one test for an overflow.
// A number that wraps to above its predecessor passes.
bool JoinGrowing(Byte const* at, Byte const* end, uint64_t bound, uint64_t& value) {
    value = 0;
    for (; at != end; ++at) {
        uint64_t const next = value * 10 + (*at - '0');
        if (next < value || next > bound) return false;
        value = next;
    }
    return true;
}

// A number that is too large or too small to be told by from_chars, rewritten as its digits and an exponent
// so that strtod needs neither a terminator behind the text nor the decimal point of the locale.
double ParseExtreme(char const* at, char const* end) {
    constexpr unsigned long MAX_DIGITS = 800; // beyond, a further digit only tells that there is more
    constexpr long MAX_EXPONENT = 1000000000000000000;
    char text[MAX_DIGITS + 32];
    char* out = text;
    if (*at == '-') *out++ = *at++;

    char* const digits = out;
    long scale = 0;
    bool fraction = false;
    bool more = false;
    for (; at != end && !IsExponent(static_cast<Byte>(*at)); ++at) {
        if (*at == '.') {
            fraction = true;
            continue;
        }
        bool const keep = out - digits < static_cast<long>(MAX_DIGITS);
        if (keep && (out != digits || *at != '0')) *out++ = *at;
        more = more || (!keep && *at != '0');
        scale += (keep ? 0 : 1) - (fraction ? 1 : 0);
    }

    if (more) {
        *out++ = '1';
        --scale;
    }

    long exponent = 0;
    bool negative = false;
    if (at != end) {
        ++at;
        negative = *at == '-';
        if (*at == '-' || *at == '+') ++at;
    }
    for (; at != end && exponent < MAX_EXPONENT / 10; ++at)
        exponent = exponent * 10 + (*at - '0');
    scale += negative ? -exponent : exponent;

    *out++ = 'e';
    *std::to_chars(out, text + sizeof(text) - 1, scale).ptr = '\0';
    return strtod(text, nullptr);
}

bool HasExponent(Byte const* at, Byte const* end) {
    while (at != end && !IsExponent(*at))
        ++at;
    return at != end;
}

bool IsSubnormal(double value) {
    double const size = value < 0 ? -value : value;
    return size != 0 && size < std::numeric_limits<double>::min();
}

bool IsInfinite(double value) {
    return value > std::numeric_limits<double>::max() || value < -std::numeric_limits<double>::max();
}

} // namespace

Parser_::Byte const* Parser_::StoreDouble_(Byte const* at, Byte const* end, double number, Value*& value) {
    value = TakeValue_(at, Value::TYPE_NUMBER);
    if (value == nullptr) return Oom_(at);
    value->StoreNumber_(number);
    value->flags_ = Value::NumberFlagsT(Value::NUMBER_DOUBLE);
    return end;
}

Parser_::Byte const* Parser_::ParseNumber_(Byte const* at, Value*& value) {
    bool const negative = *at == '-';
    Byte const* const digits = negative ? at + 1 : at;
    if (!IsDigit(Peek_(digits))) return Fail_(digits, CODE_NO_DIGIT);
    if (*digits == '0' && IsDigit(Peek_(digits + 1))) return Fail_(digits, CODE_LEADING_ZERO);

    uint64_t number = 0;
    Byte const* const end = ScanDigits(digits, text_.end, number);
    Byte const next = Peek_(end);
    if (next == '.') {
        double quotient = 0;
        Byte const* const fractionEnd =
            ParseFraction_(end, number, static_cast<unsigned long>(end - digits), quotient);
        if (fractionEnd == nullptr) return ParseDouble_(at, end, value);
        return StoreDouble_(at, fractionEnd, negative ? -quotient : quotient, value);
    }
    if (IsExponent(next)) return ParseDouble_(at, end, value);

    uint64_t const bound = negative ? MAX_NEGATIVE : ~uint64_t{0};
    bool const fits = static_cast<unsigned long>(end - digits) <= SAFE_DIGITS
                          ? number <= bound
                          : JoinGrowing(digits, end, bound, number);
    if (!fits) return ParseDouble_(at, end, value);

    value = TakeValue_(at, Value::TYPE_NUMBER);
    if (value == nullptr) return Oom_(at);
    long long const opposite = static_cast<long long>(0 - number);
    value->StoreNumber_(negative ? static_cast<unsigned long long>(opposite) : number);
    value->flags_ = Value::NumberFlagsT(negative && number != 0 ? NUMBER_FLAGS.OfNegative(opposite)
                                                                : NUMBER_FLAGS.Of(number));
    return end;
}

// The common form of a fraction: at most 19 digits in all, and no exponent. Null for another form, and where
// the quotient lies too close to the middle of two doubles.
Parser_::Byte const* Parser_::ParseFraction_(Byte const* point, uint64_t whole, unsigned long wholeDigits,
                                             double& number) const {
    uint64_t fraction = 0;
    Byte const* const end = ScanDigits(point + 1, text_.end, fraction);
    unsigned long const digits = static_cast<unsigned long>(end - point) - 1;
    if (digits == 0 || digits + wholeDigits > SAFE_DIGITS || IsExponent(Peek_(end))) return nullptr;
    return DivideByPower(whole * POWERS_OF_TEN.power[digits] + fraction, digits, number) ? end : nullptr;
}

// `digitsEnd` is the end of the digits ahead of the point or the exponent.
Parser_::Byte const* Parser_::ParseDouble_(Byte const* at, Byte const* digitsEnd, Value*& value) {
    if (Peek_(digitsEnd) == '.' && !IsDigit(Peek_(digitsEnd + 1))) return Fail_(digitsEnd, CODE_NO_FRACTION);

    char const* const begin = reinterpret_cast<char const*>(at);
    double number = 0;
    std::from_chars_result const result =
        std::from_chars(begin, reinterpret_cast<char const*>(text_.end), number);
    Byte const* const end = reinterpret_cast<Byte const*>(result.ptr);
    // The conversion stops ahead of an exponent that has no digit.
    if (IsExponent(Peek_(end)) && !HasExponent(digitsEnd, end)) return Fail_(end, CODE_NO_EXPONENT);
    if (end - at > std::numeric_limits<int>::max()) return Fail_(at, CODE_NUMBER_TOO_LONG);
    if (result.ec != std::errc()) number = ParseExtreme(begin, result.ptr);
    if (IsInfinite(number) || IsSubnormal(number)) return Fail_(at, CODE_NOT_A_DOUBLE);

    return StoreDouble_(at, end, number, value);
}

} // namespace Json
