#include "zeb/core/Integer.h"

namespace {

// The distance from zero of the lowest signed number.
constexpr uint64_t LOWEST = uint64_t{1} << 63;

} // namespace

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
