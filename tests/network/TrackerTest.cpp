#include "tests/support/Heap.h"
#include "tests/support/LogCapture.h"
#include "zeb/core/Time.h"
#include "zeb/event/InterfaceAddressEvents.h"
#include "zeb/event/InterfaceEvents.h"
#include "zeb/event/WanEvents.h"
#include "zeb/network/Ip46Wan.h"
#include "zeb/network/Ip4TrackerBase.h"
#include "zeb/network/Ip6TrackerBase.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace Network;
using Interface::Ip4TrackerBase;
using Interface::Ip6TrackerBase;
using LinesT = LogCapture::LinesT;

// Incarnations: both long before any event, and one that is yet to come.
Time::Span const OLD(1, 0), NEW(2, 0), LATER(2000000000, 0);

IpBlock Block(char const* text) {
    IpBlock block;
    EXPECT_TRUE(block.Assign(text));
    return block;
}

Ip6::Block Block6(char const* text) {
    Ip6::Block block;
    EXPECT_TRUE(block.Assign(text));
    return block;
}

// What both trackers make of the events that they share.
template<class TrackerT>
class Tracker : public TrackerT {
public:
    Tracker()
        : TrackerT("test") {}

    bool Name(char const* id, char const* name, Time::Span const& created = NEW) {
        Event::IfNameChanged event(id, name, "sys", created);
        event.MarkRaised();
        return this->OnIfNameChanged(event);
    }
    bool Priority(char const* id, unsigned long priority, Time::Span const& created = NEW) {
        Event::IfGlobalChanged event(id, id, "sys", priority, created);
        event.MarkRaised();
        return this->OnIfGlobalChanged(event);
    }
    bool Level(char const* id, SecurityLevelT level) {
        Event::IfPrivateChanged event(id, id, "sys", level, true, NEW);
        event.MarkRaised();
        return this->OnIfPrivateChanged(event);
    }
    bool Group(Event::IfGroup::ActionT action, Event::IfGroup::InheritT inherit, char const* id,
               char const* group, Time::Span const& groupCreated = NEW) {
        Event::IfGroup event(action, inherit, id, id, "sys", group, group, "gsys", LINK_UP, CONN4_UP,
                             CONN6_UP, IF_UP, NEW, groupCreated);
        event.MarkRaised();
        return this->OnIfGroup(event);
    }
    bool Destroy(char const* id, Time::Span const& created, bool isRaised = true) {
        Event::IfDestroyed event(id, "sys", "", created);
        if (isRaised) event.MarkRaised();
        return this->OnIfDestroyed(event);
    }
};

class Tracker4 : public Tracker<Ip4TrackerBase> {
public:
    using EventT = Event::IfIp4Changed;

    bool Address(EventT::TypeT type, EventT::ActionT action, char const* block,
                 Time::Span const& created = NEW, unsigned long priority = 0) {
        EventT event("a", "a", "sys", Block(block), EventT::STATIC, type, action, priority, created);
        event.MarkRaised();
        return OnIfIp4Changed(event);
    }
    std::string Table() const {
        std::string text = IpBlock::Str(Primary("a")).Cstr();
        for (IpBlock const& alias : Aliases("a"))
            text += std::string(" ") + IpBlock::Str(alias).Cstr();
        return text;
    }
};

class Tracker6 : public Tracker<Ip6TrackerBase> {
public:
    using EventT = Event::IfIp6Changed;

    bool Address(EventT::ActionT action, char const* block, Time::Span const& created = NEW) {
        EventT event(action, "a", "a", "sys", Block6(block), Ip6::ProtoT(), 0, created);
        event.MarkRaised();
        return OnIfIp6Changed(event);
    }
    std::string Table() const {
        std::string text = Ip6::CBlock::Str(LinkLocal("a")).Cstr();
        for (Ip6::CBlock const& address : Addresses("a"))
            text += std::string(" ") + Ip6::CBlock::Str(address).Cstr();
        return text;
    }
};

