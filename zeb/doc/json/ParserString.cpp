#include "zeb/core/HexString.h"
#include "zeb/core/Utf8.h"
#include "zeb/doc/json/ParserImpl.h"
#include "zeb/doc/json/Plain.h"

#include <cstring>

namespace Json {

namespace {

constexpr bool IsHighSurrogate(uint32_t code) { return code >= 0xD800 && code <= 0xDBFF; }
constexpr bool IsLowSurrogate(uint32_t code) { return code >= 0xDC00 && code <= 0xDFFF; }

// What a letter behind a backslash stands for; 0 for no escape.
constexpr char Escaped(unsigned char letter) {
    switch (letter) {
    case '"':
    case '\\':
    case '/':
        return static_cast<char>(letter);
    case 'b':
        return '\b';
    case 'f':
        return '\f';
    case 'n':
        return '\n';
    case 'r':
        return '\r';
    case 't':
        return '\t';
    default:
        return 0;
    }
}

} // namespace

Parser_::Byte const* Parser_::ParseStringValue_(Byte const* at, Value*& value) {
    String_ string;
    Byte const* const end = ParseString_(at, string);
    if (end == nullptr) return nullptr;
    value = TakeValue_(end, Value::TYPE_STRING);
    if (value == nullptr) return Oom_(at);
    value->string_ = Json::String(string.data, string.size);
    return end;
}

Parser_::Byte const* Parser_::ParseString_(Byte const* at, String_& string) {
    Byte const* const end = FindSpecial(at, text_.end);
    if (Peek_(end) != '"') return ParseEscaped_(at, string);

    unsigned long const length = static_cast<unsigned long>(end - at);
    char* const block = TakeString_(end, length);
    if (block == nullptr) return Oom_(at);
    if (static_cast<unsigned long>(text_.end - at) >= RoundUp_(length + 1)) {
        // The block has whole groups of 16 bytes; what is copied behind the text does not matter.
        for (unsigned long i = 0; i < length; i += Simd::COUNT)
            Simd::Store(block + i, Simd::Load(at + i));
    } else {
        memcpy(block, at, length);
    }
    block[length] = '\0';
    string = {block, length, length};
    return end + 1;
}

// Two passes, so that the block fits exactly; the first one keeps what a short text needs.
Parser_::Byte const* Parser_::ParseEscaped_(Byte const* at, String_& string) {
    char buffer[STACK_TEXT];
    unsigned long size = 0;
    Byte const* const end = Unescape_(at, buffer, sizeof(buffer) - 1, size);
    if (end == nullptr) return nullptr;

    char* const block = TakeString_(end, size);
    if (block == nullptr) return Oom_(at);
    if (size < sizeof(buffer)) {
        memcpy(block, buffer, size);
    } else {
        (void)Unescape_(at, block, size, size); // it passed before
    }
    block[size] = '\0';
    string = {block, size, strlen(block)};
    return end;
}

// The text up to the closing quote. `size` becomes its full size, of which `out` gets the beginning, while
// whole pieces fit.
Parser_::Byte const* Parser_::Unescape_(Byte const* at, char* out, unsigned long capacity,
                                        unsigned long& size) {
    unsigned long count = 0;
    for (;;) {
        Byte const* const special = FindSpecial(at, text_.end);
        unsigned long const run = static_cast<unsigned long>(special - at);
        if (run <= Simd::COUNT && text_.end - at >= Simd::COUNT && count + Simd::COUNT <= capacity) {
            Simd::Store(out + count, Simd::Load(at));
        } else if (count + run <= capacity) {
            memcpy(out + count, at, run);
        }
        count += run;
        Byte const c = Peek_(special);
        if (c == '"') {
            size = count;
            return special + 1;
        }
        if (c == 0) return Fail_(special, CODE_UNTERMINATED);
        if (c != '\\') return Fail_(special, CODE_CONTROL);

        char piece[4];
        unsigned pieceSize = 1;
        at = ParseEscape_(special + 1, piece, pieceSize);
        if (at == nullptr) return nullptr;
        if (count + pieceSize <= capacity) memcpy(out + count, piece, pieceSize);
        count += pieceSize;
    }
}

Parser_::Byte const* Parser_::ParseEscape_(Byte const* at, char* out, unsigned& size) {
    Byte const letter = Peek_(at);
    if (letter == 'u') return ParseUnicode_(at + 1, out, size);
    *out = Escaped(letter);
    return *out != 0 ? at + 1 : Fail_(at, CODE_BAD_ESCAPE);
}

bool Parser_::ParseHex_(Byte const* at, uint32_t& code) const {
    if (text_.end - at < 4) return false;
    code = 0;
    for (unsigned i = 0; i < 4; ++i) {
        Byte const digit = static_cast<Byte>(HexString::CHAR_DIGIT_MAP[at[i]]);
        if (digit > 0xF) return false;
        code = code << 4 | digit;
    }
    return true;
}

Parser_::Byte const* Parser_::ParseUnicode_(Byte const* at, char* out, unsigned& size) {
    uint32_t code = 0;
    if (!ParseHex_(at, code)) return Fail_(at, CODE_BAD_HEX);
    at += 4;
    if (IsHighSurrogate(code)) {
        if (text_.end - at < 2 || at[0] != '\\' || at[1] != 'u') return Fail_(at, CODE_HIGH_SURROGATE_ALONE);
        uint32_t low = 0;
        if (!ParseHex_(at + 2, low)) return Fail_(at, CODE_BAD_HEX);
        if (!IsLowSurrogate(low)) return Fail_(at, CODE_NO_LOW_SURROGATE);
        code = 0x10000 + ((code - 0xD800) << 10) + (low - 0xDC00);
        at += 6;
    }
    size = Doc::EncodeUtf8(out, code);
    return at;
}

} // namespace Json
