#include "zeb/network/LlAddress.h"

#include <netinet/in.h>

namespace Network {

LlAddress::LlAddress(MacAddress const& address)
    : LlAddress() {
    SetMacAddress(address);
}

bool LlAddress::Assign(sockaddr_ll const& address) {
    if (address.sll_family != AF_PACKET) return false;
    address_ = address;
    return true;
}

void LlAddress::SetMacAddress(MacAddress const& address) {
    memcpy(address_.sll_addr, address.Bytes(), MacAddress::SIZE);
    address_.sll_halen = MacAddress::SIZE;
}

void LlAddress::SetProtocol(ProtocolT protocol) { address_.sll_protocol = htons(protocol); }

void LlAddress::Clear() {
    memset(&address_, 0, sizeof(address_));
    address_.sll_family = AF_PACKET;
}

} // namespace Network
