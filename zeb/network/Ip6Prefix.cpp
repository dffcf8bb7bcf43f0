#include "zeb/network/Ip6Prefix.h"

namespace Network::Ip6 {

namespace {

constexpr unsigned int MAX_APPEND = 64;

} // namespace

Prefix const& Prefix::Zero() {
    static Prefix const zero;
    return zero;
}

bool Prefix::Assign(CString const& text) {
    Block block;
    if (!block.Assign(text) || !IsPrefix(block)) return false;
    *this = Prefix(block);
    return true;
}

bool Prefix::Append(unsigned long bits, unsigned char count) {
    if (count > MAX_APPEND || (count < MAX_APPEND && bits >> count != 0)) return false;
    unsigned int const end = length_ + count;
    if (end > BITS) return false;
    for (unsigned int bit = end; bits != 0; bits >>= 1) {
        --bit;
        if (bits & 1) address_.Data().s6_addr[bit / 8] |= static_cast<uint8_t>(0x80U >> bit % 8);
    }
    length_ = static_cast<plen_t>(end);
    return true;
}

bool Prefix::Extend(unsigned char count) { return Resize_(unsigned{length_} + count); }

bool Prefix::Resize(unsigned char length) { return Resize_(length); }

bool Prefix::Resize_(unsigned int length) {
    if (length > BITS) return false;
    length_ = static_cast<plen_t>(length);
    Normalize_();
    return true;
}

bool Prefix::operator<(Prefix const& other) const {
    unsigned int const mine = Addr().Label();
    unsigned int const others = other.Addr().Label();
    if (mine != others) return mine < others;
    if (Addr() == other.Addr()) return Length() < other.Length();
    return Addr() < other.Addr();
}

bool Prefix::Combine(Suffix const& suffix, Address& out) const {
    if (unsigned{length_} + suffix.Length() > BITS) return false;
    in6_addr combined = Data();
    for (unsigned long i = 0; i < Address::SIZE; ++i)
        combined.s6_addr[i] |= suffix.Data().s6_addr[i];
    out = combined;
    return true;
}

bool Suffix::Assign(CString const& text) {
    Block block;
    if (!block.Assign(text) || !IsSuffix(block)) return false;
    *this = Suffix(block);
    return true;
}

bool IsPrefix(CBlock const& block) { return block == Prefix(block); }

bool Match(Address const& address, Prefix const& prefix) {
    return Prefix(address, prefix.Length()) == prefix;
}

bool HasConflict(Prefix const& a, Prefix const& b) { return Match(a.Addr(), b) || Match(b.Addr(), a); }

} // namespace Network::Ip6
