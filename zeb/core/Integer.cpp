#include "zeb/core/Integer.h"

namespace {

// The distance from zero of the lowest signed number.
constexpr uint64_t LOWEST = uint64_t{1} << 63;

} // namespace

bool Integer::ParseUnsigned_(char const* text, unsigned long size, ParseFormatT format, uint64_t max,
                             uint64_t& value) {
    if (size == 0) return false;
    char const* const end = text + size;
    uint64_t number;
    if (format == PARSE_HEX) {
        if (!Digits::ParseHex(text, end, number)) return false;
    } else if (!Digits::ParseDecimal(text + (*text == '+'), end, number)) {
        return false;
    }
    if (number > max) return false;
    value = number;
    return true;
}

bool Integer::ParseSigned_(char const* text, unsigned long size, int64_t min, int64_t max, int64_t& value) {
    if (size == 0) return false;
    bool const negative = *text == '-';
    bool const sign = negative || *text == '+';
    uint64_t number;
    if (!Digits::ParseDecimal(text + sign, text + size, number)) return false;
    if (number > (negative ? LOWEST : LOWEST - 1)) return false;
    int64_t const result = static_cast<int64_t>(negative ? 0 - number : number);
    if (result < min || result > max) return false;
    value = result;
    return true;
}
