#include "zeb/core/HexString.h"

#include "zeb/core/Digits.h"

namespace {

constexpr unsigned char X = HexString::NO_DIGIT;

unsigned char Digit_(char c) { return HexString::CHAR_DIGIT_MAP[static_cast<unsigned char>(c)]; }

} // namespace

unsigned char const HexString::CHAR_DIGIT_MAP[256] = {
    X, X,  X,  X,  X,  X,  X,  X, X, X, X, X, X, X, X, X, //
    X, X,  X,  X,  X,  X,  X,  X, X, X, X, X, X, X, X, X, //
    X, X,  X,  X,  X,  X,  X,  X, X, X, X, X, X, X, X, X, //
    0, 1,  2,  3,  4,  5,  6,  7, 8, 9, X, X, X, X, X, X, //
    X, 10, 11, 12, 13, 14, 15, X, X, X, X, X, X, X, X, X, //
    X, X,  X,  X,  X,  X,  X,  X, X, X, X, X, X, X, X, X, //
    X, 10, 11, 12, 13, 14, 15, X, X, X, X, X, X, X, X, X, //
    X, X,  X,  X,  X,  X,  X,  X, X, X, X, X, X, X, X, X, //
    X, X,  X,  X,  X,  X,  X,  X, X, X, X, X, X, X, X, X, //
    X, X,  X,  X,  X,  X,  X,  X, X, X, X, X, X, X, X, X, //
    X, X,  X,  X,  X,  X,  X,  X, X, X, X, X, X, X, X, X, //
    X, X,  X,  X,  X,  X,  X,  X, X, X, X, X, X, X, X, X, //
    X, X,  X,  X,  X,  X,  X,  X, X, X, X, X, X, X, X, X, //
    X, X,  X,  X,  X,  X,  X,  X, X, X, X, X, X, X, X, X, //
    X, X,  X,  X,  X,  X,  X,  X, X, X, X, X, X, X, X, X, //
    X, X,  X,  X,  X,  X,  X,  X, X, X, X, X, X, X, X, X, //
};

char const HexString::LOWER_DIGITS[17] = "0123456789abcdef";
char const HexString::UPPER_DIGITS[17] = "0123456789ABCDEF";

HexString const& HexString::Nil() {
    static HexString const nil;
    return nil;
}

bool HexString::IsValid(CString const& text, unsigned long* dataSize) {
    if (text.Size() % 2 != 0) return false;
    for (char const *p = text.Cstr(), *const end = p + text.Size(); p != end; ++p) {
        if (Digit_(*p) == NO_DIGIT) return false;
    }
    if (dataSize) *dataSize = text.Size() / 2;
    return true;
}

bool HexString::Assign(unsigned char const* data, unsigned long size) {
    unsigned long count;
    String text;
    if (__builtin_mul_overflow(size, 2UL, &count) || !text.Resize(count)) return false;
    char* out = text.Ptr();
    for (unsigned char const* const end = data + size; data != end; ++data, out += 2)
        memcpy(out, Digits::HEX_PAIRS[Digits::LOWER].text + 2 * *data, 2);
    text_.Swap(text);
    return true;
}

bool HexString::Assign(CString const& text, bool& valid) {
    valid = IsValid(text);
    if (!valid || !text_.Assign(text)) return false;
    ToLower();
    return true;
}

HexString& HexString::Clear() {
    text_.Clear();
    return *this;
}

HexString& HexString::Swap(HexString& other) {
    text_.Swap(other.text_);
    return *this;
}

HexString& HexString::ToUpper() {
    text_.ToUpper();
    return *this;
}

HexString& HexString::ToLower() {
    text_.ToLower();
    return *this;
}

bool HexString::Get(unsigned char* out, unsigned long capacity, unsigned long& size) const {
    size = DataSize();
    if (size > capacity) return false;
    for (char const *p = text_.Cstr(), *const end = p + 2 * size; p != end; p += 2)
        *out++ = static_cast<unsigned char>(Digit_(p[0]) << 4 | Digit_(p[1]));
    return true;
}