TEST(Trackers, FollowNamesPrioritiesLevelsAndGroups) {
    using Event::IfGroup;
    LogCapture log;
    auto const run = [](auto&& tracker) {
        struct {
            char const* what;
            bool changed;
            bool expected;
        } const rows[] = {
            {"a new one", tracker.Name("a", "A"), true},
            {"the same", tracker.Name("a", "A"), false},
            {"an older incarnation", tracker.Name("a", "B", OLD), false},
            {"renamed", tracker.Name("a", "B"), true},
            {"not yet made when the event was raised", tracker.Name("late", "x", LATER), false},
            {"priority, and the name goes back", tracker.Priority("a", 5), true},
            {"the same priority", tracker.Priority("a", 5), false},
            {"level", tracker.Level("a", SECURITY_PRIVATE), true},
            {"the same level", tracker.Level("a", SECURITY_PRIVATE), false},
            {"a rename keeps the level", tracker.Name("a", "A"), true},
            {"a new one by its level", tracker.Level("p", SECURITY_PUBLIC), true},
            {"a port is no member", tracker.Group(IfGroup::INCLUDED, IfGroup::PORT, "m", "g"), false},
            {"two new ones", tracker.Group(IfGroup::INCLUDED, IfGroup::KEEP, "m", "g"), true},
            {"again", tracker.Group(IfGroup::INCLUDED, IfGroup::INHERIT, "m", "g"), false},
            {"an old group", tracker.Group(IfGroup::EXCLUDED, IfGroup::KEEP, "m", "g", OLD), false},
            {"still included", tracker.IsIncluded("m"), true},
            {"never the group", tracker.IsIncluded("g"), false},
            {"a member becomes a group", tracker.Group(IfGroup::INCLUDED, IfGroup::KEEP, "n", "m"), true},
            {"not included any more", tracker.IsIncluded("m"), false},
            {"excluded", tracker.Group(IfGroup::EXCLUDED, IfGroup::KEEP, "n", "m"), true},
            {"the end of an older one", tracker.Destroy("a", OLD), false},
            {"an end told before the start", tracker.Destroy("a", NEW, false), false},
            {"the end", tracker.Destroy("a", LATER), true},
            {"unknown", tracker.Destroy("a", LATER), false},
        };
        for (auto const& row : rows)
            EXPECT_EQ(row.changed, row.expected) << row.what;
        EXPECT_TRUE(tracker.Priority("a", 3));
        EXPECT_EQ(tracker.GlobalPriority("a"), 3u);
        EXPECT_EQ(tracker.SecurityLevel("a"), SECURITY_PUBLIC) << "of a new one";
        EXPECT_TRUE(tracker.Level("a", SECURITY_PROTECTED));
        EXPECT_EQ(tracker.SecurityLevel("a"), SECURITY_PROTECTED);
        EXPECT_STREQ(tracker.SystemName("g").Cstr(), "gsys");
        EXPECT_STREQ(tracker.NameOf("a").Cstr(), "a");
    };
    struct Four : Tracker4 {
        CString const& NameOf(char const* id) { return Ip4TrackerBase::Name(id); }
    };
    struct Six : Tracker6 {
        CString const& NameOf(char const* id) { return Ip6TrackerBase::Name(id); }
    };
    run(Four());
    run(Six());
    EXPECT_EQ(log.Take(), LinesT());
}

