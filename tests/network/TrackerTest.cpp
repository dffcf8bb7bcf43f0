#include "tests/support/Heap.h"
#include "tests/support/LogCapture.h"
#include "zeb/event/InterfaceAddressEvents.h"
#include "zeb/event/InterfaceEvents.h"
#include "zeb/event/WanEvents.h"
#include "zeb/network/Ip46Wan.h"
#include "zeb/network/Ip4TrackerBase.h"
#include "zeb/network/Ip6TrackerBase.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace {

using namespace Network;
using Event::IfGroup;
using E4 = Event::IfIp4Changed;
using E6 = Event::IfIp6Changed;
using Span = Time::Span;

// Incarnations: both long before any event, and one that is yet to come.
Span const OLD(1, 0), NEW(2, 0), LATER(2000000000, 0);

template<class T>
T Value(char const* text) {
    T value;
    EXPECT_TRUE(value.Assign(text)) << text;
    return value;
}

// An event as it comes from the bus.
template<class EventT>
EventT const& Raised(EventT&& event) {
    event.MarkRaised();
    return event;
}

struct Step {
    char const* what;
    bool result, expected;
};

void Check(std::initializer_list<Step> steps) {
    for (Step const& step : steps)
        EXPECT_EQ(step.result, step.expected) << step.what;
}

// What both trackers make of the events that they share.
template<class BaseT>
struct Follower : BaseT {
    Follower()
        : BaseT("test") {}
    using BaseT::FindCreate_;

    bool Named(char const* id, char const* name, Span const& created = NEW) {
        return this->OnIfNameChanged(Raised(Event::IfNameChanged(id, name, "sys", created)));
    }
    bool Ranked(char const* id, char const* name, unsigned long priority, Span const& created = NEW) {
        return this->OnIfGlobalChanged(Raised(Event::IfGlobalChanged(id, name, "sys", priority, created)));
    }
    bool Trusted(char const* id, char const* name, SecurityLevelT level) {
        return this->OnIfPrivateChanged(Raised(Event::IfPrivateChanged(id, name, "sys", level, true, NEW)));
    }
    bool Grouped(IfGroup::ActionT action, IfGroup::InheritT inherit, char const* id, char const* group,
                 Span const& groupCreated = NEW) {
        return this->OnIfGroup(Raised(IfGroup(action, inherit, id, id, "sys", group, group, "gsys", LINK_UP,
                                              CONN4_UP, CONN6_UP, IF_UP, NEW, groupCreated)));
    }
    bool Ended(char const* id, Span const& created) {
        return this->OnIfDestroyed(Raised(Event::IfDestroyed(id, "sys", "", created)));
    }
    std::string Facts(char const* id) const {
        return std::string(this->Name(id).Cstr()) + " " + this->SystemName(id).Cstr() + " " +
               std::to_string(this->GlobalPriority(id)) + " " + std::to_string(this->SecurityLevel(id)) +
               (this->IsIncluded(id) ? " included" : "") + " " + Blocks(*this, id);
    }
};

template<class BlockT>
std::string Joined(BlockT const& first, Array<BlockT> const& others) {
    std::string text = typename BlockT::Str(first).Cstr();
    for (BlockT const& block : others)
        text += std::string(" ") + typename BlockT::Str(block).Cstr();
    return text;
}
std::string Blocks(Interface::Ip4TrackerBase const& tracker, char const* id) {
    return Joined(tracker.Primary(id), tracker.Aliases(id));
}
std::string Blocks(Interface::Ip6TrackerBase const& tracker, char const* id) {
    return Joined(tracker.LinkLocal(id), tracker.Addresses(id));
}

struct Follower4 : Follower<Interface::Ip4TrackerBase> {
    bool Changed(E4::TypeT type, unsigned action, char const* block, unsigned long priority = 0,
                 Span const& created = NEW) {
        return OnIfIp4Changed(Raised(E4("a", "a", "sys", Value<IpBlock>(block), E4::STATIC, type,
                                        E4::ActionT(action), priority, created)));
    }
    bool On(E4 const& event) { return OnIfIp4Changed(event); }
};

