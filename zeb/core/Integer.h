#pragma once

// Integer: a number as text, on the stack, and the strict scanner of numbers. Nothing here allocates.
//
//   Integer const text(port, Integer::PRINT_DECIMAL);  log << text.Cstr();
//   unsigned short port;
//   if (!Integer::Parse(argument, port, Integer::PARSE_DECIMAL)) ...

#include "zeb/core/CString.h"
#include "zeb/core/Digits.h"

#include <concepts>
#include <limits>
#include <type_traits>

class ZEB_PUBLIC Integer {
public:
    enum PrintFormatT : int { PRINT_DECIMAL = 0, PRINT_HEX = 1, PRINT_HEX_UPPER = 2 };

    // Any value other than PARSE_HEX is decimal.
    enum ParseFormatT : int { PARSE_DECIMAL = 0, PARSE_HEX = 1 };

    // `char` types are numbers here. A negative number in hexadecimal is the bit pattern of its type.
    template<std::integral T>
    Integer(T const& value, PrintFormatT format = PRINT_DECIMAL) {
        char* const end = Print_(value, format);
        *end = '\0';
        size_ = static_cast<unsigned long>(end - text_);
    }

    char const* Cstr() const { return text_; }
    unsigned long Size() const { return size_; }
    operator CString() const { return {text_, size_}; }

    // The whole text must be one number that fits the type: no blanks, no "0x". Decimal takes one leading
    // plus sign, and a minus sign for signed types. Hexadecimal takes no sign; its digits are the bit pattern
    // of the type. On false `value` stays as it was.
    template<std::integral T>
    [[nodiscard]] static bool Parse(char const* text, unsigned long size, T& value,
                                    ParseFormatT format = PARSE_DECIMAL);

    template<std::integral T>
    [[nodiscard]] static bool Parse(CString const& text, T& value, ParseFormatT format = PARSE_DECIMAL) {
        return Parse(text.Cstr(), text.Size(), value, format);
    }

private:
    static constexpr unsigned long ARRAY_SIZE = 22;

    template<class T>
    char* Print_(T value, PrintFormatT format) {
        if (format == PRINT_DECIMAL) return Digits::Print(text_, value);
        return Digits::PrintHex(text_, static_cast<std::make_unsigned_t<T>>(value),
                                format == PRINT_HEX ? Digits::LOWER : Digits::UPPER);
    }

    static bool ParseUnsigned_(char const* text, unsigned long size, ParseFormatT format, uint64_t& value) {
        if (size == 0) return false;
        char const* const end = text + size;
        if (format == PARSE_HEX) return Digits::ParseHex(text, end, value);
        return Digits::ParseDecimal(text + (*text == '+'), end, value);
    }

    static bool ParseSigned_(char const* text, unsigned long size, int64_t min, int64_t max, int64_t& value);

    char text_[ARRAY_SIZE];
    unsigned long size_;
};

template<std::integral T>
bool Integer::Parse(char const* text, unsigned long size, T& value, ParseFormatT format) {
    if constexpr (std::is_signed_v<T>) {
        using LimitsT = std::numeric_limits<T>;
        if (format != PARSE_HEX) {
            int64_t number;
            if (!ParseSigned_(text, size, LimitsT::min(), LimitsT::max(), number)) return false;
            value = static_cast<T>(number);
            return true;
        }
    }
    uint64_t number;
    if (!ParseUnsigned_(text, size, format, number)) return false;
    if (number > std::numeric_limits<std::make_unsigned_t<T>>::max()) return false;
    value = static_cast<T>(number);
    return true;
}
