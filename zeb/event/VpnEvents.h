#pragma once

// Virtual private networks. The security associations of IPsec have a file of their own, IpSecureEvent.h.

#include "zeb/core/SharedTypes.h"
#include "zeb/core/String.h"
#include "zeb/event/Fields.h"
#include "zeb/network/IpBlock.h"

namespace Event {

// A crypto map of IPsec has come up or gone down.
class ZEB_PUBLIC IpSecCryptoMapChanged : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::IpSecCryptoMapChanged";

    IpSecCryptoMapChanged(CString const& mapName, bool isUp, Network::IpAddress const& remotePeer,
                          Network::IpBlock const& internalRemote, Network::IpAddress const& dnsAddr,
                          unsigned long revision) {
        SetInitialized_(fields_.Assign(mapName, isUp, revision, remotePeer, internalRemote, dnsAddr));
    }

    char const* Ident() const override;

    String const& MapName() const { return fields_.At<0>(); }
    bool IsUp() const { return fields_.At<1>(); }
    unsigned long Revision() const { return fields_.At<2>(); }
    Network::IpAddress const& RemotePeer() const { return fields_.At<3>(); }
    Network::IpBlock const& InternalRemote() const { return fields_.At<4>(); }
    Network::IpAddress const& DnsAddr() const { return fields_.At<5>(); }
    bool IsDown() const { return !IsUp(); }

private:
    Base* Clone_() const override;

    Fields<String, bool, unsigned long, Network::IpAddress, Network::IpBlock, Network::IpAddress> fields_;
};

// A client of a VPN server has connected or left.
class ZEB_PUBLIC VpnClient : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::VpnClient";

    VpnClient(CString const& serverId, Conn4T connected4, CString const& user, Network::IpAddress const& ip,
              CString const& systemInterface, CString const& segmentId) {
        SetInitialized_(fields_.Assign(serverId, connected4, user, ip, systemInterface, segmentId));
    }

    char const* Ident() const override;

    String const& ServerId() const { return fields_.At<0>(); }
    Conn4T IsConnected4() const { return fields_.At<1>(); }
    String const& User() const { return fields_.At<2>(); }
    Network::IpAddress const& Ip() const { return fields_.At<3>(); }
    String const& SystemInterface() const { return fields_.At<4>(); }
    String const& SegmentId() const { return fields_.At<5>(); }

private:
    Base* Clone_() const override;

    Fields<String, Conn4T, String, Network::IpAddress, String, String> fields_;
};

} // namespace Event
