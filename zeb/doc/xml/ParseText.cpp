#include "zeb/doc/xml/Codepoint.h"
#include "zeb/doc/xml/ParserText.h"

namespace Xml {

namespace {

constexpr uint32_t LAST_CODEPOINT = 0x10FFFF;

// The value of a digit, or the base when it is none.
unsigned Digit(char c, unsigned base) {
    unsigned digit = base;
    if (c >= '0' && c <= '9') {
        digit = static_cast<unsigned>(c - '0');
    } else if (c >= 'a' && c <= 'f') {
        digit = static_cast<unsigned>(c - 'a') + 10;
    } else if (c >= 'A' && c <= 'F') {
        digit = static_cast<unsigned>(c - 'A') + 10;
    }
    return digit < base ? digit : base;
}

} // namespace

bool Document::Parser_::ExpandName_(char*& at, char*& write) {
    auto const expand = [&]<unsigned long N>(char const(&name)[N], char character) {
        for (unsigned long i = 0; i < N - 1; ++i) {
            if (at[i + 1] != name[i]) return false;
        }
        *write++ = character;
        at += N;
        return true;
    };
    return expand("lt;", '<') || expand("gt;", '>') || expand("quot;", '"') || expand("amp;", '&') ||
           expand("apos;", '\'');
}

// Behind "&#". The digits may be missing, and a value that does not fit wraps.
char* Document::Parser_::ExpandNumber_(char* at, char*& write) {
    unsigned const base = *at == 'x' ? 16 : 10;
    if (base == 16) ++at;
    uint64_t code = 0;
    for (unsigned digit; (digit = Digit(*at, base)) != base; ++at)
        code = code * base + digit;
    if (!InsertCodedCharacter_(write, code)) return nullptr;
    return *at == ';' ? at + 1 : Fail_(PARSE_SEMICOLON, "\";\" expected");
}

bool Document::Parser_::InsertCodedCharacter_(char*& destination, uint64_t code) {
    if (Is_(PARSE_NO_UTF8) || code < 128) {
        *destination++ = static_cast<char>(code & 0xFF);
        return true;
    }
    if (code > LAST_CODEPOINT) {
        Fail_(PARSE_BAD_CHARACTER, "invalid numeric character entity");
        return false;
    }
    destination += Doc::EncodeUtf8(destination, static_cast<uint32_t>(code));
    return true;
}

} // namespace Xml
