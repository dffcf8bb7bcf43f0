#pragma once

// UTF-8 in and out. Internal to this folder.

#include "zeb/core/Utf8.h"
#include "zeb/doc/xml/Print.h"

namespace Doc {
class Writer;
}

namespace Xml {

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
void PrintCodepoint_(Doc::Writer& writer, uint32_t value, PrintFlagsT flags);

} // namespace Xml
