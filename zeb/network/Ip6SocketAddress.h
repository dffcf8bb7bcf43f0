#pragma once

// Network::Ip6::SocketAddress: an IPv6 address with a port, kept as the kernel takes it. A plain value; as an
// argument of a log statement it counts as one.

#include "zeb/core/Log.h"
#include "zeb/network/Ip6Address.h"

class String;

namespace Network::Ip6 {

class ZEB_PUBLIC SocketAddress : public Log::Combo {
public:
    class Str;

    SocketAddress() { Clear(); }
    SocketAddress(Ip6::Address const& address, unsigned short port);

    // False, with the old value kept, unless family (and length) are those of IPv6.
    [[nodiscard]] bool Assign(sockaddr const& address, unsigned int length);
    [[nodiscard]] bool Assign(sockaddr_in6 const& address);

    void SetAddress(Ip6::Address const& address) { address_.sin6_addr = address.Data(); }
    void SetPort(unsigned short port) { address_.sin6_port = htons(port); }
    Ip6::Address Address() const { return address_.sin6_addr; }
    unsigned short Port() const { return ntohs(address_.sin6_port); }
    void Clear();

    sockaddr const& Sockaddr() const { return reinterpret_cast<sockaddr const&>(address_); }
    sockaddr_in6 const& SockaddrIn6() const { return address_; }
    static constexpr unsigned int Socklen() { return sizeof(sockaddr_in6); }

    // Over all bytes.
    bool operator==(SocketAddress const& other) const {
        return memcmp(&address_, &other.address_, sizeof(address_)) == 0;
    }

    // "[fe80::1]:80", without the scope. False if memory ran out.
    [[nodiscard]] bool AsString(String& out) const;
    void Draw(Log& log) const override;

private:
    sockaddr_in6 address_;
};

class ZEB_PUBLIC SocketAddress::Str : public AddressStr<INET6_ADDRSTRLEN + 8> {
public:
    explicit Str(SocketAddress const& address);
};

} // namespace Network::Ip6
