#pragma once

// Network::SocketAddress: an IPv4 address with a port, kept as the kernel takes it. A plain value; as an
// argument of a log statement it counts as one.

#include "zeb/core/Log.h"
#include "zeb/network/IpAddress.h"

class String;

namespace Network {

class ZEB_PUBLIC SocketAddress : public Log::Combo {
public:
    class Str;

    SocketAddress() { Clear(); }
    SocketAddress(IpAddress const& address, unsigned short port);

    // False, with the old value kept, unless family (and length) are those of IPv4.
    [[nodiscard]] bool Assign(sockaddr const& address, unsigned int length);
    [[nodiscard]] bool Assign(sockaddr_in const& address);

    void SetAddress(IpAddress const& address) { address_.sin_addr = address.Inaddr(); }
    void SetPort(unsigned short port) { address_.sin_port = htons(port); }
    IpAddress Address() const { return address_.sin_addr; }
    unsigned short Port() const { return ntohs(address_.sin_port); }
    void Clear();

    sockaddr const& Sockaddr() const { return reinterpret_cast<sockaddr const&>(address_); }
    sockaddr_in const& SockaddrIn() const { return address_; }
    static constexpr unsigned int Socklen() { return sizeof(sockaddr_in); }

    // Over all bytes.
    bool operator==(SocketAddress const& other) const {
        return memcmp(&address_, &other.address_, sizeof(address_)) == 0;
    }

    // "1.2.3.4:80". False if memory ran out.
    [[nodiscard]] bool AsString(String& out) const;
    void Draw(Log& log) const override;

private:
    sockaddr_in address_;
};

class ZEB_PUBLIC SocketAddress::Str : public AddressStr<INET_ADDRSTRLEN + 6> {
public:
    explicit Str(SocketAddress const& address);
};

} // namespace Network
