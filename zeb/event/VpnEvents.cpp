#include "zeb/event/VpnEvents.h"

namespace Event {

char const* IpSecCryptoMapChanged::Ident() const { return IDENT; }
Base* IpSecCryptoMapChanged::Clone_() const {
    return New_<IpSecCryptoMapChanged>(fields_.At<0>(), fields_.At<1>(), fields_.At<3>(), fields_.At<4>(),
                                       fields_.At<5>(), fields_.At<2>());
}

char const* VpnClient::Ident() const { return IDENT; }
Base* VpnClient::Clone_() const { return fields_.Clone<VpnClient>(); }

} // namespace Event
