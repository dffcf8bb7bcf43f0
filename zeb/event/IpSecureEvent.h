#pragma once

// Event::IpSecure: the description of a security association, for the program that keeps the IPsec tunnels of
// the device, and what it is to do with it.

#include "zeb/core/String.h"
#include "zeb/event/Base.h"
#include "zeb/network/InterfaceSecurity.h"
#include "zeb/network/TrafficSelector.h"

namespace Event {

class ZEB_PUBLIC IpSecure : public Base {
public:
    static constexpr char IDENT[] = "Event::Type::IpSecure";

    enum ActionT : uint32_t { ADD = 0, REMOVE = 1, UP = 2, DOWN = 3 };
    enum ProtocolT : uint32_t { IKE_V1 = 0, IKE_V2 = 1 };
    enum ModeT : uint32_t { TUNNEL = 0, TRANSPORT = 1 };

    // Lifetimes in seconds.
    IpSecure(ActionT action, ProtocolT ikeProtocol, ModeT mode, CString const& uniqueName,
             CString const& remoteEndpointId, CString const& localEndpointId,
             Network::IpAddress const& remoteEndpoint, Network::IpAddress const& localEndpoint,
             Network::TrafficSelector const& local, Network::TrafficSelector const& remote,
             unsigned long ikeLifetime, unsigned long saLifetime, bool isAggressive, bool nailUp,
             bool forceEncaps, Network::Interface::Secure::SecurityLevelT securityLevel,
             Network::Interface::Supplicant::AuthT auth, unsigned long version, CString const& preSharedKey,
             CString const& identity, CString const& password, CString const& clientCaCert,
             unsigned long xfrmIndex, bool debug);

    // Names an association, for an action on it. All else is empty or zero, and the security level is strong.
    IpSecure(ActionT action, unsigned long version, CString const& name);

    char const* Ident() const override;

    ActionT Action() const { return action_; }
    ProtocolT IkeProtocol() const { return ikeProtocol_; }
    ModeT Mode() const { return mode_; }
    String const& UniqueName() const { return uniqueName_; }
    String const& RemoteEndpointId() const { return remoteEndpointId_; }
    Network::IpAddress const& RemoteEndpoint() const { return remoteEndpoint_; }
    Network::IpAddress const& LocalEndpoint() const { return localEndpoint_; }
    String const& LocalEndpointId() const { return localEndpointId_; }
    Network::TrafficSelector const& Local() const { return local_; }
    Network::TrafficSelector const& Remote() const { return remote_; }
    unsigned long IkeLifetime() const { return ikeLifetime_; }
    unsigned long SaLifetime() const { return saLifetime_; }
    bool IsAggressive() const { return isAggressive_; }
    bool NailUp() const { return nailUp_; }
    bool ForceEncaps() const { return forceEncaps_; }
    Network::Interface::Secure::SecurityLevelT SecurityLevel() const { return securityLevel_; }
    Network::Interface::Supplicant::AuthT Auth() const { return auth_; }
    unsigned long Version() const { return version_; }
    String const& PreSharedKey() const { return preSharedKey_; }
    String const& Password() const { return password_; }
    String const& ClientCaCert() const { return clientCaCert_; }
    unsigned long XfrmIndex() const { return xfrmIndex_; }
    bool Debug() const { return debug_; }

private:
    Base* Clone_() const override;

    ActionT action_;
    ProtocolT ikeProtocol_ = IKE_V1;
    ModeT mode_ = TUNNEL;
    String uniqueName_;
    String remoteEndpointId_;
    Network::IpAddress remoteEndpoint_;
    Network::IpAddress localEndpoint_;
    String localEndpointId_;
    Network::TrafficSelector local_;
    Network::TrafficSelector remote_;
    unsigned long ikeLifetime_ = 0;
    unsigned long saLifetime_ = 0;
    bool isAggressive_ = false;
    bool nailUp_ = false;
    bool forceEncaps_ = false;
    Network::Interface::Secure::SecurityLevelT securityLevel_ = Network::Interface::Secure::STRONG;
    Network::Interface::Supplicant::AuthT auth_ = Network::Interface::Supplicant::NONE;
    unsigned long version_;
    String preSharedKey_;
    String identity_;
    String password_;
    String clientCaCert_;
    unsigned long xfrmIndex_ = 0;
    bool debug_ = false;
};

} // namespace Event