struct Follower6 : Follower<Interface::Ip6TrackerBase> {
    bool Changed(E6::ActionT action, char const* block, unsigned long priority = 0,
                 Span const& created = NEW) {
        return OnIfIp6Changed(
            Raised(E6(action, "a", "a", "sys", Value<Ip6::Block>(block), Ip6::ProtoT(), priority, created)));
    }
    bool On(E6 const& event) { return OnIfIp6Changed(event); }
};

// clang-format off
TEST(Trackers, FollowNamesPrioritiesLevelsAndGroups) {
    LogCapture log;
    auto const run = [](auto&& t, std::string const& blocks, char const* loopback) {
        Event::IfDestroyed const early("a", "sys", "", NEW);
        Check({{"a new one", t.Named("a", "A"), true},          {"the same", t.Named("a", "A"), false},
               {"older", t.Named("a", "B", OLD), false},        {"renamed", t.Named("a", "B"), true},
               {"raised too early", t.Named("x", "", LATER), false},
               {"priority", t.Ranked("a", "B", 5), true},       {"the same", t.Ranked("a", "B", 5), false},
               {"and the name", t.Ranked("a", "A", 5), true},   {"older", t.Ranked("a", "A", 9, OLD), false},
               {"level", t.Trusted("a", "A", SECURITY_PRIVATE), true},
               {"the same level", t.Trusted("a", "A", SECURITY_PRIVATE), false},
               {"and the name", t.Trusted("a", "C", SECURITY_PRIVATE), true},
               {"a rename keeps the level", t.Named("a", "D"), true},
               {"a new one by its level", t.Trusted("p", "p", SECURITY_PUBLIC), true},
               {"a port is no member", t.Grouped(IfGroup::INCLUDED, IfGroup::PORT, "m", "g"), false},
               {"two new ones", t.Grouped(IfGroup::INCLUDED, IfGroup::KEEP, "m", "g"), true},
               {"again", t.Grouped(IfGroup::INCLUDED, IfGroup::INHERIT, "m", "g"), false},
               {"an old group", t.Grouped(IfGroup::EXCLUDED, IfGroup::KEEP, "m", "g", OLD), false},
               {"included", t.IsIncluded("m"), true},           {"never the group", t.IsIncluded("g"), false},
               {"a member becomes a group", t.Grouped(IfGroup::INCLUDED, IfGroup::KEEP, "n", "m"), true},
               {"no member now", t.IsIncluded("m"), false},
               {"excluded", t.Grouped(IfGroup::EXCLUDED, IfGroup::KEEP, "n", "m"), true}});
        EXPECT_EQ(t.Facts("a"), "D sys 5 0 " + blocks);
        EXPECT_EQ(t.Facts("g"), "g gsys 0 1 " + blocks);
        Check({{"an older end", t.Ended("a", OLD), false},      {"told too early", t.OnIfDestroyed(early), false},
               {"the end", t.Ended("a", LATER), true},          {"unknown", t.Ended("a", LATER), false},
               {"a new life", t.Ranked("a", "A", 3), true},
               {"loopback", t.AddLoopback(SECURITY_PRIVATE), true},
               {"again", t.AddLoopback(SECURITY_PRIVATE), false},
               {"its level", t.AddLoopback(SECURITY_PROTECTED), true}});
        EXPECT_EQ(t.Facts("a"), "A sys 3 1 " + blocks);
        EXPECT_EQ(t.Facts("Loopback"), "Loopback lo 0 2 " + std::string(loopback));
    };
    run(Follower4(), "0.0.0.0/0", "127.0.0.1/32");
    run(Follower6(), "::/0", "::/0 ::1/128");
    EXPECT_EQ(log.Take(), LogCapture::LinesT());
}

