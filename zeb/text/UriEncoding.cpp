#include "zeb/core/AutoBuffer.h"
#include "zeb/core/HexString.h"
#include "zeb/text/URI.h"

namespace Util {

namespace {

constexpr bool StandsForItself_(char c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '-' ||
           c == '_' || c == '.' || c == '~';
}

struct WidthsT_ {
    unsigned char of[256];
};

// How long each byte is once it is encoded.
constexpr WidthsT_ MakeWidths_(bool form) {
    WidthsT_ widths{};
    for (unsigned i = 0; i < 256; ++i)
        widths.of[i] = StandsForItself_(static_cast<char>(i)) || (form && i == ' ') ? 1 : 3;
    return widths;
}

constexpr WidthsT_ URI_WIDTHS = MakeWidths_(false);
constexpr WidthsT_ FORM_WIDTHS = MakeWidths_(true);

char* EncodeByte_(char* out, unsigned char byte, unsigned char width) {
    if (width == 1) return *out = byte == ' ' ? '+' : static_cast<char>(byte), out + 1;
    out[0] = '%';
    out[1] = HexString::UPPER_DIGITS[byte >> 4];
    out[2] = HexString::UPPER_DIGITS[byte & 0xF];
    return out + 3;
}

unsigned char Digit_(char c) { return HexString::CHAR_DIGIT_MAP[static_cast<unsigned char>(c)]; }

// The byte of an escape, of which `size` characters are there.
char DecodeEscape_(char const* escape, unsigned long size, bool& valid) {
    if (size == 3) {
        unsigned const high = Digit_(escape[1]);
        unsigned const low = Digit_(escape[2]);
        if (high <= 0xF && low <= 0xF) return static_cast<char>(high << 4 | low);
    }
    valid = false;
    return '?';
}

// Into room for `size` bytes; gives the end.
char* Decode_(char* out, char const* text, unsigned long size, bool& valid) {
    char const* const end = text + size;
    while (text != end) {
        auto const rest = static_cast<unsigned long>(end - text);
        auto const* const escape = static_cast<char const*>(memchr(text, '%', rest));
        unsigned long const run = escape ? static_cast<unsigned long>(escape - text) : rest;
        memmove(out, text, run);
        out += run;
        text += run;
        if (!escape) break;
        unsigned long const width = rest - run < 3 ? rest - run : 3;
        *out++ = DecodeEscape_(escape, width, valid);
        text += width;
    }
    return out;
}

// A blank for each "+" that is not the outcome of an escape: ahead of the decoding.
void Blank_(char const* text, unsigned long size, char* out) {
    for (unsigned long i = 0; i < size; ++i)
        out[i] = text[i] == '+' ? ' ' : text[i];
}

} // namespace

bool URI::Encode(EncodeT mode, CString const& text, String& out) {
    unsigned char const* const widths = mode == ENCODE_FORM ? FORM_WIDTHS.of : URI_WIDTHS.of;
    auto const* const begin = reinterpret_cast<unsigned char const*>(text.Cstr());
    auto const* const end = begin + text.Size();
    unsigned long size = 0;
    for (auto const* p = begin; p != end; ++p)
        size += widths[*p];
    String encoded;
    if (!encoded.Resize(size)) return false;
    char* to = encoded.Ptr();
    for (auto const* p = begin; p != end; ++p)
        to = EncodeByte_(to, *p, widths[*p]);
    out.Swap(encoded);
    return true;
}

bool URI::Decode(EncodeT mode, CString const& text, String& out, bool& valid) {
    valid = false;
    bool clean = true;
    AutoBuffer<1024, char> room;
    if (text.Size() > room.Size() && !room.Resize(text.Size())) return false;
    char const* from = text.Cstr();
    if (mode == ENCODE_FORM) {
        Blank_(from, text.Size(), room.Ptr());
        from = room.Ptr(); // what is decoded is never ahead of what is still to be
    }
    char const* const end = Decode_(room.Ptr(), from, text.Size(), clean);
    String decoded;
    if (!decoded.Assign(room.Ptr(), static_cast<unsigned long>(end - room.Ptr()))) return false;
    out.Swap(decoded);
    valid = clean;
    return true;
}

} // namespace Util
