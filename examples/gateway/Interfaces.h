#pragma once

// What the gateway knows of its interfaces, followed through the events that tell of their changes.

#include "zeb/event/Delegate.h"
#include "zeb/event/InterfaceAddressEvents.h"
#include "zeb/event/InterfaceEvents.h"
#include "zeb/event/InterfaceLinkEvents.h"
#include "zeb/interface/Ip4TrackerBase.h"
#include "zeb/runtime/Mutex.h"

class Interfaces : private Network::Interface::Ip4TrackerBase {
public:
    static constexpr char const IDENT[] = "Interfaces";

    Interfaces()
        : Ip4TrackerBase(IDENT) {}
    ~Interfaces() override;

    // False if a subscription failed.
    bool Start();

    // Zero if there is none.
    Network::IpBlock Address(CString const& id) const;

private:
    // Handlers, with mutex_ held.
    void OnName_(Event::IfNameChanged const& event) { (void)OnIfNameChanged(event); }
    void OnAddress_(Event::IfIp4Changed const& event);
    void OnDestroyed_(Event::IfDestroyed const& event);
    void OnSpeed_(Event::IfLinkSpeedChanged const& event);

    // It guards the table of the base.
    Mutex mutex_{Mutex::INTERFACE};

    Event::Delegate<Interfaces> const onName_{IDENT, this, &Interfaces::OnName_, &mutex_};
    Event::Delegate<Interfaces> const onAddress_{IDENT, this, &Interfaces::OnAddress_, &mutex_};
    Event::Delegate<Interfaces> const onDestroyed_{IDENT, this, &Interfaces::OnDestroyed_, &mutex_};
    Event::Delegate<Interfaces> const onSpeed_{IDENT, this, &Interfaces::OnSpeed_, &mutex_};
};