TEST(Trackers, FollowAddresses) {
    Follower4 t;
    Check({{"primary", t.Changed(E4::PRIMARY, 0, "1.2.3.4/24"), true},
           {"the same", t.Changed(E4::PRIMARY, 0, "1.2.3.4/24"), false},
           {"old", t.Changed(E4::PRIMARY, 0, "9.9.9.9/24", 0, OLD), false},
           {"alias", t.Changed(E4::ALIAS, 0, "1.2.3.5/24"), true},
           {"known", t.Changed(E4::ALIAS, 0, "1.2.3.5/24"), false},
           {"another action", t.Changed(E4::ALIAS, 2, "1.2.3.6/24", 7), false},
           {"another one", t.Changed(E4::ALIAS, 0, "1.2.3.6/24", 7), true},
           {"removed", t.Changed(E4::ALIAS, 1, "1.2.3.5/24", 7), true},
           {"not there", t.Changed(E4::ALIAS, 1, "1.2.3.5/24", 7), false},
           {"the priority", t.Changed(E4::ALIAS, 1, "1.2.3.5/24", 8), true},
           {"any other clears", t.Changed(E4::PRIMARY, 2, "1.2.3.4/24", 8), true}});
    EXPECT_EQ(Blocks(t, "a"), "0.0.0.0/0 1.2.3.6/24");
    Follower6 s;
    Check({{"link-local", s.Changed(E6::ADDED, "fe80::1/64"), true},
           {"stored by its removal as well", s.Changed(E6::REMOVED, "fe80::2/64"), true},
           {"the same", s.Changed(E6::REMOVED, "fe80::2/64"), false},
           {"added", s.Changed(E6::ADDED, "2001::1/64"), true},
           {"known", s.Changed(E6::UPDATED, "2001::1/64"), false},
           {"another length", s.Changed(E6::UPDATED, "2001::1/65"), true},
           {"not yet", s.Changed(E6::TENTATIVE, "2001::3/64", 1), false},
           {"removed", s.Changed(E6::REMOVED, "2001::1/64", 1), true},
           {"the priority", s.Changed(E6::REMOVED, "2001::1/64", 2), true},
           {"old", s.Changed(E6::ADDED, "2001::9/64", 2, OLD), false}});
    EXPECT_EQ(Blocks(s, "a"), "fe80::2/64 2001::1/65");
}
// clang-format on

TEST(Trackers, AnswerNeutrallyForUnknownInterfaces) {
    auto const run = [](auto&& tracker, std::string const& ident, char const* facts) {
        LogCapture log;
        for (DebugT const debug : {DEBUG_OFF, DEBUG_ON, DebugT(2)}) {
            tracker.SetDebug(debug);
            EXPECT_EQ(tracker.Facts("a"), facts);
        }
        LogCapture::LinesT lines = log.Take(), expected;
        for (char const* what :
             {"aliases", "global priority", "included", "primary address", "security level", "system name"})
            expected.push_back("I " + ident + ": \"test\": has no interface \"a\" for " + what + ".");
        std::sort(lines.begin(), lines.end());
        EXPECT_EQ(lines, expected);
    };
    run(Follower4(), "Network::Interface::Ip4TrackerBase", "  0 1 0.0.0.0/0");
    run(Follower6(), "Network::Interface::Ip6TrackerBase", "  0 1 ::/0");
}

TEST(Trackers, RecordsSwapTheirAddresses) {
    Follower4 tracker;
    bool isNew = false, isStale = true, changed = false;
    auto& record = *tracker.FindCreate_("a", "a", "s", NEW, isNew, isStale);
    EXPECT_TRUE(isNew && !isStale && record.CreatedTime() == NEW);
    record.SetCreatedTime(LATER);
    EXPECT_EQ(tracker.FindCreate_("a", "a", "s", NEW, isNew, isStale), &record);
    EXPECT_TRUE(!isNew && isStale);
    Array<IpBlock> blocks;
    EXPECT_FALSE(record.SwapAliases(blocks)) << "both are empty";
    for (char const* alias : {"1.1.1.1/8", "2.2.2.2/8", "1.1.1.1/8"})
        EXPECT_TRUE(record.AddAlias(Value<IpBlock>(alias), changed)) << alias;
    EXPECT_FALSE(changed);
    EXPECT_TRUE(blocks.Assign(record.Aliases()) && !record.SwapAliases(blocks));
    std::swap(blocks[0], blocks[1]);
    EXPECT_TRUE(record.SwapAliases(blocks)) << "another order";
    EXPECT_EQ(Blocks(tracker, "a") + Joined(IpBlock(), blocks),
              "0.0.0.0/0 2.2.2.2/8 1.1.1.1/80.0.0.0/0 1.1.1.1/8 2.2.2.2/8");
}

