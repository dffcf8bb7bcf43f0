// A mirror of the interfaces and of the ways to the internet, fed by events as an interface manager raises
// them.
#include "zeb/core/Time.h"
#include "zeb/event/Bus.h"
#include "zeb/event/InterfaceAddressEvents.h"
#include "zeb/event/InterfaceEvents.h"
#include "zeb/event/WanEvents.h"
#include "zeb/interface/Ip46Wan.h"
#include "zeb/interface/Ip4TrackerBase.h"
#include "zeb/runtime/Main.h"

namespace {

constexpr char const IDENT[] = "Trackers";

// Acts on what has really changed, and answers from the table.
class Addresses : private Network::Interface::Ip4TrackerBase {
public:
    Addresses()
        : Ip4TrackerBase(IDENT) {}
    ~Addresses() override {
        Event::Unsubscribe(onAddress_);
        Event::Unsubscribe(onDestroyed_);
        Event::Unsubscribe(onWan_);
    }

    bool Start() {
        return Initialized() && Event::Subscribe(onAddress_) && Event::Subscribe(onDestroyed_) &&
               Event::Subscribe(onWan_);
    }

    // A copy: what Primary() gives lives until the next event, and the lock ends here.
    Network::IpBlock Address(CString const& id) const {
        Mutex::Guard const guard(mutex_);
        return guard.Held() ? Primary(id) : Network::IpBlock::Zero();
    }

private:
    // All of them run on the thread of the bus with mutex_ held.
    void OnAddress_(Event::IfIp4Changed const& event) {
        if (OnIfIp4Changed(event))
            Log(Log::INFO, IDENT, nullptr, "%1 has %2")
                << event.Id() << Network::IpBlock::Str(Primary(event.Id()));
    }
    void OnDestroyed_(Event::IfDestroyed const& event) {
        if (OnIfDestroyed(event)) Log(Log::INFO, IDENT, nullptr, "%1 is gone") << event.Id();
    }
    void OnWan_(Event::IpWan const& event) {
        bool changed = false;
        if (!wan_.OnIpWan(event, changed)) return; // no memory: the next event tells again
        if (changed) Log(Log::INFO, IDENT, nullptr, "the way out is %1") << wan_.Ip4WanSystemName();
    }

    mutable Mutex mutex_{Mutex::INTERFACE};

    // Guarded by mutex_, as is the base.
    Network::Ip46Wan wan_;

    Event::Delegate<Addresses, Event::IfIp4Changed> const onAddress_{IDENT, this, &Addresses::OnAddress_,
                                                                     &mutex_};
    Event::Delegate<Addresses, Event::IfDestroyed> const onDestroyed_{IDENT, this, &Addresses::OnDestroyed_,
                                                                      &mutex_};
    Event::Delegate<Addresses, Event::IpWan> const onWan_{IDENT, this, &Addresses::OnWan_, &mutex_};
};

// SYNC: when it returns the mirror has it.
bool Tell(Event::Base const& event) { return Event::Raise(event, nullptr, Event::SYNC, Event::DIRECT); }

class Program : public Main {
public:
    Program()
        : Main("trackers") {}

    int Run() override {
        using Four = Event::IfIp4Changed;
        Addresses addresses;
        Network::IpBlock block;
        Time::Span const created = Time::Monotonic();
        if (!addresses.Start() || !block.Assign("192.168.1.1/24")) return 1;
        if (!Tell(Four("lan", "Home", "br0", block, Four::STATIC, Four::PRIMARY, Four::SET, 0, created)))
            return 1;
        if (!Tell(Event::IpWan("wan", "Provider", "eth1", 3, Event::IpWan::UP, 0, "wan", "Provider", "eth1",
                               3, 700, block.Broadcast(), block.Address())))
            return 1;
        if (!(addresses.Address("lan") == block)) return 1;
        return Tell(Event::IfDestroyed("lan", "br0", "", created)) &&
                       addresses.Address("lan").Address().IsZero()
                   ? 0
                   : 1;
    }
};

} // namespace

int main() {
    Program program;
    if (!program.Initialized()) return 1;
    Log::ConsoleMode();
    return program.Run();
}
