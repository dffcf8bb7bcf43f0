#pragma once

// Util::CRC16: the checksum of the internet protocols, the ones' complement sum of 16-bit words of RFC 1071.
// (It is no cyclic check, whatever its name.) It finds errors of transmission.
//
// The bytes of all updates are one text: an odd byte at its end is the high half of a word whose low half is
// 0, and joins the next byte if more follow. To take the digest changes nothing. Nothing allocates or fails.
// One thread at a time uses an object.

#include "zeb/core/Export.h"

#include <cstdint>

namespace Util {

class ZEB_PUBLIC CRC16 {
public:
    CRC16() = default;

    void Reset() { *this = CRC16(); }
    void Update(void const* data, unsigned long size);

    // As a number of the processor: 0x220D for the bytes 00 01 f2 03 f4 f5 f6 f7. htons() makes a field of
    // it.
    unsigned short Digest() const;

private:
    void AddWord_(uint32_t word);

    uint32_t sum_ = 0; // of words in the order of the processor
    bool odd_ = false; // the last word has its first byte alone
};

} // namespace Util