// Every operation under each failure, and once more with memory: nothing must be missing then.
template<class FollowerT, class EventT>
void FailEverywhere(std::string const& ident, EventT const& event, std::string const& facts) {
    LogCapture log;
    unsigned long failures = 0;
    Event::IfNameChanged const name("a", "another, longer name", "sys", Span());
    Event::IfGlobalChanged const rank("b", "second", "sys", 1, Span());
    Event::IfGlobalChanged const rename("b", "a name that needs memory", "sys", 1, Span());
    Event::IfPrivateChanged const trust("b", "yet another name, by far the longest one", "sys",
                                        SECURITY_PRIVATE, true, Span());
    IfGroup const group(IfGroup::INCLUDED, IfGroup::KEEP, "a", "a member of the group, g", "sys", "g",
                        "group", "gsys", LINK_UP, CONN4_UP, CONN6_UP, IF_UP, Span(), Span());
    ForEveryAllocation([&](Heap& heap) {
        heap.Arm();
        FollowerT tracker;
        auto const follow = [&] {
            // clang-format off
            bool const results[] = {
                tracker.AddLoopback(SECURITY_PUBLIC), tracker.On(event), tracker.OnIfNameChanged(name),
                tracker.OnIfGlobalChanged(rank), tracker.OnIfGlobalChanged(rename),
                tracker.OnIfPrivateChanged(trust), tracker.OnIfGroup(group)};
            // clang-format on
            return std::count(std::begin(results), std::end(results), true) == std::ssize(results);
        };
        bool const ok = follow() && tracker.Initialized();
        heap.Disarm();
        EXPECT_EQ(ok, !heap.Fired());
        EXPECT_EQ(log.Has("C " + ident + ": \"test\": out of memory [0xcffe****]."),
                  tracker.Initialized() && !ok);
        failures += log.Count("C " + ident + ": \"test\": system failed [0xcffd****].");
        log.Clear();
        (void)follow();
        EXPECT_EQ(tracker.Facts("Loopback") + "; " + tracker.Facts("a") + "; " + tracker.Facts("b"), facts);
    });
    EXPECT_GT(failures, 0u) << "a record that could not be made";
}

TEST(Trackers, SayExactlyWhenMemoryRanOut) {
    FailEverywhere<Follower4>(
        "Network::Interface::Ip4TrackerBase",
        E4("a", "a", "sys", Value<IpBlock>("1.2.3.4/24"), E4::STATIC, E4::ALIAS, E4::SET, 0, Span()),
        "Loopback lo 0 1 127.0.0.1/32; a member of the group, g sys 0 1 included 0.0.0.0/0 1.2.3.4/24; "
        "yet another name, by far the longest one sys 1 0 0.0.0.0/0");
    FailEverywhere<Follower6>(
        "Network::Interface::Ip6TrackerBase",
        E6(E6::ADDED, "a", "a", "sys", Value<Ip6::Block>("1::2/64"), Ip6::ProtoT(), 0, Span()),
        "Loopback lo 0 1 ::/0 ::1/128; a member of the group, g sys 0 1 included ::/0 1::2/64; "
        "yet another name, by far the longest one sys 1 0 ::/0");
}

class WanTest : public testing::Test {
protected:
    // The `changed` of an event of either family; an empty id is an end.
    bool Four(char const* id, unsigned long priority, char const* address = "1.1.1.1") {
        bool changed = !*id;
        IpAddress const ip = Value<IpAddress>(address);
        Event::IpWan const event("x", "x", "x", 0, Event::IpWan::UP, 0, id, "n", "sys4", 0, priority, ip, ip);
        EXPECT_TRUE(wan_.OnIpWan(event, changed));
        return changed;
    }
    bool Six(char const* id, unsigned long priority, char const* address = "2001::1") {
        bool changed = !*id;
        Ip6::Address const ip = Value<Ip6::Address>(address);
        Event::Ip6Wan const event("x", "x", "x", Event::Ip6Wan::UP, 0, id, "n", "sys6", priority, ip, ip);
        EXPECT_TRUE(wan_.OnIp6Wan(event, changed));
        return changed;
    }

