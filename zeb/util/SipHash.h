#pragma once

// Util::SipHash: 64 bits of a short text, by a key of 16 bytes. With a secret and random key nobody outside
// can make texts that collide: take Digest4u8() for tables that strangers fill. For tables of one's own keys
// MurmurHash costs less.
//
//   char key[Util::SipHash::KEY_SIZE];      // of the table, made once
//   Random::Get(key, sizeof key);
//   unsigned long const slot = Util::SipHash::Digest4u8(key, name) % slots;
//
// Static; nothing allocates; any thread.

#include "zeb/core/Export.h"

class CBuffer;

namespace Util {

class ZEB_PUBLIC SipHash {
public:
    static constexpr unsigned long KEY_SIZE = 16;

    // SipHash-4-8: four rounds a word, eight at the end. The key is KEY_SIZE bytes, of any value.
    static unsigned long Digest4u8(char const* key, CBuffer const& data);

    // SipHash-2-4 with the fixed key "Sip-fixed-key-16": the same everywhere, and no protection.
    static unsigned long Digest2u4(CBuffer const& data);
};

} // namespace Util
