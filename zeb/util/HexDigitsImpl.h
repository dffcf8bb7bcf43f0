#pragma once

// The text form of the digests.

namespace Util {

// Two digits a byte, in lower case, and a NUL.
inline void HexDigits(char* out, unsigned char const* data, unsigned long size) {
    for (unsigned long i = 0; i < size; ++i) {
        *out++ = "0123456789abcdef"[data[i] >> 4];
        *out++ = "0123456789abcdef"[data[i] & 0xF];
    }
    *out = '\0';
}

} // namespace Util
