#include "Interfaces.h"

#include "zeb/core/Log.h"
#include "zeb/event/Bus.h"

Interfaces::~Interfaces() { Event::Unsubscribe(CString::Nil(), this, IDENT); }

bool Interfaces::Start() {
    return Initialized() && Event::Subscribe("Event::Type::IfNameChanged", onName_) &&
           Event::Subscribe("Event::Type::IfIp4Changed", onAddress_) &&
           Event::Subscribe("Event::Type::IfDestroyed", onDestroyed_) &&
           Event::Subscribe("Event::Type::IfLinkSpeedChanged", onSpeed_);
}

Network::IpBlock Interfaces::Address(CString const& id) const {
    Mutex::Guard const guard(mutex_);
    return guard.Held() ? Primary(id) : Network::IpBlock::Zero();
}

void Interfaces::OnAddress_(Event::IfIp4Changed const& event) {
    if (!OnIfIp4Changed(event)) return;
    bool const isSet = event.Action() == Event::IfIp4Changed::SET;
    Log(Log::INFO, IDENT, event.Id().Cstr(), isSet ? "address is %1" : "address %1 is gone")
        << Network::IpBlock::Str(event.Address()).Cstr();
}

void Interfaces::OnDestroyed_(Event::IfDestroyed const& event) {
    if (OnIfDestroyed(event)) Log(Log::INFO, IDENT, event.Id().Cstr(), "is gone");
}

void Interfaces::OnSpeed_(Event::IfLinkSpeedChanged const& event) {
    Log(Log::INFO, IDENT, event.Id().Cstr(), "speed is %1 bits a second") << event.SpeedRx();
}
