#include "zeb/core/Digits.h"

#include "zeb/core/HexString.h"

#include <bit>
#include <cstring>

namespace Digits {

namespace {

struct DecimalPairs_ {
    char text[200];

    constexpr DecimalPairs_()
        : text() {
        for (int i = 0; i < 100; ++i) {
            text[2 * i] = static_cast<char>('0' + i / 10);
            text[2 * i + 1] = static_cast<char>('0' + i % 10);
        }
    }
};

constexpr DecimalPairs_ DECIMAL_PAIRS;

// 10 to the power of the index; the first is 0 so that the number 0 has one digit.
constexpr uint64_t POWERS[20] = {
    0,
    10,
    100,
    1000,
    10000,
    100000,
    1000000,
    10000000,
    100000000,
    1000000000,
    10000000000,
    100000000000,
    1000000000000,
    10000000000000,
    100000000000000,
    1000000000000000,
    10000000000000000,
    100000000000000000,
    1000000000000000000,
    10000000000000000000U,
};

// The number of bits times log10(2) is the number of digits, or one less.
unsigned Count_(uint64_t value) {
    unsigned const guess = static_cast<unsigned>(std::bit_width(value | 1)) * 1233 >> 12;
    return guess + (value >= POWERS[guess]);
}

void PutPair_(char* out, uint32_t pair) { memcpy(out, DECIMAL_PAIRS.text + 2 * pair, 2); }

constexpr unsigned long MANY = 8; // digits scanned in one step
constexpr uint64_t TEN_TO_MANY = 100000000;

void PutMany_(char* out, uint32_t value) {
    uint32_t const high = value / 10000;
    uint32_t const low = value % 10000;
    PutPair_(out, high / 100);
    PutPair_(out + 2, high % 100);
    PutPair_(out + 4, low / 100);
    PutPair_(out + 6, low % 100);
}

bool IsDigits_(uint64_t chunk) {
    uint64_t const high = 0xF0F0F0F0F0F0F0F0;
    return ((chunk & high) | ((chunk + 0x0606060606060606) & high) >> 4) == 0x3333333333333333;
}

// Sums neighbours three times: digits to pairs, pairs to fours, fours to the number. The first digit is the
// lowest byte.
uint64_t Many_(uint64_t chunk) {
    static_assert(std::endian::native == std::endian::little);
    chunk -= 0x3030303030303030;
    chunk = chunk * 10 + (chunk >> 8);
    uint64_t const mask = 0x000000FF000000FF;
    uint64_t const even = (chunk & mask) * (100 + (1000000ULL << 32));
    uint64_t const odd = (chunk >> 16 & mask) * (1 + (10000ULL << 32));
    return (even + odd) >> 32;
}

unsigned Digit_(char c) { return static_cast<unsigned char>(c) - unsigned{'0'}; }

// Of so few digits that no sum can overflow.
bool ParseShort_(char const* begin, char const* end, uint64_t& value) {
    uint64_t sum = 0;
    for (; static_cast<unsigned long>(end - begin) >= MANY; begin += MANY) {
        uint64_t chunk;
        memcpy(&chunk, begin, MANY);
        if (!IsDigits_(chunk)) return false;
        sum = sum * TEN_TO_MANY + Many_(chunk);
    }
    for (; begin != end; ++begin) {
        unsigned const digit = Digit_(*begin);
        if (digit > 9) return false;
        sum = sum * 10 + digit;
    }
    value = sum;
    return true;
}

constexpr long SAFE_DECIMAL = 19;
constexpr long SAFE_HEX = 16;

} // namespace

char* PrintDecimal(char* out, uint64_t value) {
    char* const end = out + Count_(value);
    char* p = end;
    for (; value >= TEN_TO_MANY; value /= TEN_TO_MANY) {
        p -= MANY;
        PutMany_(p, static_cast<uint32_t>(value % TEN_TO_MANY));
    }
    uint32_t rest = static_cast<uint32_t>(value);
    for (; rest >= 100; rest /= 100)
        PutPair_(p -= 2, rest % 100);
    if (rest >= 10)
        PutPair_(out, rest);
    else
        *out = static_cast<char>('0' + rest);
    return end;
}

bool ParseDecimal(char const* begin, char const* end, uint64_t& value) {
    if (begin == end) return false;
    while (end - begin > SAFE_DECIMAL && *begin == '0')
        ++begin;
    if (end - begin <= SAFE_DECIMAL) return ParseShort_(begin, end, value);
    uint64_t sum;
    if (end - begin > SAFE_DECIMAL + 1 || !ParseShort_(begin, end - 1, sum)) return false;
    unsigned const digit = Digit_(end[-1]);
    if (digit > 9 || __builtin_mul_overflow(sum, 10U, &sum) || __builtin_add_overflow(sum, digit, &sum))
        return false;
    value = sum;
    return true;
}

bool ParseHex(char const* begin, char const* end, uint64_t& value) {
    if (begin == end) return false;
    while (end - begin > SAFE_HEX && *begin == '0')
        ++begin;
    if (end - begin > SAFE_HEX) return false;
    uint64_t sum = 0;
    for (; begin != end; ++begin) {
        unsigned char const digit = HexString::CHAR_DIGIT_MAP[static_cast<unsigned char>(*begin)];
        if (digit == HexString::NO_DIGIT) return false;
        sum = sum << 4 | digit;
    }
    value = sum;
    return true;
}

} // namespace Digits
