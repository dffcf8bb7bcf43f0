#include "zeb/core/HexString.h"

#include "zeb/core/Buffer.h"

#include <cstdint>

namespace {

constexpr unsigned char X = HexString::NO_DIGIT;

unsigned char Digit_(char c) { return HexString::CHAR_DIGIT_MAP[static_cast<unsigned char>(c)]; }

// Sixteen bytes at a time, in the compiler's own form of vectors.
using BytesT_ = uint8_t __attribute__((vector_size(16)));

BytesT_ Letters_(BytesT_ values) {
    BytesT_ const isLetter = reinterpret_cast<BytesT_>(values > 9);
    return values + '0' + (isLetter & ('a' - '0' - 10));
}

void EncodeMany_(char* out, unsigned char const* data) {
    BytesT_ bytes;
    memcpy(&bytes, data, sizeof bytes);
    BytesT_ const high = bytes >> 4;
    BytesT_ const low = bytes & 0xF;
    BytesT_ const text[] = {
        Letters_(__builtin_shufflevector(high, low, 0, 16, 1, 17, 2, 18, 3, 19, 4, 20, 5, 21, 6, 22, 7, 23)),
        Letters_(
            __builtin_shufflevector(high, low, 8, 24, 9, 25, 10, 26, 11, 27, 12, 28, 13, 29, 14, 30, 15, 31)),
    };
    memcpy(out, text, sizeof text);
}

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
    for (; size >= sizeof(BytesT_);
         size -= sizeof(BytesT_), data += sizeof(BytesT_), out += 2 * sizeof(BytesT_))
        EncodeMany_(out, data);
    for (unsigned char const* const end = data + size; data != end; ++data) {
        *out++ = LOWER_DIGITS[*data >> 4];
        *out++ = LOWER_DIGITS[*data & 0xF];
    }
    text_.Swap(text);
    return true;
}

bool HexString::Assign(CBuffer const& data) {
    return Assign(static_cast<unsigned char const*>(data.Ptr()), data.Size());
}

bool HexString::Assign(HexString const& other) {
    if (!text_.Assign(other.text_)) return false;
    ToLower();
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

bool HexString::Get(Buffer& out) const {
    unsigned long size = DataSize();
    return out.Resize(size) && Get(static_cast<unsigned char*>(out.Ptr()), size, size);
}