TEST(Trackers, FollowAddresses) {
    using E4 = Event::IfIp4Changed;
    using E6 = Event::IfIp6Changed;
    Tracker4 four;
    struct {
        bool changed, expected;
        char const* what;
    } const rows[] = {
        {four.Address(E4::PRIMARY, E4::SET, "1.2.3.4/24"), true, "primary"},
        {four.Address(E4::PRIMARY, E4::SET, "1.2.3.4/24"), false, "the same"},
        {four.Address(E4::PRIMARY, E4::SET, "9.9.9.9/24", OLD), false, "old"},
        {four.Address(E4::ALIAS, E4::SET, "1.2.3.5/24"), true, "alias"},
        {four.Address(E4::ALIAS, E4::SET, "1.2.3.5/24"), false, "known"},
        {four.Address(E4::ALIAS, E4::ActionT(2), "1.2.3.6/24", NEW, 7), false, "another action"},
        {four.Address(E4::ALIAS, E4::SET, "1.2.3.6/24", NEW, 7), true, "another one"},
        {four.Address(E4::ALIAS, E4::REMOVED, "1.2.3.5/24", NEW, 7), true, "removed"},
        {four.Address(E4::ALIAS, E4::REMOVED, "1.2.3.5/24", NEW, 7), false, "not there"},
        {four.Address(E4::ALIAS, E4::REMOVED, "1.2.3.5/24", NEW, 8), true, "the priority"},
        {four.Address(E4::PRIMARY, E4::ActionT(2), "1.2.3.4/24", NEW, 8), true, "any other clears"},
    };
    for (auto const& row : rows)
        EXPECT_EQ(row.changed, row.expected) << row.what;
    EXPECT_EQ(four.Table(), "0.0.0.0/0 1.2.3.6/24");

    Tracker6 six;
    struct {
        bool changed, expected;
        char const* what;
    } const rows6[] = {
        {six.Address(E6::ADDED, "fe80::1/64"), true, "link-local"},
        {six.Address(E6::REMOVED, "fe80::2/64"), true, "stored by its removal as well"},
        {six.Address(E6::REMOVED, "fe80::2/64"), false, "the same"},
        {six.Address(E6::ADDED, "2001::1/64"), true, "added"},
        {six.Address(E6::UPDATED, "2001::1/64"), false, "known"},
        {six.Address(E6::UPDATED, "2001::2/64"), true, "added by an update"},
        {six.Address(E6::TENTATIVE, "2001::3/64"), false, "not yet"},
        {six.Address(E6::REMOVED, "2001::1/64"), true, "removed"},
        {six.Address(E6::ADDED, "2001::9/64", OLD), false, "old"},
    };
    for (auto const& row : rows6)
        EXPECT_EQ(row.changed, row.expected) << row.what;
    EXPECT_EQ(six.Table(), "fe80::2/64 2001::2/64");
}

TEST(Trackers, KnowTheLoopback) {
    Tracker4 four;
    Tracker6 six;
    for (bool const isFirst : {true, false}) {
        EXPECT_EQ(four.AddLoopback(SECURITY_PRIVATE), isFirst);
        EXPECT_EQ(six.AddLoopback(SECURITY_PRIVATE), isFirst);
    }
    EXPECT_TRUE(four.AddLoopback(SECURITY_PUBLIC) && six.AddLoopback(SECURITY_PUBLIC));
    EXPECT_STREQ(IpBlock::Str(four.Primary("Loopback")).Cstr(), "127.0.0.1/32");
    ASSERT_EQ(six.Addresses("Loopback").Size(), 1u);
    EXPECT_STREQ(Ip6::CBlock::Str(six.Addresses("Loopback")[0]).Cstr(), "::1/128");
    EXPECT_TRUE(six.LinkLocal("Loopback").IsZero());
    EXPECT_STREQ(four.SystemName("Loopback").Cstr(), "lo");
}

TEST(Trackers, AnswerNeutrallyForUnknownInterfaces) {
    LogCapture log;
    Tracker4 tracker;
    for (DebugT const debug : {DEBUG_OFF, DEBUG_ON, DebugT(2)}) {
        tracker.SetDebug(debug);
        EXPECT_EQ(tracker.Table(), "0.0.0.0/0");
        EXPECT_TRUE(tracker.SecurityLevel("a") == SECURITY_PUBLIC && tracker.GlobalPriority("a") == 0);
        EXPECT_TRUE(tracker.Ip4TrackerBase::Name("a").Empty() && tracker.SystemName("a").Empty());
        EXPECT_FALSE(tracker.IsIncluded("a"));
    }
    LinesT expected;
    for (char const* what :
         {"primary address", "aliases", "security level", "global priority", "system name", "included"}) {
        expected.push_back(std::string("I Network::Interface::Ip4TrackerBase: \"test\": has no interface "
                                       "\"a\" for ") +
                           what + ".");
    }
    EXPECT_EQ(log.Take(), expected);
}

