#include "zeb/util/Scramble.h"

#include "zeb/core/Base64.h"
#include "zeb/core/CBuffer.h"
#include "zeb/core/String.h"
#include "zeb/util/MD5.h"

#include <cstring>

namespace Util {

namespace {

constexpr unsigned long SIZES[] = {18, 36, 72};
constexpr unsigned long SIZE_MAX_ = 72;
constexpr unsigned long MARKS = 2; // bytes beside the text: the first two of its MD5
constexpr unsigned long SYMBOLS_MAX = SIZE_MAX_ / 3 * 4;

// The place of the second mark.
unsigned long Cut_(unsigned long total) { return total / 7; }

// Behind the text and its NUL the rest of the MD5, mixed with the text.
void Pad_(unsigned char* buffer, unsigned long total, unsigned long size, unsigned char const* digest) {
    for (unsigned long i = size + 1; i < total; ++i)
        buffer[i] = static_cast<unsigned char>(digest[MARKS + i % 14] + 2 * (buffer[i - size - 1] & 127));
}

// Fibonacci's numbers from two marks on. Its own inverse.
void Stream_(unsigned char* buffer, unsigned long size, unsigned char x, unsigned char y) {
    for (unsigned long i = 0; i < size; ++i) {
        buffer[i] ^= y;
        auto const next = static_cast<unsigned char>(x + y);
        x = y;
        y = next;
    }
}

// A mask that depends on the XOR of all bytes; that of an even number of masked ones is the same, so this is
// its own inverse.
void Transform_(unsigned char* buffer, unsigned long size) {
    unsigned char x = 0;
    for (unsigned long i = 0; i < size; ++i)
        x ^= buffer[i];
    for (unsigned s = 1; s <= 7; ++s) {
        auto const t = static_cast<unsigned char>(static_cast<unsigned char>(~x) << s ^ x >> s);
        x = static_cast<unsigned char>(x ^ ~(t ^ t << s));
    }
    for (unsigned long i = 0; i < size; ++i)
        buffer[i] ^= x;
}

void Insert_(unsigned char* buffer, unsigned long size, unsigned long at, unsigned char byte) {
    memmove(buffer + at + 1, buffer + at, size - at);
    buffer[at] = byte;
}

unsigned char Remove_(unsigned char* buffer, unsigned long size, unsigned long at) {
    unsigned char const byte = buffer[at];
    memmove(buffer + at, buffer + at + 1, size - at - 1);
    return byte;
}

} // namespace

bool Scramble::Encode(CString const& text, String& out) {
    unsigned long const size = text.Size();
    if (size > TEXT_MAX) return false;
    unsigned long const* total = SIZES;
    while (size + 1 + MARKS > *total)
        ++total;
    unsigned long const inner = *total - MARKS;

    MD5 md5;
    unsigned char digest[MD5::DIGEST_SIZE];
    md5.Update(text);
    md5.Digest(digest);
    unsigned char const a = digest[0], b = digest[1];

    unsigned char buffer[SIZE_MAX_] = {};
    memcpy(buffer, text.Cstr(), size);
    Pad_(buffer, *total, size, digest);
    Stream_(buffer, inner, a, b);
    Transform_(buffer, inner);
    Insert_(buffer, inner, b % (*total - 1), a);
    Insert_(buffer, *total - 1, Cut_(*total), b);

    unsigned char symbols[SYMBOLS_MAX + 1];
    if (Base64::EncodeToString(CBuffer(buffer, *total), symbols, SYMBOLS_MAX, Base64::STANDARD).Failed())
        return false;
    return out.Assign(CString(reinterpret_cast<char const*>(symbols)));
}

bool Scramble::Decode(CString const& text, String& out) {
    unsigned char buffer[SIZE_MAX_];
    unsigned long total = sizeof buffer;
    if (Base64::DecodeString(text, buffer, total, Base64::STANDARD).Failed()) return false;
    if (total != SIZES[0] && total != SIZES[1] && total != SIZES[2]) return false;
    unsigned long const inner = total - MARKS;
    unsigned char const b = Remove_(buffer, total, Cut_(total));
    unsigned char const a = Remove_(buffer, total - 1, b % (total - 1));
    Transform_(buffer, inner);
    Stream_(buffer, inner, a, b);
    char const* const decoded = reinterpret_cast<char const*>(buffer);
    return out.Assign(decoded, strnlen(decoded, inner));
}

} // namespace Util
