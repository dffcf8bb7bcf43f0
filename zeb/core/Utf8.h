#pragma once

// Code points as UTF-8. Internal to the documents.

#include <cstdint>

namespace Doc {

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

} // namespace Doc
