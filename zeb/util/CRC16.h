#pragma once

// Util::CRC16: the checksum of the internet protocols, the ones' complement sum of 16-bit words of RFC 1071.
// (It is no cyclic check, whatever its name.) It finds errors of transmission.
//
//   Util::CRC16 sum;
//   sum.Update(&header, sizeof header);         // with 0 in the field of the sum
//   header.sum = htons(sum.Digest());           // who receives it gets 0 as the digest of all that
//
// The bytes of all updates are one text: an odd byte at its end is the high half of a word whose low half is
// 0, and joins the next byte if more follow. To take the digest changes nothing. Nothing allocates or fails.
// One thread at a time uses an object.

#include "zeb/core/Export.h"

#include <bit>
#include <cstdint>
#include <cstring>

namespace Util {

class ZEB_PUBLIC CRC16 {
public:
    CRC16() = default;

    void Reset() { *this = CRC16(); }

    void Update(void const* data, unsigned long size) {
        if (odd_ || size >= BLOCK_SIZE_) return UpdateLong_(data, size);
        End_(sum_, static_cast<unsigned char const*>(data), size);
    }

    // As a number of the processor: 0x220D for the bytes 00 01 f2 03 f4 f5 f6 f7. htons() makes a field of
    // it.
    unsigned short Digest() const {
        auto const inverse = static_cast<uint16_t>(~Folded_(sum_));
        return IS_LITTLE_ ? __builtin_bswap16(inverse) : inverse;
    }

private:
    static constexpr bool IS_LITTLE_ = std::endian::native == std::endian::little;
    static constexpr unsigned long BLOCK_SIZE_ = 32;

    // The ones' complement sum, which wraps to 1. That of wide words has the same 16-bit words in it, and
    // folds to their sum.
    static uint64_t Sum_(uint64_t a, uint64_t b) {
        a += b;
        return a + (a < b ? 1 : 0);
    }

    // The sum of the halves of a word: the upper half of the word and itself, turned by a half.
    static uint32_t Folded_(uint64_t sum) { return static_cast<uint32_t>((sum + std::rotl(sum, 32)) >> 32); }
    static uint16_t Folded_(uint32_t sum) { return static_cast<uint16_t>((sum + std::rotl(sum, 16)) >> 16); }

    template<class WordT>
    static WordT Word_(unsigned char const* at) {
        WordT word;
        memcpy(&word, at, sizeof word);
        return word;
    }

    // Takes in less than a block.
    void End_(uint64_t sum, unsigned char const* at, unsigned long size) {
        if ((size & 16) != 0) sum = Sum_(Sum_(sum, Word_<uint64_t>(at)), Word_<uint64_t>(at + 8));
        if ((size & 8) != 0) sum = Sum_(sum, Word_<uint64_t>(at + (size & 16)));
        if ((size & 4) != 0) sum = Sum_(sum, Word_<uint32_t>(at + (size & 24)));
        if ((size & 2) != 0) sum = Sum_(sum, Word_<uint16_t>(at + (size & 28)));
        odd_ = (size & 1) != 0;
        if (odd_) sum = Sum_(sum, uint64_t{at[size - 1]} << (IS_LITTLE_ ? 0 : 8));
        sum_ = Folded_(sum);
    }
    void UpdateLong_(void const* data, unsigned long size);

    uint32_t sum_ = 0; // of words in the order of the processor
    bool odd_ = false; // the last word has its first byte alone
};

} // namespace Util
