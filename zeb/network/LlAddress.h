#pragma once

// Network::LlAddress: a link-layer address for packet sockets: interface, protocol and hardware address, kept
// as the kernel takes it. A plain value.

#include "zeb/network/MacAddress.h"

#include <linux/if_ether.h>
#include <linux/if_packet.h>

namespace Network {

class ZEB_PUBLIC LlAddress {
public:
    // The types of Ethernet frames, in host order.
    enum ProtocolT : unsigned short {
        PROTOCOL_NONE = 0,
        PROTOCOL_ALL = ETH_P_ALL,
        PROTOCOL_IP = ETH_P_IP,
        PROTOCOL_ARP = ETH_P_ARP,
        PROTOCOL_IPV6 = ETH_P_IPV6,
    };

    LlAddress() { Clear(); }
    LlAddress(MacAddress const& address);

    // Of the packet family only.
    [[nodiscard]] bool Assign(sockaddr_ll const& address);
    void SetMacAddress(MacAddress const& address);
    void SetProtocol(ProtocolT protocol);
    void SetIfIndex(int index) { address_.sll_ifindex = index; }

    sockaddr_ll const& LlAddr() const { return address_; }
    sockaddr const& Sockaddr() const { return reinterpret_cast<sockaddr const&>(address_); }

    void Clear();

    // Over all bytes.
    bool operator==(LlAddress const& other) const {
        return memcmp(&address_, &other.address_, sizeof(address_)) == 0;
    }

private:
    sockaddr_ll address_;
};

static_assert(sizeof(LlAddress) == 20);

} // namespace Network
