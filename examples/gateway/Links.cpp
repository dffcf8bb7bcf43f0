#include "Links.h"

#include "zeb/core/CString.h"
#include "zeb/core/Time.h"
#include "zeb/event/Bus.h"
#include "zeb/event/InterfaceAddressEvents.h"
#include "zeb/event/InterfaceEvents.h"
#include "zeb/event/InterfaceLinkEvents.h"

#include <cstring>

namespace {

constexpr unsigned long PRIORITY = 0; // the gateway does not rank its interfaces

bool Raise(Event::Base const& event) { return Event::Raise(event, nullptr, Event::ASYNC, Event::DIRECT); }

bool Has(Sample const& sample, char const* name) {
    for (InterfaceSample const& interface : sample.interfaces) {
        if (strcmp(interface.name, name) == 0) return true;
    }
    return false;
}

} // namespace

Links::Link* Links::Find_(InterfaceSample const& interface) {
    for (Link& link : links_) {
        if (strcmp(link.name, interface.name) == 0) return &link;
    }
    return nullptr;
}

void Links::Tell(Sample const& sample) {
    TellVanished_(sample);
    for (InterfaceSample const& interface : sample.interfaces) {
        Link* const known = Find_(interface);
        Link* const link = known != nullptr ? known : TellNew_(interface);
        if (link == nullptr) continue;
        CString const name(link->name);
        if (link->speed != interface.speed &&
            Raise(Event::IfLinkSpeedChanged(name, interface.speed, interface.speed)))
            link->speed = interface.speed;
        if (!(link->address == interface.address)) TellAddress_(*link, interface.address);
    }
}

// One that is gone is told by what it was.
void Links::TellAddress_(Link& link, Network::IpBlock const& address) {
    using EventT = Event::IfIp4Changed;
    CString const name(link.name);
    bool const isGone = address.Address().IsZero();
    if (Raise(EventT(name, name, name, isGone ? link.address : address, EventT::STATIC, EventT::PRIMARY,
                     isGone ? EventT::REMOVED : EventT::SET, PRIORITY, link.created)))
        link.address = address;
}

void Links::TellVanished_(Sample const& sample) {
    for (unsigned long i = links_.Size(); i-- != 0;) {
        CString const name(links_[i].name);
        if (!Has(sample, links_[i].name) &&
            Raise(Event::IfDestroyed(name, name, CString::Nil(), links_[i].created)))
            links_.Remove(i);
    }
}

Links::Link* Links::TellNew_(InterfaceSample const& interface) {
    Link link{};
    memcpy(link.name, interface.name, sizeof(link.name));
    link.created = Time::Monotonic();
    CString const name(link.name);
    if (!Raise(Event::IfNameChanged(name, name, name, link.created)) || !links_.PushBack(link))
        return nullptr;
    return &links_[links_.Size() - 1];
}
