#include "tests/network/Values.h"
#include "workbench/Heap.h"
#include "zeb/event/InterfaceAddressEvents.h"
#include "zeb/event/InterfaceEvents.h"
#include "zeb/event/WanEvents.h"
#include "zeb/interface/Ip46Wan.h"
#include "zeb/interface/Ip4TrackerBase.h"
#include "zeb/interface/Ip6TrackerBase.h"

#include <algorithm>

namespace {

using namespace Network;
using namespace Event;
using E4 = IfIp4Changed;
using E6 = IfIp6Changed;
using Span = Time::Span;

// Incarnations: both before any event, on a machine that has just come up too, and one that is yet to come.
Span const OLD(1), NEW(2), LATER(2000000000, 0);

// The results of operations, in their order.
std::string Bits(std::initializer_list<bool> results) {
    std::string text;
    for (bool const result : results) text += result ? '1' : '0';
    return text;
}

template<class BlockT>
std::string Joined(BlockT const& first, Array<BlockT> const& others) {
    std::string text = Shown(first);
    for (BlockT const& block : others) text += " " + Shown(block);
    return text;
}
std::string Blocks(Interface::Ip4TrackerBase const& t, char const* id) { return Joined(t.Primary(id), t.Aliases(id)); }
std::string Blocks(Interface::Ip6TrackerBase const& t, char const* id) { return Joined(t.LinkLocal(id), t.Addresses(id)); }

// A tracker that takes all events alike, by On() as they are and by () as the bus raises them.
template<class BaseT>
struct Follower : BaseT {
    Follower()
        : BaseT("test") {}

    bool On(IfDestroyed const& event) { return this->OnIfDestroyed(event); }
    bool On(IfGlobalChanged const& event) { return this->OnIfGlobalChanged(event); }
    bool On(IfPrivateChanged const& event) { return this->OnIfPrivateChanged(event); }
    bool On(IfNameChanged const& event) { return this->OnIfNameChanged(event); }
    bool On(IfGroup const& event) { return this->OnIfGroup(event); }
    bool On(E4 const& event) { return this->OnIfIp4Changed(event); }
    bool On(E6 const& event) { return this->OnIfIp6Changed(event); }
    bool operator()(auto&& event) { return event.MarkRaised(), On(event); }

