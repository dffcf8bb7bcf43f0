#include "tests/runtime/Worker.h"
#include "zeb/event/Bus.h"
#include "zeb/event/Delegate.h"
#include "zeb/event/InterfaceAddressEvents.h"
#include "zeb/network/Ip4TrackerBase.h"
#include "zeb/runtime/Mutex.h"

#include <chrono>
#include <gtest/gtest.h>
#include <thread>

namespace {

// A client as it should be: its lock is held by the bus for handlers, and by itself for queries.
class Client : private Network::Interface::Ip4TrackerBase {
public:
    Client()
        : Ip4TrackerBase("client") {
        EXPECT_TRUE(Event::Subscribe("Event::Type::IfGlobalChanged", onGlobal_));
    }
    ~Client() override { Event::Unsubscribe("", this, onGlobal_.Ident()); }

    unsigned long Priority(char const* id) const {
        Mutex::Guard const guard(mutex_);
        return GlobalPriority(id);
    }
    unsigned Changes() const {
        Mutex::Guard const guard(mutex_);
        return changes_;
    }

private:
    void OnGlobal_(Event::IfGlobalChanged const& event) { changes_ += OnIfGlobalChanged(event) ? 1 : 0; }

    Mutex mutable mutex_{Mutex::INTERFACE};
    unsigned changes_ = 0;
    Event::Delegate<Client> const onGlobal_{"client", this, &Client::OnGlobal_, &mutex_};
};

using TrackerOnTheBus = WithMainThread;

TEST_F(TrackerOnTheBus, SeesEachChangeOnceWhileOthersAsk) {
    static constexpr unsigned long ROUNDS = 200;
    Client client;
    auto const raise = [](char const* id) {
        for (unsigned long i = 1; i <= ROUNDS; ++i) // each twice, and one of an older incarnation in between
            for (Time::Span const& created : {Time::Span(2, 0), Time::Span(1, 0), Time::Span(2, 0)})
                EXPECT_TRUE(Event::Raise(Event::IfGlobalChanged(id, id, "sys", i, created), nullptr,
                                         i == ROUNDS ? Event::SYNC : Event::ASYNC, Event::DIRECT));
    };
    std::thread first(raise, "a");
    std::thread second(raise, "b");
    unsigned long last = 0;
    while (last != ROUNDS) {
        unsigned long const now = client.Priority("a");
        EXPECT_GE(now, last);
        last = now;
        std::this_thread::sleep_for(std::chrono::microseconds(100)); // the bus must get the lock too
    }
    first.join();
    second.join();
    EXPECT_TRUE(client.Priority("b") == ROUNDS && client.Changes() == 2 * ROUNDS);
}

} // namespace
