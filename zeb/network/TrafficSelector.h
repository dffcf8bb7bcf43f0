#pragma once

// Network::TrafficSelector: which traffic is meant: a network, a protocol and a range of ports. A plain
// value.

#include "zeb/network/IpBlock.h"

namespace Netfilter {
// A protocol number of the client programs; 0 is any.
using ProtoT = uint32_t;
} // namespace Netfilter

namespace Network {

class ZEB_PUBLIC TrafficSelector {
public:
    constexpr TrafficSelector() = default;
    TrafficSelector(IpBlock const& network, Netfilter::ProtoT const& protocol = 0, unsigned short first = 0,
                    unsigned short last = 0)
        : network_(network)
        , protocol_(protocol)
        , portStart_(first)
        , portEnd_(last) {}

    static TrafficSelector const& Zero();

    void Clear() { *this = TrafficSelector(); }
    void SetNetwork(IpBlock const& network) { network_ = network; }
    void SetProtocol(Netfilter::ProtoT const& protocol) { protocol_ = protocol; }
    void SetPorts(unsigned short first, unsigned short last) {
        portStart_ = first;
        portEnd_ = last;
    }

    IpBlock const& Network() const { return network_; }
    Netfilter::ProtoT Protocol() const { return protocol_; }
    unsigned short PortStart() const { return portStart_; }
    unsigned short PortEnd() const { return portEnd_; }

    bool IsZero() const {
        return network_ == IpBlock::Zero() && protocol_ == 0 && portStart_ == 0 && portEnd_ == 0;
    }

private:
    IpBlock network_;
    Netfilter::ProtoT protocol_ = 0;
    unsigned short portStart_ = 0;
    unsigned short portEnd_ = 0;
};

} // namespace Network
