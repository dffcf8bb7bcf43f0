#pragma once

// Network::IpBlock: an IPv4 address and a mask. The address need not be the first of its subnet: a host
// inside its subnet is the common case. A plain value like IpAddress.

#include "zeb/network/IpMask.h"

namespace Network {

class ZEB_PUBLIC IpBlock {
public:
    class Str;

    constexpr IpBlock() = default;
    constexpr IpBlock(IpAddress const& address, IpMask const& mask)
        : address_(address)
        , mask_(mask) {}

    // "1.2.3.4/255.255.0.0" or "1.2.3.4/16"; the address is kept as written. On false the block stays as it
    // was. A length may have leading zeros and a plus sign.
    [[nodiscard]] bool Assign(CString const& text);

    IpAddress const& Address() const { return address_; }
    IpMask const& Mask() const { return mask_; }
    void Clear() { *this = IpBlock(); }

    static IpBlock const& Zero();
    static IpBlock const& Multicast(); // 224.0.0.0/4
    static IpBlock const& LinkLocal(); // 169.254.0.0/16

    IpAddress Broadcast() const { return address_ | mask_.Invert(); }
    IpAddress Subnet() const { return address_ & mask_; }
    void Normalize() { address_ = Subnet(); }

    bool Has(IpAddress const& address) const { return (address & mask_) == Subnet(); }
    // Either block has the first address of the other.
    bool Overlap(IpBlock const& other) const { return Has(other.Subnet()) || other.Has(Subnet()); }

    bool operator==(IpBlock const& other) const { return address_ == other.address_ && mask_ == other.mask_; }
    // By the addresses reduced by the shorter of the two masks; of equal ones the longer mask comes first.
    bool operator<(IpBlock const& other) const;

private:
    IpAddress address_;
    IpMask mask_;
};

// The address, "/" and the length of the mask.
class ZEB_PUBLIC IpBlock::Str : public AddressStr<INET_ADDRSTRLEN + 3> {
public:
    explicit Str(IpBlock const& block);
};

} // namespace Network
