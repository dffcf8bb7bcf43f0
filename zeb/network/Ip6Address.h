#pragma once

// Network::Ip6::Address: an IPv6 address. A plain value, copied freely; no operation allocates or locks.

#include "zeb/core/Export.h"
#include "zeb/network/AddressStr.h"

#include <cstdint>
#include <netinet/in.h>

namespace Network::Ip6 {

// The length of a prefix, block or suffix in bits.
using plen_t = uint8_t;

// Where an address came from.
enum ProtoT : uint32_t {
    PROTO_STATIC = 1,
    PROTO_DHCP = 2,
    PROTO_SLAAC = 3,
    PROTO_PRIVACY = 4,
    PROTO_KERNEL = 5,
};

// The results and texts of inet_pton (1 for an address, else 0) and inet_ntop. The text of Sscan6 has the
// length `size`, at most 45; the buffer of Sprint6 has INET6_ADDRSTRLEN bytes, and its result is the length.
[[nodiscard]] ZEB_PUBLIC int Sscan6(char const* text, unsigned long size, in6_addr* out);
ZEB_PUBLIC unsigned long Sprint6(char* buffer, in6_addr const* address);

class ZEB_PUBLIC Address {
public:
    class Str;

    static constexpr unsigned long SIZE = 16;

    Address() = default;
    Address(in6_addr const& address)
        : address_(address) {}
    Address(Address const&) = default;
    Address& operator=(Address const&) = default;
    virtual ~Address() = default;

    static bool Initialized() { return true; }

    // The ordinary text form, or 32 hexadecimal digits without colons. On false the old value stays.
    [[nodiscard]] bool Assign(CString const& text);

    in6_addr const& Data() const { return address_; }
    in6_addr& Data() { return address_; }
    unsigned char operator[](unsigned long index) const { return address_.s6_addr[index]; }
    void Clear() { address_ = {}; }

    static Address const& Zero();
    static Address const& Loopback();
    static Address const& AllNodes(); // ff02::1

    bool operator==(Address const& other) const { return Compare_(other) == 0; }
    bool operator<(Address const& other) const { return Compare_(other) < 0; }
    bool operator>(Address const& other) const { return Compare_(other) > 0; }

    bool IsZero() const { return *this == Zero(); }
    bool IsLoopBack() const { return *this == Loopback(); }
    bool IsLinkLocal() const;        // fe80::/10
    bool IsSiteLocal() const;        // fec0::/10
    bool IsMulticast() const;        // ff00::/8
    bool IsIpv4Mapped() const;       // ::ffff:0:0/96
    bool IsIpv4v6Translated() const; // 64:ff9b::/96
    bool IsDiscardOnly() const;      // 100::/64

    // The label for the choice of source and destination (RFC 6724, section 2.1).
    unsigned int Label() const;

    // ff02::1:ff00:0 with the last three bytes of this address.
    Address SolicitedMulticast() const;

    // "STATIC", "DHCP" and so on; empty for any other number.
    static CString const& ProtoName(ProtoT const& proto);

    // The bits from `first` up to, not including, `end` become zero.
    void ClearBits_(unsigned int first, unsigned int end);
    // The first `length` bits are those of the other.
    bool Begins_(Address const& other, unsigned int length) const;

private:
    int Compare_(Address const& other) const { return memcmp(&address_, &other.address_, SIZE); }

    in6_addr address_{};
};

class ZEB_PUBLIC Address::Str : public AddressStr<INET6_ADDRSTRLEN> {
public:
    explicit Str(Address const& address);
};

} // namespace Network::Ip6
