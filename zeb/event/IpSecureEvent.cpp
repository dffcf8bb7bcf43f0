#include "zeb/event/IpSecureEvent.h"

#include "zeb/event/Fields.h"

namespace Event {

IpSecure::IpSecure(ActionT action, ProtocolT ikeProtocol, ModeT mode, CString const& uniqueName,
                   CString const& remoteEndpointId, CString const& localEndpointId,
                   Network::IpAddress const& remoteEndpoint, Network::IpAddress const& localEndpoint,
                   Network::TrafficSelector const& local, Network::TrafficSelector const& remote,
                   unsigned long ikeLifetime, unsigned long saLifetime, bool isAggressive, bool nailUp,
                   bool forceEncaps, Network::Interface::Secure::SecurityLevelT securityLevel,
                   Network::Interface::Supplicant::AuthT auth, unsigned long version,
                   CString const& preSharedKey, CString const& identity, CString const& password,
                   CString const& clientCaCert, unsigned long xfrmIndex, bool debug)
    : action_(action)
    , ikeProtocol_(ikeProtocol)
    , mode_(mode)
    , remoteEndpoint_(remoteEndpoint)
    , localEndpoint_(localEndpoint)
    , local_(local)
    , remote_(remote)
    , ikeLifetime_(ikeLifetime)
    , saLifetime_(saLifetime)
    , isAggressive_(isAggressive)
    , nailUp_(nailUp)
    , forceEncaps_(forceEncaps)
    , securityLevel_(securityLevel)
    , auth_(auth)
    , version_(version)
    , xfrmIndex_(xfrmIndex)
    , debug_(debug) {
    SetInitialized_(uniqueName_.Assign(uniqueName) && remoteEndpointId_.Assign(remoteEndpointId) &&
                    localEndpointId_.Assign(localEndpointId) && preSharedKey_.Assign(preSharedKey) &&
                    identity_.Assign(identity) && password_.Assign(password) &&
                    clientCaCert_.Assign(clientCaCert));
}

IpSecure::IpSecure(ActionT action, unsigned long version, CString const& name)
    : action_(action)
    , version_(version) {
    SetInitialized_(uniqueName_.Assign(name));
}

char const* IpSecure::Ident() const { return IDENT; }

Base* IpSecure::Clone_() const {
    return New_<IpSecure>(action_, ikeProtocol_, mode_, uniqueName_, remoteEndpointId_, localEndpointId_,
                          remoteEndpoint_, localEndpoint_, local_, remote_, ikeLifetime_, saLifetime_,
                          isAggressive_, nailUp_, forceEncaps_, securityLevel_, auth_, version_,
                          preSharedKey_, identity_, password_, clientCaCert_, xfrmIndex_, debug_);
}

} // namespace Event
