#pragma once

// BlockDigest<RulesT>: what the digests over blocks of 64 bytes share. Use it through MD4, MD5, SHA1, SHA256
// and Whirlpool (each in the header of its name):
//
//   Util::SHA256 digest;
//   digest.Update(head, headSize);
//   digest.Update(text);
//   char text[Util::SHA256::TEXT_SIZE];
//   digest.TextDigest(text);
//
// They are for small inputs: names, keys of tables, forms of other programs. Whatever is large, and all that
// a key protects, belongs to OpenSSL (zeb/ssl), which uses the processor's own instructions. MD4, MD5 and
// SHA-1 do not resist an attacker, who can make two texts of one digest.
//
// A digest depends on the bytes alone, not on how they were cut. To take it changes nothing: more bytes may
// follow, and a copy of the object goes on by itself. Nothing allocates or fails. One thread at a time uses
// an object.

#include "zeb/core/CString.h"

#include <cstdint>

namespace Util {

// RulesT says: WordT and WORDS of the state, START, LENGTH_SIZE (bytes of the length behind the padding),
// ORDER of the bytes of words and length, and Absorb(state, blocks, count).
template<class RulesT>
class ZEB_PUBLIC BlockDigest {
public:
    static constexpr unsigned long BLOCK_SIZE = 64;
    static constexpr unsigned long DIGEST_SIZE = RulesT::WORDS * sizeof(typename RulesT::WordT);
    static constexpr unsigned long TEXT_SIZE = 2 * DIGEST_SIZE + 1;

    BlockDigest() { Reset(); }

    // Of nothing, as a new object.
    void Reset();

    void Update(void const* data, unsigned long size);
    void Update(CString const& text) { Update(text.Cstr(), text.Size()); }

    // DIGEST_SIZE bytes.
    void Digest(unsigned char* out) const;

    // In lower-case hexadecimal, with a NUL: TEXT_SIZE characters.
    void TextDigest(char* out) const;

private:
    typename RulesT::WordT state_[RulesT::WORDS];
    uint64_t size_; // bytes so far; those of the last block, if it is not full, are kept
    unsigned char block_[BLOCK_SIZE];
};

} // namespace Util
