#include "zeb/event/FilterEvents.h"

namespace Event {

char const* Acl::Ident() const { return IDENT; }
Base* Acl::Clone_() const { return fields_.Clone<Acl>(); }

char const* Acl6::Ident() const { return IDENT; }
Base* Acl6::Clone_() const { return fields_.Clone<Acl6>(); }

char const* IpSet::Ident() const { return IDENT; }
Base* IpSet::Clone_() const { return fields_.Clone<IpSet>(); }

char const* ObjectGroup::Ident() const { return IDENT; }
Base* ObjectGroup::Clone_() const { return fields_.Clone<ObjectGroup>(); }

char const* NetfilterUpdated::Ident() const { return IDENT; }
Base* NetfilterUpdated::Clone_() const { return New_<NetfilterUpdated>(fields_.At<1>(), fields_.At<0>()); }

char const* Port::Ident() const { return IDENT; }
Base* Port::Clone_() const {
    return New_<Port>(fields_.At<0>(), fields_.At<1>(), fields_.At<3>(), fields_.At<2>(), fields_.At<4>(),
                      fields_.At<5>());
}

char const* SecurityLevelChanged::Ident() const { return IDENT; }
Base* SecurityLevelChanged::Clone_() const {
    return New_<SecurityLevelChanged>(fields_.At<1>(), fields_.At<0>());
}

Ppe::Ppe(AddressT addressType, TypeT type, ActionT action)
    : addressType_(addressType)
    , type_(type)
    , action_(action) {}

Ppe::Ppe(TypeT type, ActionT action)
    : Ppe(NONE, type, action) {}

Ppe::Ppe(Network::IpBlock const& address, TypeT type, ActionT action)
    : Ppe(IP, type, action) {
    address_ = address;
}

Ppe::Ppe(Network::Ip6::CBlock const& address, TypeT type, ActionT action)
    : Ppe(IP6, type, action) {
    address6_ = address;
}

Ppe::Ppe(Network::MacAddress const& mac, TypeT type, ActionT action)
    : Ppe(MAC, type, action) {
    mac_ = mac;
}

char const* Ppe::Ident() const { return IDENT; }

Base* Ppe::Clone_() const {
    switch (AddressType()) {
    case IP:
        return New_<Ppe>(Address(), Type(), Action());
    case IP6:
        return New_<Ppe>(Address6(), Type(), Action());
    case MAC:
        return New_<Ppe>(Mac(), Type(), Action());
    default:
        return New_<Ppe>(AddressType(), Type(), Action());
    }
}

} // namespace Event
