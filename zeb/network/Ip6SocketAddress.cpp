#include "zeb/network/Ip6SocketAddress.h"

#include "zeb/core/Digits.h"
#include "zeb/core/String.h"
#include "zeb/network/AddressText.h"

namespace Network::Ip6 {

SocketAddress::SocketAddress(Ip6::Address const& address, unsigned short port)
    : SocketAddress() {
    SetAddress(address);
    SetPort(port);
}

bool SocketAddress::Assign(sockaddr const& address, unsigned int length) {
    if (length != Socklen()) return false;
    sockaddr_in6 inet;
    memcpy(static_cast<void*>(&inet), &address, sizeof(inet));
    return Assign(inet);
}

bool SocketAddress::Assign(sockaddr_in6 const& address) {
    if (address.sin6_family != AF_INET6) return false;
    address_ = address;
    return true;
}

void SocketAddress::Clear() {
    memset(&address_, 0, sizeof(address_));
    address_.sin6_family = AF_INET6;
}

bool SocketAddress::AsString(String& out) const { return out.Assign(Str(*this)); }

void SocketAddress::Draw(Log& log) const {
    log << '[' << Log::GLUE << Ip6::Address::Str(Address()) << Log::GLUE << "]:" << Log::GLUE << Port();
}

SocketAddress::Str::Str(SocketAddress const& address) {
    text_[0] = '[';
    char* end = PrintIp6(text_ + 1, address.address_.sin6_addr);
    *end++ = ']';
    *end++ = ':';
    End_(Digits::PrintDecimal(end, address.Port()));
}

} // namespace Network::Ip6
