#pragma once

// Util::CRC32: the cyclic redundancy check of 32 bits of Ethernet, gzip and PNG: reflected, polynomial
// 0xEDB88320. It finds errors of transmission, and is no hash for tables or against attackers.
//
//   Util::CRC32 check;
//   check.Update(head, headSize);
//   check.Update(data, dataSize);             // the same as of both at once
//   if (check.Digest() != expected) ...
//
// To take the digest changes nothing: more bytes may follow. Nothing allocates or fails. One thread at a time
// uses an object; a table of the caller's is only read, and must live as long as the object.

#include "zeb/core/Export.h"

namespace Util {

class ZEB_PUBLIC CRC32 {
public:
    // Null is the usual check, that of libzeb, which uses what the processor has for it; else 256 entries,
    // the check of each byte, of another reflected polynomial. That costs a look-up for each byte, and is
    // many times slower.
    explicit CRC32(unsigned const* table = nullptr)
        : table_(table) {}

    void Reset() { state_ = START_; }
    void Update(void const* data, unsigned long size);
    unsigned Digest() const { return ~state_; }

private:
    static constexpr unsigned START_ = 0xFFFFFFFF;

    unsigned const* table_;
    unsigned state_ = START_;
};

} // namespace Util
