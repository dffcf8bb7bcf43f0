#include "zeb/event/HostEvents.h"

#include "zeb/doc/xml/Document.h"
#include "zeb/event/Words.h"

namespace Event {

char const* Host::Ident() const { return IDENT; }
Base* Host::Clone_() const { return fields_.Clone<Host>(); }

char const* KnownHost::Ident() const { return IDENT; }
Base* KnownHost::Clone_() const { return fields_.Clone<KnownHost>(); }

bool KnownHost::PrintXmlBody_(Xml::Node& event) const {
    static constexpr char const* ACTIONS[] = {"set", "removed", "cleared"};
    event.AppendElement("mac", Network::MacAddress::Str(Mac()));
    event.AppendElement("action", Word_(Action(), ACTIONS));
    event.AppendElement("old-name", OldName());
    event.AppendElement("new-name", NewName());
    return event.Doc()->Valid();
}

char const* Neighbour::Ident() const { return IDENT; }
Base* Neighbour::Clone_() const { return fields_.Clone<Neighbour>(); }

bool Neighbour::PrintXmlBody_(Xml::Node& event) const {
    static constexpr char const* ACTIONS[] = {"new", "update", "delete"};
    static constexpr char const* UPDATES[] = {"none", "mac", "wireless", "unknown", "info"};
    static constexpr char const* ADDRESSES[] = {"ip", "ip6"};
    event.AppendElement("action", Word_(Action(), ACTIONS));
    event.AppendElement("update", Word_(Update(), UPDATES));
    event.AppendElement("address-type", Word_(AddressType(), ADDRESSES));
    event.AppendElement("known-host", KnownHost());
    event.AppendElement("mac", Network::MacAddress::Str(Mac()));
    event.AppendElement("entry-id", EntryId());
    return event.Doc()->Valid();
}

char const* HostPolicy::Ident() const { return IDENT; }
Base* HostPolicy::Clone_() const {
    return New_<HostPolicy>(fields_.At<1>(), fields_.At<2>(), fields_.At<0>());
}

char const* HostPriorityChanged::Ident() const { return IDENT; }
Base* HostPriorityChanged::Clone_() const { return fields_.Clone<HostPriorityChanged>(); }

char const* TrafficShapeHost::Ident() const { return IDENT; }
Base* TrafficShapeHost::Clone_() const { return fields_.Clone<TrafficShapeHost>(); }

char const* ChilliHost::Ident() const { return IDENT; }
Base* ChilliHost::Clone_() const { return fields_.Clone<ChilliHost>(); }

} // namespace Event
