#pragma once

// HexString: bytes written as hexadecimal digits, two a byte, in lower case after each assignment and in the
// case that ToUpper() or ToLower() chose last. Operations that can fail give false and leave the object as it
// was. One thread at a time uses an object.

#include "zeb/core/String.h"

class Buffer;
class CBuffer;

class ZEB_PUBLIC HexString {
public:
    // The value of each hexadecimal digit of either case, NO_DIGIT for all other characters.
    static constexpr unsigned char NO_DIGIT = 0xFF;
    static unsigned char const CHAR_DIGIT_MAP[256];

    static char const LOWER_DIGITS[17];
    static char const UPPER_DIGITS[17];

    HexString() = default;

    static HexString const& Nil();

    // Only pairs of digits; the empty text is valid. On true `dataSize`, unless null, gets the number of
    // bytes.
    static bool IsValid(CString const& text, unsigned long* dataSize = nullptr);

    [[nodiscard]] bool Assign(unsigned char const* data, unsigned long size);
    [[nodiscard]] bool Assign(CBuffer const& data);
    [[nodiscard]] bool Assign(HexString const& other);

    // Takes digits as they stand, made lower case. `valid` says whether they are; false with `valid` true
    // means that memory ran out.
    [[nodiscard]] bool Assign(CString const& text, bool& valid);

    HexString& Clear();
    HexString& Swap(HexString& other);
    HexString& ToUpper();
    HexString& ToLower();

    String const& Str() const { return text_; }
    char const* Cstr() const { return text_.Cstr(); }
    unsigned long Size() const { return text_.Size(); }
    bool Empty() const { return text_.Empty(); }

    // Number of bytes that the digits stand for.
    unsigned long DataSize() const { return Size() / 2; }

    // The bytes. `size` always gets DataSize(); false, with nothing written, if that is more than `capacity`.
    [[nodiscard]] bool Get(unsigned char* out, unsigned long capacity, unsigned long& size) const;

    // False when memory ran out.
    [[nodiscard]] bool Get(Buffer& out) const;

private:
    String text_;
};
