#pragma once

// Prefix, the leading bits of a network, and Suffix, the trailing bits of a host: together they make an
// address, as in prefix delegation. Plain values; no operation allocates or locks.

#include "zeb/network/Ip6Block.h"

namespace Network::Ip6 {

class Suffix;

// All bits from Length() on are zero.
class ZEB_PUBLIC Prefix : public CBlock {
public:
    Prefix() = default;
    // Clear the bits behind the length.
    Prefix(CBlock const& block)
        : CBlock(block) {
        Normalize_();
    }
    Prefix(Address const& address, plen_t length)
        : CBlock(address, length) {
        Normalize_();
    }

    static Prefix const& Zero();

    // As Block::Assign; a text with bits behind its length is refused.
    [[nodiscard]] bool Assign(CString const& text);
    void Clear() { *this = Prefix(); }

    // Puts the low `count` bits of the number behind the prefix. False, with nothing changed, when the length
    // would pass 128, `count` is above 64, or the number has further bits.
    [[nodiscard]] bool Append(unsigned long bits, unsigned char count);
    // Lengthens by zero bits. False above 128.
    [[nodiscard]] bool Extend(unsigned char count);
    // Cuts, or lengthens by zero bits. False above 128.
    [[nodiscard]] bool Resize(unsigned char length);

    // For a table of prefixes: by label, then by address, then the shorter first, both being cut to the
    // longer of the two lengths.
    bool operator<(Prefix const& other) const;

    // The prefix with the bits of the suffix behind it. False, with `out` unchanged, if the two have more
    // than 128 bits together.
    [[nodiscard]] bool Combine(Suffix const& suffix, Address& out) const;

private:
    [[nodiscard]] bool Resize_(unsigned int length);
    void Normalize_() { address_.ClearBits_(length_, BITS); }
};

// All bits but the last Length() are zero.
class ZEB_PUBLIC Suffix : public CBlock {
public:
    Suffix() = default;
    // Clear the bits ahead of the suffix.
    Suffix(CBlock const& block)
        : CBlock(block) {
        Normalize_();
    }
    Suffix(Address const& address, plen_t length)
        : CBlock(address, length) {
        Normalize_();
    }

    // As Block::Assign; a text with bits ahead of its suffix is refused.
    [[nodiscard]] bool Assign(CString const& text);

    static bool IsSuffix(CBlock const& block) { return block == Suffix(block); }

private:
    void Normalize_() { address_.ClearBits_(0, length_ < BITS ? BITS - length_ : 0); }
};

// The bits from the length on are zero.
ZEB_PUBLIC bool IsPrefix(CBlock const& block);
// The address begins with the prefix.
ZEB_PUBLIC bool Match(Address const& address, Prefix const& prefix);
// One of the two contains the other.
ZEB_PUBLIC bool HasConflict(Prefix const& a, Prefix const& b);

} // namespace Network::Ip6
