#pragma once

// An IPv6 address with a length in bits. CBlock is the base of the three meanings that this has: Block, an
// interface address with the length of its network; Prefix, the leading bits of a network; Suffix, the
// trailing bits of a host (Ip6Prefix.h). They differ in which bits must be zero. Plain values; no operation
// allocates or locks.

#include "zeb/network/Ip6Address.h"

namespace Network::Ip6 {

class ZEB_PUBLIC CBlock {
public:
    class Str;

    static constexpr unsigned int BITS = 128;

    CBlock() = default;
    CBlock(Address const& address, plen_t length)
        : address_(address)
        , length_(length) {}
    CBlock(CBlock const&) = default;
    CBlock& operator=(CBlock const&) = default;
    virtual ~CBlock() = default;

    static bool Initialized() { return true; }

    Address const& Addr() const { return address_; }
    plen_t Length() const { return length_; }
    in6_addr const& Data() const { return address_.Data(); }

    // With the first Length() bits set.
    Address Mask() const;
    // Equal in all bits of the mask.
    bool Has(Address const& address) const { return address_.Begins_(address, length_); }

    bool operator==(CBlock const& other) const {
        return length_ == other.length_ && address_ == other.address_;
    }

    bool IsZero() const { return length_ == 0 && address_.IsZero(); }
    bool IsHost() const { return length_ == HostMask(); }
    static constexpr plen_t HostMask() { return BITS; }

    static CBlock const& Zero();      // ::/0
    static CBlock const& LinkLocal(); // fe80::/10
    static CBlock const& SiteLocal(); // fc00::/7, which is not what Address::IsSiteLocal() tests

protected:
    // An address, "/" and a length of at most 128 without leading zeros; a plus sign ahead of it is skipped.
    // On false the value stays as it was.
    [[nodiscard]] bool Scan_(CString const& text);

    Address address_;
    plen_t length_ = 0;
};

// The address, "/" and the length.
class ZEB_PUBLIC CBlock::Str : public AddressStr<INET6_ADDRSTRLEN + 4> {
public:
    explicit Str(CBlock const& block);
};

class ZEB_PUBLIC Block : public CBlock {
public:
    Block() = default;
    Block(CBlock const& block)
        : CBlock(block) {}
    using CBlock::CBlock;

    // "fe80::1/64"; the address is kept as written. On false the block stays as it was.
    [[nodiscard]] bool Assign(CString const& text) { return Scan_(text); }
};

} // namespace Network::Ip6
