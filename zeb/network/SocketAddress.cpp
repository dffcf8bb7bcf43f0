#include "zeb/network/SocketAddress.h"

#include "zeb/core/Digits.h"
#include "zeb/core/String.h"
#include "zeb/network/AddressText.h"

namespace Network {

SocketAddress::SocketAddress(IpAddress const& address, unsigned short port)
    : SocketAddress() {
    SetAddress(address);
    SetPort(port);
}

bool SocketAddress::Assign(sockaddr const& address, unsigned int length) {
    if (length != Socklen()) return false;
    sockaddr_in inet;
    memcpy(&inet, &address, sizeof(inet));
    return Assign(inet);
}

bool SocketAddress::Assign(sockaddr_in const& address) {
    if (address.sin_family != AF_INET) return false;
    address_ = address;
    return true;
}

void SocketAddress::Clear() {
    memset(&address_, 0, sizeof(address_));
    address_.sin_family = AF_INET;
}

bool SocketAddress::AsString(String& out) const { return out.Assign(Str(*this)); }

void SocketAddress::Draw(Log& log) const {
    log << IpAddress::Str(Address()) << Log::GLUE << ':' << Log::GLUE << Port();
}

SocketAddress::Str::Str(SocketAddress const& address) {
    char* end = PrintIp4(text_, address.address_.sin_addr);
    *end++ = ':';
    End_(Digits::PrintDecimal(end, address.Port()));
}

} // namespace Network
