#pragma once

// UTF-8 in and out. Internal to this folder.

#include "zeb/doc/xml/Print.h"

namespace Xml {

class Writer;

inline constexpr uint32_t REPLACEMENT_CHARACTER = 0xFFFD;

struct Codepoint {
    uint32_t value;
    unsigned long size; // bytes consumed
};

// The code point at `text`, of which `left` bytes remain, at least one. Malformed input gives the replacement
// character and is skipped up to the next byte that is ASCII or may lead a sequence, or to the end.
Codepoint ParseCodepoint_(char const* text, unsigned long left);

// Control characters but tab, LF and CR become the replacement character. Of the flags PRINT_ASCII counts:
// code points from 128 up become numeric references with an even number of digits.
void PrintCodepoint_(Writer& writer, uint32_t value, PrintFlagsT flags);

// The code point, at most 0x1FFFFF, in 1 to 4 bytes at `to`; returns their number.
inline unsigned EncodeUtf8(char* to, uint32_t value) {
    if (value < 0x80) {
        to[0] = static_cast<char>(value);
        return 1;
    }
    unsigned const size = value < 0x800 ? 2 : value < 0x10000 ? 3 : 4;
    for (unsigned i = size - 1; i != 0; --i, value >>= 6)
        to[i] = static_cast<char>(0x80 | (value & 0x3F));
    to[0] = static_cast<char>((0xF00U >> size) | value);
    return size;
}

} // namespace Xml
