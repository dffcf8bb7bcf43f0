// Integers: bytes of type and format, then the text; compared with a plain reading in 128 bits.
#include "fuzz/FuzzInput.h"

#include "zeb/core/Integer.h"

#include <limits>

namespace {

using WideT = __int128;

constexpr WideT TOO_LARGE = WideT{1} << 100;

bool Digits(std::string_view text, unsigned base, WideT& value) {
    value = 0;
    for (char const c : text) {
        char const* const digits = "0123456789abcdefABCDEF";
        char const* const at = c == '\0' ? nullptr : strchr(digits, c);
        if (at == nullptr) return false;
        unsigned const place = static_cast<unsigned>(at - digits);
        unsigned const digit = place < 16 ? place : place - 6;
        if (digit >= base) return false;
        value = value * base + digit;
        if (value > TOO_LARGE) value = TOO_LARGE;
    }
    return !text.empty();
}

template<typename T>
bool Expect(std::string_view text, bool hex, T& value) {
    using UnsignedT = std::make_unsigned_t<T>;
    WideT wide;
    bool const minus = !hex && std::is_signed_v<T> && !text.empty() && text[0] == '-';
    if (minus || (!hex && !text.empty() && text[0] == '+')) text.remove_prefix(1);
    if (!Digits(text, hex ? 16 : 10, wide)) return false;
    if (minus) wide = -wide;
    WideT const least = hex ? WideT{0} : WideT{std::numeric_limits<T>::min()};
    WideT const most =
        hex ? WideT{std::numeric_limits<UnsignedT>::max()} : WideT{std::numeric_limits<T>::max()};
    if (wide < least || wide > most) return false;
    value = static_cast<T>(wide);
    return true;
}

template<typename T>
void Try(std::string_view text, bool hex) {
    auto const format = hex ? Integer::PARSE_HEX : Integer::PARSE_DECIMAL;
    T const before = static_cast<T>(85);
    T parsed = before;
    T expected = before;
    bool const accepted = Integer::Parse(text.data(), text.size(), parsed, format);
    FUZZ_CHECK(accepted == Expect(text, hex, expected));
    FUZZ_CHECK(parsed == expected);
    Integer const printed(parsed, hex ? Integer::PRINT_HEX : Integer::PRINT_DECIMAL);
    T again = before;
    FUZZ_CHECK(Integer::Parse(printed.Cstr(), printed.Size(), again, format) && again == parsed);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
    FuzzInput input(data, size);
    bool const hex = (input.Byte() & 1) != 0;
    std::string_view const text = input.Rest();
    Try<char>(text, hex);
    Try<unsigned char>(text, hex);
    Try<short>(text, hex);
    Try<unsigned short>(text, hex);
    Try<int>(text, hex);
    Try<unsigned int>(text, hex);
    Try<long>(text, hex);
    Try<unsigned long>(text, hex);
    Try<long long>(text, hex);
    Try<unsigned long long>(text, hex);
    return 0;
}
