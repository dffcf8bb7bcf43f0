#include "zeb/event/WanEvents.h"

#include "zeb/doc/xml/Document.h"

namespace Event {

char const* IpWan::Ident() const { return IDENT; }
Base* IpWan::Clone_() const { return fields_.Clone<IpWan>(); }

bool IpWan::PrintXmlBody_(Xml::Node& event) const {
    event.AppendElement("id", Id());
    event.AppendElement("name", Name());
    event.AppendElement("system-name", SystemName());
    event.AppendElement("system-index", SystemIndex());
    event.AppendElement("state", State() == UP ? "up" : "down");
    event.AppendElement("order", Order());
    event.AppendElement("current-id", CurrentId());
    event.AppendElement("current-name", CurrentName());
    event.AppendElement("current-system-name", CurrentSystemName());
    event.AppendElement("current-system-index", CurrentSystemIndex());
    event.AppendElement("current-priority", CurrentPriority());
    event.AppendElement("current-ip-address", Network::IpAddress::Str(CurrentIpAddress()));
    event.AppendElement("current-default-gateway", Network::IpAddress::Str(CurrentDefaultGateway()));
    return event.Doc()->Valid();
}

char const* Ip6Wan::Ident() const { return IDENT; }
Base* Ip6Wan::Clone_() const { return fields_.Clone<Ip6Wan>(); }

char const* IpCaptivePortal::Ident() const { return IDENT; }
Base* IpCaptivePortal::Clone_() const { return fields_.Clone<IpCaptivePortal>(); }

char const* Internet::Ident() const { return IDENT; }
Base* Internet::Clone_() const { return fields_.Clone<Internet>(); }

char const* PingCheck::Ident() const { return IDENT; }
Base* PingCheck::Clone_() const { return fields_.Clone<PingCheck>(); }

char const* PingCheckBackup::Ident() const { return IDENT; }
Base* PingCheckBackup::Clone_() const { return fields_.Clone<PingCheckBackup>(); }

} // namespace Event