    Ip46Wan wan_;
};

// clang-format off
TEST_F(WanTest, TellsWhichWanLeads) {
    Check({{"none", Four("", 0), false},           {"the first", Four("a", 5), true},
           {"the same", Four("a", 5), false},      {"another address", Four("a", 5, "1.1.1.2"), true},
           {"IPv6 below", Six("b", 4), false},     {"IPv6 takes over at equal priority", Six("b", 5), true},
           {"the same", Six("b", 5), false},       {"another address", Six("b", 5, "2001::2"), true},
           {"it leads", wan_.IsIp6WanPrimary(), true},  {"IPv4 does not lead", Four("c", 5), false},
           {"IPv4 takes over", Four("c", 6), true},     {"it leads", wan_.IsIp6WanPrimary(), false},
           {"the leader falls", Four("c", 4), true},    {"and rises", Four("c", 6), true},
           {"still below", Six("b", 3), false},         {"the end of one that does not lead", Six("", 0), false},
           {"IPv6 takes over", Six("b", 6), true},      {"the end of one that does not lead", Four("", 0), false},
           {"IPv4 takes over", Four("d", 7), true},     {"the end of the leader", Four("", 0), true},
           {"another one", Six("e", 6), true},          {"equal is not above", Four("d", 6), false},
           {"the leader falls", Six("e", 5), true},     {"and rises", Six("e", 6), true},
           {"has both", wan_.HasIp4() && wan_.HasIp6(), true},
           {"the end of the leader at equal priority", Six("", 0), true}, {"none", Six("", 0), false}});
    EXPECT_TRUE(wan_.HasIp4() && !wan_.HasIp6() && wan_.HasAddress());
    EXPECT_STREQ(wan_.Ip4WanId().Cstr(), "d");
    EXPECT_STREQ(wan_.Ip4WanSystemName().Cstr(), "sys4");
    EXPECT_TRUE(wan_.Ip4WanAddress() == Value<IpAddress>("1.1.1.1"));
    (void)Four("", 0);
    EXPECT_FALSE(wan_.HasIp4() || wan_.HasAddress() || wan_.IsIp6WanPrimary());
    EXPECT_TRUE(Six("f", 0, "::"));
    EXPECT_FALSE(wan_.HasIp6() || wan_.IsIp6WanPrimary()) << "no address";
    EXPECT_STREQ(wan_.Ip6WanId().Cstr(), "f");
    EXPECT_STREQ(wan_.Ip6WanSystemName().Cstr(), "sys6");
}
// clang-format on

TEST_F(WanTest, ChangesNothingWithoutMemory) {
    Event::IpWan const four("x", "x", "x", 0, Event::IpWan::UP, 0, "other", "n", "system", 0, 9, IpAddress(9),
                            {});
    Event::Ip6Wan const six("x", "x", "x", Event::Ip6Wan::UP, 0, "other", "n", "system", 9,
                            Value<Ip6::Address>("::9"), {});
    ForEveryAllocation([&](Heap& heap) {
        (void)(Four("a", 3), Six("b", 3));
        bool changed4 = true, changed6 = true;
        heap.Arm();
        bool const ok4 = wan_.OnIpWan(four, changed4);
        bool const ok6 = wan_.OnIp6Wan(six, changed6);
        heap.Disarm();
        EXPECT_EQ(ok4 && ok6, !heap.Fired());
        EXPECT_TRUE(changed4 == ok4 && changed6 == ok6);
        auto const text = [](auto const&... parts) { return (std::string() + ... + parts.Cstr()); };
        EXPECT_EQ(text(wan_.Ip4WanId(), wan_.Ip4WanSystemName(), IpAddress::Str(wan_.Ip4WanAddress())),
                  ok4 ? "othersystem0.0.0.9" : "asys41.1.1.1");
        EXPECT_EQ(text(wan_.Ip6WanId(), wan_.Ip6WanSystemName(), Ip6::Address::Str(wan_.Ip6WanAddress())),
                  ok6 ? "othersystem::9" : "bsys62001::1");
        EXPECT_EQ(wan_.IsIp6WanPrimary(), ok6 || !ok4);
        wan_ = Ip46Wan();
    });
}

} // namespace