TEST(Trackers, SayExactlyWhenMemoryRanOut) {
    LogCapture log;
    ForEveryAllocation([&](Heap& heap) {
        using E4 = Event::IfIp4Changed;
        E4 event("id", "a name", "sys", Block("1.2.3.4/24"), E4::STATIC, E4::ALIAS, E4::SET, 0, NEW);
        Event::IfNameChanged rename("id", "another, longer name", "sys", NEW);
        event.MarkRaised();
        rename.MarkRaised();
        heap.Arm();
        Tracker4 tracker;
        bool const ok =
            tracker.Initialized() && tracker.OnIfIp4Changed(event) && tracker.OnIfNameChanged(rename);
        heap.Disarm();
        EXPECT_EQ(ok, !heap.Fired());
        EXPECT_EQ(log.Has("C Network::Interface::Ip4TrackerBase: \"test\": out of memory [0xcffe****]."),
                  heap.Fired() && tracker.Initialized());
        log.Clear();
    });
}

class WanTest : public testing::Test {
protected:
    // The `changed` of an event of either family; a null id is an end.
    bool Four(char const* id, unsigned long priority, char const* address = "1.1.1.1") {
        IpAddress ip;
        EXPECT_TRUE(ip.Assign(address));
        bool changed = false;
        EXPECT_TRUE(wan_.OnIpWan(
            Event::IpWan("x", "x", "x", 0, Event::IpWan::UP, 0, id, id, "sys4", 0, priority, ip, ip),
            changed));
        return changed;
    }
    bool Six(char const* id, unsigned long priority) {
        Ip6::Address ip;
        EXPECT_TRUE(ip.Assign("2001::1"));
        bool changed = false;
        EXPECT_TRUE(wan_.OnIp6Wan(
            Event::Ip6Wan("x", "x", "x", Event::Ip6Wan::UP, 0, id, id, "sys6", priority, ip, ip), changed));
        return changed;
    }

    Ip46Wan wan_;
};

TEST_F(WanTest, TellsWhichWanLeads) {
    struct {
        bool changed, expected;
        char const* what;
    } const rows[] = {
        {Four("", 0), false, "none"},
        {Four("a", 5), true, "the first"},
        {Four("a", 5), false, "the same"},
        {Four("a", 5, "1.1.1.2"), true, "another address"},
        {Six("b", 4), false, "IPv6 below"},
        {Six("b", 5), true, "IPv6 takes over at equal priority"},
        {wan_.IsIp6WanPrimary(), true, "it leads"},
        {Four("c", 5), false, "IPv4 does not lead"},
        {Four("c", 6), true, "IPv4 takes over above"},
        {wan_.IsIp6WanPrimary(), false, "IPv4 leads"},
        {Six("b", 3), false, "still below"},
        {Six("", 0), false, "the end of the one that does not lead"},
        {Six("b", 6), true, "takes over"},
        {Four("", 0), false, "the end of IPv4, which does not lead"},
        {Four("d", 7), true, "IPv4 takes over"},
        {Four("", 0), true, "the end of the leader"},
        {Six("e", 6), true, "another one"},
        {Four("d", 6), false, "equal is not above"},
        {Six("", 0), true, "the end of the leader at equal priority"},
        {Six("", 0), false, "none"},
    };
    for (auto const& row : rows)
        EXPECT_EQ(row.changed, row.expected) << row.what;
    EXPECT_TRUE(wan_.HasIp4() && !wan_.HasIp6() && wan_.HasAddress());
    EXPECT_STREQ(wan_.Ip4WanId().Cstr(), "d");
    EXPECT_STREQ(wan_.Ip4WanSystemName().Cstr(), "sys4");
    (void)Four("", 0);
    EXPECT_FALSE(wan_.HasIp4() || wan_.HasAddress() || wan_.IsIp6WanPrimary());
    ForEveryAllocation([&](Heap& heap) {
        Ip46Wan wan;
        Event::Ip6Wan const event("x", "x", "x", Event::Ip6Wan::UP, 0, "id", "n", "sys", 1, {}, {});
        bool changed = false;
        heap.Arm();
        bool const ok = wan.OnIp6Wan(event, changed);
        heap.Disarm();
        EXPECT_EQ(ok, !heap.Fired());
        EXPECT_EQ(wan.Ip6WanId().Empty(), !ok);
    });
}

} // namespace