    std::string Facts(char const* id) const {
        return std::string(this->Name(id).Cstr()) + " " + this->SystemName(id).Cstr() + " " +
               std::to_string(this->GlobalPriority(id)) + " " + std::to_string(this->SecurityLevel(id)) +
               (this->IsIncluded(id) ? " included " : " ") + Blocks(*this, id);
    }
};
using Follower4 = Follower<Interface::Ip4TrackerBase>;
using Follower6 = Follower<Interface::Ip6TrackerBase>;

bool constexpr IN = true, OUT = false;
IfGroup Group(bool in, char const* id, char const* group, Span made = NEW, IfGroup::InheritT inherit = IfGroup::KEEP,
              char const* name = nullptr) {
    auto const action = in ? IfGroup::INCLUDED : IfGroup::EXCLUDED;
    return {action, inherit, id, id, "s", group, name ? name : group, "gs", LINK_UP, CONN4_UP, CONN6_UP, IF_UP, NEW, made};
}
IfNameChanged Named(char const* name, Span made = NEW) { return {"a", name, "s", made}; }
IfGlobalChanged Ranked(char const* name, unsigned long rank, Span made = NEW) { return {"a", name, "s", rank, made}; }
IfPrivateChanged Trusted(char const* name, char const* id = "a", SecurityLevelT level = SECURITY_PRIVATE) {
    return {id, name, "s", level, true, NEW};
}
IfDestroyed Ended(Span made = NEW) { return {"a", "s", "", made}; }
E4 Four(E4::TypeT type, unsigned action, char last, unsigned long priority = 0, Span made = NEW) {
    char const block[] = {'1', '.', '2', '.', '3', '.', last, '/', '2', '4', '\0'};
    return {"a", "a", "s", Value<IpBlock>(block), E4::STATIC, type, E4::ActionT(action), priority, made};
}
E6 Six(E6::ActionT action, char const* block, unsigned long priority = 0, Span made = NEW) {
    return {action, "a", "a", "s", Value<Ip6::Block>(block), Ip6::ProtoT(), priority, made};
}

TEST(Trackers, FollowNamesPrioritiesLevelsAndGroups) {
    LogCapture log;
    auto const run = [](auto&& t, std::string const& blocks, std::string const& loopback) {
        // new, the same, of an older one, another name, raised too early
        EXPECT_EQ("10010", Bits({t(Named("A")), t(Named("A")), t(Named("B", OLD)), t(Named("B")),
                                 t(IfNameChanged("x", "x", "s", LATER))}));
        // new, the same, the name, of an older one
        EXPECT_EQ("1010", Bits({t(Ranked("B", 5)), t(Ranked("B", 5)), t(Ranked("A", 5)), t(Ranked("A", 9, OLD))}));
        // another level, a name, the same, the name, a new one
        EXPECT_EQ("11011", Bits({t(Trusted("A")), t(Named("D")), t(Trusted("D")), t(Trusted("C")),
                                 t(Trusted("p", "p", SECURITY_PUBLIC))}));
        // a port, two new ones, again, a new group, an old one; never the group; left, again, a name
        EXPECT_EQ("01010101001",
                  Bits({t(Group(IN, "m", "g", NEW, IfGroup::PORT)), t(Group(IN, "m", "g")),
                        t(Group(IN, "m", "g", NEW, IfGroup::INHERIT)), t(Group(IN, "m", "h")), t(Group(OUT, "m", "g", OLD)),
                        t.IsIncluded("m"), t.IsIncluded("g"), t(Group(OUT, "m", "h", LATER)), t(Group(OUT, "m", "h")),
                        t.IsIncluded("m"), t(Group(OUT, "m", "h", NEW, IfGroup::KEEP, "H"))}));
        // a member becomes a group, which is left again
        EXPECT_EQ("1010", Bits({t(Group(IN, "n", "m")), t.IsIncluded("m"), t(Group(OUT, "n", "m")), t.IsIncluded("n")}));
        EXPECT_EQ(t.Facts("a") + "; " + t.Facts("g"), "C s 5 0 " + blocks + "; g gs 0 1 " + blocks);
        // of an older one, told too early, the end, unknown, a new life, ended by a later one
        EXPECT_EQ("0010111", Bits({t(Ended(OLD)), t.On(Ended()), t(Ended()), t(Ended()), t(Ranked("A", 3)), t(Ended(LATER)),
                                   t(Ranked("A", 3))}));
        std::remove_reference_t<decltype(t)> known; // the loopback ahead of its address
        EXPECT_EQ(loopback[0] == '1' ? "11" : "10", Bits({known(Trusted("n", "Loopback")), known.AddLoopback(SECURITY_PRIVATE)}));
        EXPECT_EQ("101",
                  Bits({t.AddLoopback(SECURITY_PRIVATE), t.AddLoopback(SECURITY_PRIVATE), t.AddLoopback(SECURITY_PROTECTED)}));
        EXPECT_EQ(t.Facts("a") + "; " + t.Facts("Loopback"), "A s 3 1 " + blocks + "; Loopback lo 0 2 " + loopback);
    };
    run(Follower4(), "0.0.0.0/0", "127.0.0.1/32");
    run(Follower6(), "::/0", "::/0 ::1/128");
    EXPECT_EQ(log.Take(), LogCapture::LinesT());
}

TEST(Trackers, FollowAddresses) {
    auto constexpr FIRST = E4::PRIMARY, ALIAS = E4::ALIAS;
    Follower4 t;
    // new, the same, of an older one
    EXPECT_EQ("100", Bits({t(Four(FIRST, 0, '4')), t(Four(FIRST, 0, '4')), t(Four(FIRST, 0, '9', 0, OLD))}));
    // new, known, another action, new
    EXPECT_EQ("1001",
              Bits({t(Four(ALIAS, 0, '5')), t(Four(ALIAS, 0, '5')), t(Four(ALIAS, 2, '6', 7)), t(Four(ALIAS, 0, '6', 7))}));
    // removed, not there, the priority; any other action clears the primary
    EXPECT_EQ("1011",
              Bits({t(Four(ALIAS, 1, '5', 7)), t(Four(ALIAS, 1, '5', 7)), t(Four(ALIAS, 1, '5', 8)), t(Four(FIRST, 2, '4', 8))}));
    EXPECT_EQ(Blocks(t, "a"), "0.0.0.0/0 1.2.3.6/24");
    Follower6 s;
    // stored by a removal as well
    EXPECT_EQ("110",
              Bits({s(Six(E6::ADDED, "fe80::1/64")), s(Six(E6::REMOVED, "fe80::2/64")), s(Six(E6::REMOVED, "fe80::2/64"))}));
    // new, known, another length, not to be used yet
    EXPECT_EQ("1010", Bits({s(Six(E6::ADDED, "2001::1/64")), s(Six(E6::UPDATED, "2001::1/64")), s(Six(E6::UPDATED, "2001::1/65")),
                            s(Six(E6::TENTATIVE, "2001::3/64", 1))}));
    // removed, the priority, old
    EXPECT_EQ("110", Bits({s(Six(E6::REMOVED, "2001::1/64", 1)), s(Six(E6::REMOVED, "2001::1/64", 2)),
                           s(Six(E6::ADDED, "2001::9/64", 2, OLD))}));
    EXPECT_EQ(Blocks(s, "a"), "fe80::2/64 2001::1/65");
}

TEST(Trackers, AnswerNeutrallyForUnknownInterfaces) {
    LogCapture log;
    Follower4 tracker;
    for (DebugT const debug : {DEBUG_OFF, DEBUG_ON, DebugT(2)}) {
        tracker.SetDebug(debug);
        EXPECT_EQ((tracker.Initialized() ? "" : "broken") + tracker.Facts("a"), "  0 1 0.0.0.0/0");
    }
    LogCapture::LinesT lines = log.Take(), expected;
    for (std::string const what : {"aliases", "global priority", "included", "primary address", "security level", "system name"})
        expected.push_back("I Network::Interface::Ip4TrackerBase: \"test\": has no interface \"a\" for " + what + ".");
    std::sort(lines.begin(), lines.end());
    EXPECT_EQ(lines, expected);
}

TEST(Trackers, RecordsSwapTheirAddresses) {
    Interface::Ip4TrackerBase::Ip4If record("a", "s", NEW);
    bool changed = true;
    Array<IpBlock> blocks;
    EXPECT_FALSE(record.SwapAliases(blocks)) << "both are empty";
    for (char const* alias : {"1.1.1.1/8", "2.2.2.2/8", "1.1.1.1/8"})
        EXPECT_TRUE(record.AddAlias(Value<IpBlock>(alias), changed)) << alias;
    EXPECT_FALSE(changed);
    EXPECT_TRUE(blocks.Assign(record.Aliases()) && !record.SwapAliases(blocks));
    std::swap(blocks[0], blocks[1]);
    EXPECT_TRUE(record.SwapAliases(blocks)) << "another order";
    EXPECT_EQ(Joined(blocks[0], record.Aliases()), "1.1.1.1/8 2.2.2.2/8 1.1.1.1/8");
}

// Every operation under each failure, and once more with memory: nothing must be missing then.
template<class FollowerT, class EventT>
void FailEverywhere(std::string const& ident, EventT const& event, std::string const& any, std::string const& loopback,
                    std::string const& block) {
    LogCapture log;
    std::string const oom = "C " + ident + ": \"test\": out of memory [0xcffe****].";
    std::string const fail = "C " + ident + ": \"test\": system failed [0xcffd****].";
    IfNameChanged const name("a", "n", "s", Span());
    IfGlobalChanged const rank("b", "second", "s", 1, Span());
    IfGlobalChanged const rename("b", "a name that needs more memory", "s", 1, Span());
    IfPrivateChanged const trust("b", "another name, and the longest", "s", SECURITY_PRIVATE, true, Span());
    IfGroup const group(IfGroup::INCLUDED, IfGroup::KEEP, "a", "a member of the group, with another name", "s", "g", "group",
                        "gs", LINK_UP, CONN4_UP, CONN6_UP, IF_UP, Span(), Span());
    {
        FollowerT poor;
        Heap heap(1, Heap::ModeT::FOREVER);
        heap.Arm();
        EXPECT_FALSE(poor.AddLoopback(SECURITY_PUBLIC) || poor.On(event) || poor.On(group));
        heap.Disarm();
        EXPECT_EQ(log.Take(), LogCapture::LinesT({oom, fail, oom, fail, oom, fail})) << "no records";
    }
    ForEveryAllocation([&](Heap& heap) {
        heap.Arm();
        FollowerT t;
        auto const follow = [&] {
            return Bits({t.AddLoopback(SECURITY_PUBLIC), t.On(name), t.On(event), t.On(rank), t.On(rename), t.On(trust),
                         t.On(group)}) == "1111111";
        };
        bool const ok = follow() && t.Initialized();
        heap.Disarm();
        EXPECT_EQ(ok, !heap.Fired());
        EXPECT_EQ(log.Has(oom), t.Initialized() && !ok);
        log.Clear();
        (void)follow();
        EXPECT_EQ(t.Facts("Loopback") + "; " + t.Facts("a") + "; " + t.Facts("b"),
                  "Loopback lo 0 1 " + loopback + "; a member of the group, with another name s 0 1 included " + any + " " +
                      block + "; another name, and the longest s 1 0 " + any);
    });
}

TEST(Trackers, SayExactlyWhenMemoryRanOut) {
    char const name[] = "what the address event calls it";
    FailEverywhere<Follower4>("Network::Interface::Ip4TrackerBase",
                              E4("a", name, "s", Value<IpBlock>("1.2.3.4/24"), E4::STATIC, E4::ALIAS, E4::SET, 0, Span()),
                              "0.0.0.0/0", "127.0.0.1/32", "1.2.3.4/24");
    FailEverywhere<Follower6>("Network::Interface::Ip6TrackerBase",
                              E6(E6::ADDED, "a", name, "s", Value<Ip6::Block>("1::2/64"), Ip6::ProtoT(), 0, Span()), "::/0",
                              "::/0 ::1/128", "1::2/64");
}

// Gives the `changed` of an event.
struct Wan : Ip46Wan {
    bool On(IpWan const& event, bool& changed) { return OnIpWan(event, changed); }
    bool On(Ip6Wan const& event, bool& changed) { return OnIp6Wan(event, changed); }
    bool operator()(auto const& event) {
        bool changed = event.CurrentId().Empty();
        EXPECT_TRUE(On(event, changed));
        return changed;
    }
    std::string Facts() const {
        return std::string(Ip4WanId().Cstr()) + " " + Ip4WanSystemName().Cstr() + " " + Shown(Ip4WanAddress()) + "; " +
               Ip6WanId().Cstr() + " " + Ip6WanSystemName().Cstr() + " " + Shown(Ip6WanAddress()) + "; " +
               Letters("46ap", {HasIp4(), HasIp6(), HasAddress(), IsIp6WanPrimary()});
    }
};
IpWan Wan4(char const* id, unsigned long priority, char const* address = "1.1.1.1", char const* name = "sys4") {
    return {"x", "x", "x", 0, IpWan::UP, 0, id, "n", name, 0, priority, Value<IpAddress>(address), {}};
}
Ip6Wan Wan6(char const* id, unsigned long priority, char const* address = "2001::1", char const* name = "sys6") {
    return {"x", "x", "x", Ip6Wan::UP, 0, id, "n", name, priority, Value<Ip6::Address>(address), {}};
}

TEST(Ip46Wan, TellsWhichWanLeads) {
    Wan wan;
    // none, the first, the same, another address
    EXPECT_EQ("0101", Bits({wan(Wan4("", 0)), wan(Wan4("a", 5)), wan(Wan4("a", 5)), wan(Wan4("a", 5, "1.1.1.2"))}));
    // below, takes over, the same, its address
    EXPECT_EQ("01011", Bits({wan(Wan6("b", 4)), wan(Wan6("b", 5)), wan(Wan6("b", 5)), wan(Wan6("b", 5, "2001::2")),
                             wan.IsIp6WanPrimary()}));
    // equal is not above, takes over, falls, rises
    EXPECT_EQ("01011", Bits({wan(Wan4("c", 5)), wan(Wan4("c", 6)), wan.IsIp6WanPrimary(), wan(Wan4("c", 4)), wan(Wan4("c", 6))}));
    // still below, its end, IPv6 takes over, the end of the one below
    EXPECT_EQ("0010", Bits({wan(Wan6("b", 3)), wan(Wan6("", 0)), wan(Wan6("b", 6)), wan(Wan4("", 0))}));
    // IPv4 takes over, the end of the leader, another one, equal is not above
    EXPECT_EQ("1110", Bits({wan(Wan4("d", 7)), wan(Wan4("", 0)), wan(Wan6("e", 6)), wan(Wan4("d", 6))}));
    // falls, rises, the end of the leader when equal, none
    EXPECT_EQ("11110",
              Bits({wan(Wan6("e", 5)), wan(Wan6("e", 6)), wan.HasIp4() && wan.HasIp6(), wan(Wan6("", 0)), wan(Wan6("", 0))}));
    // below, its end
    EXPECT_EQ("00", Bits({wan(Wan6("g", 5)), wan(Wan6("", 0))}));
    EXPECT_EQ(wan.Facts(), "d sys4 1.1.1.1;   ::; 4a");
    (void)wan(Wan4("", 0));
    EXPECT_EQ(wan.Facts(), "  0.0.0.0;   ::; ");
    EXPECT_TRUE(wan(Wan6("f", 0, "::")));
    EXPECT_EQ(wan.Facts(), "  0.0.0.0; f sys6 ::; ") << "no address";
}

TEST(Ip46Wan, ChangesNothingWithoutMemory) {
    IpWan const four = Wan4("other", 9, "0.0.0.9", "system");
    Ip6Wan const six = Wan6("other", 9, "::9", "system");
    ForEveryAllocation([&](Heap& heap) {
        Wan wan;
        (void)(wan(Wan4("a", 3)), wan(Wan6("b", 3)));
        bool changed4 = true, changed6 = true;
        heap.Arm();
        bool const ok4 = wan.On(four, changed4), ok6 = wan.On(six, changed6);
        heap.Disarm();
        EXPECT_EQ(ok4 && ok6, !heap.Fired());
        EXPECT_EQ(std::pair(changed4, changed6), std::pair(ok4, ok6));
        EXPECT_EQ(wan.Facts(), std::string(ok4 ? "other system 0.0.0.9; " : "a sys4 1.1.1.1; ") +
                                   (ok6 ? "other system ::9; 46a" : "b sys6 2001::1; 46a") + (ok6 || !ok4 ? "p" : ""));
    });
}

} // namespace
