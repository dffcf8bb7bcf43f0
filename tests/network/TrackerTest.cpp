#include "tests/network/Values.h"
#include "tests/support/Heap.h"
#include "zeb/event/InterfaceAddressEvents.h"
#include "zeb/event/InterfaceEvents.h"
#include "zeb/event/WanEvents.h"
#include "zeb/network/Ip46Wan.h"
#include "zeb/network/Ip4TrackerBase.h"
#include "zeb/network/Ip6TrackerBase.h"

#include <algorithm>

// clang-format off
namespace {

using namespace Network;
using namespace Event;
using E4 = IfIp4Changed;
using E6 = IfIp6Changed;
using Span = Time::Span;

// Incarnations: both long before any event, and one that is yet to come.
Span const OLD(1, 0), NEW(2, 0), LATER(2000000000, 0);

struct Step {
    char const* what;
    bool result, expected;
};
void Check(std::initializer_list<Step> steps) {
    for (Step const& step : steps)
        EXPECT_EQ(step.result, step.expected) << step.what;
}

template<class BlockT>
std::string Joined(BlockT const& first, Array<BlockT> const& others) {
    std::string text = Shown(first);
    for (BlockT const& block : others)
        text += " " + Shown(block);
    return text;
}
std::string Blocks(Interface::Ip4TrackerBase const& tracker, char const* id) {
    return Joined(tracker.Primary(id), tracker.Aliases(id));
}
std::string Blocks(Interface::Ip6TrackerBase const& tracker, char const* id) {
    return Joined(tracker.LinkLocal(id), tracker.Addresses(id));
}

// A tracker that takes all events alike, by On() as they are and by () as the bus raises them.
template<class BaseT>
struct Follower : BaseT {
    Follower() : BaseT("test") {}
    using BaseT::FindCreate_;

    bool On(IfDestroyed const& event) { return this->OnIfDestroyed(event); }
    bool On(IfGlobalChanged const& event) { return this->OnIfGlobalChanged(event); }
    bool On(IfPrivateChanged const& event) { return this->OnIfPrivateChanged(event); }
    bool On(IfNameChanged const& event) { return this->OnIfNameChanged(event); }
    bool On(IfGroup const& event) { return this->OnIfGroup(event); }
    bool On(E4 const& event) { return this->OnIfIp4Changed(event); }
    bool On(E6 const& event) { return this->OnIfIp6Changed(event); }
    template<class EventT> bool operator()(EventT&& event) { return event.MarkRaised(), On(event); }

    std::string Facts(char const* id) const {
        std::string text = this->Name(id).Cstr();
        text += std::string(" ") + this->SystemName(id).Cstr();
        text += " " + std::to_string(this->GlobalPriority(id));
        text += " " + std::to_string(this->SecurityLevel(id));
        return text + (this->IsIncluded(id) ? " included " : " ") + Blocks(*this, id);
    }
};
using Follower4 = Follower<Interface::Ip4TrackerBase>;
using Follower6 = Follower<Interface::Ip6TrackerBase>;

IfGroup Group(IfGroup::ActionT action, IfGroup::InheritT inherit, char const* id, char const* group,
              Span made = NEW) {
    return {action, inherit, id, id, "s", group, group, "gs", LINK_UP, CONN4_UP, CONN6_UP, IF_UP, NEW, made};
}
E4 Four(E4::TypeT type, unsigned action, char const* block, unsigned long priority = 0, Span made = NEW) {
    return {"a", "a", "s", Value<IpBlock>(block), E4::STATIC, type, E4::ActionT(action), priority, made};
}
E6 Six(E6::ActionT action, char const* block, unsigned long priority = 0, Span made = NEW) {
    return {action, "a", "a", "s", Value<Ip6::Block>(block), Ip6::ProtoT(), priority, made};
}

TEST(Trackers, FollowNamesPrioritiesLevelsAndGroups) {
    using N = IfNameChanged;
    using P = IfGlobalChanged;
    using L = IfPrivateChanged;
    using D = IfDestroyed;
    using G = IfGroup;
    auto constexpr IN = G::INCLUDED, OUT = G::EXCLUDED;
    LogCapture log;
    auto const run = [](auto&& t, std::string const& blocks, std::string const& loopback) {
        Check({{"new", t(N("a", "A", "s", NEW)), true}, {"the same", t(N("a", "A", "s", NEW)), false},
               {"an older one", t(N("a", "B", "s", OLD)), false},
               {"renamed", t(N("a", "B", "s", NEW)), true},
               {"raised too early", t(N("x", "x", "s", LATER)), false},
               {"priority", t(P("a", "B", "s", 5, NEW)), true},
               {"the same", t(P("a", "B", "s", 5, NEW)), false},
               {"and the name", t(P("a", "A", "s", 5, NEW)), true},
               {"an older one", t(P("a", "A", "s", 9, OLD)), false},
               {"level", t(L("a", "A", "s", SECURITY_PRIVATE, true, NEW)), true},
               {"the same", t(L("a", "A", "s", SECURITY_PRIVATE, true, NEW)), false},
               {"and the name", t(L("a", "C", "s", SECURITY_PRIVATE, true, NEW)), true},
               {"a rename keeps the level", t(N("a", "D", "s", NEW)), true},
               {"new by its level", t(L("p", "p", "s", SECURITY_PUBLIC, true, NEW)), true},
               {"a port is no member", t(Group(IN, G::PORT, "m", "g")), false},
               {"two new ones", t(Group(IN, G::KEEP, "m", "g")), true},
               {"again", t(Group(IN, G::INHERIT, "m", "g")), false},
               {"a new group", t(Group(IN, G::KEEP, "m", "h")), true},
               {"an old group", t(Group(OUT, G::KEEP, "m", "g", OLD)), false},
               {"included", t.IsIncluded("m"), true}, {"never the group", t.IsIncluded("g"), false},
               {"a member becomes a group", t(Group(IN, G::KEEP, "n", "m")), true},
               {"no member now", t.IsIncluded("m"), false},
               {"excluded", t(Group(OUT, G::KEEP, "n", "m")), true}});
        EXPECT_EQ(t.Facts("a") + "; " + t.Facts("g"), "D s 5 0 " + blocks + "; g gs 0 1 " + blocks);
        Check({{"an older end", t(D("a", "s", "", OLD)), false},
               {"told too early", t.On(D("a", "s", "", NEW)), false},
               {"the end", t(D("a", "s", "", LATER)), true}, {"unknown", t(D("a", "s", "", LATER)), false},
               {"a new life", t(P("a", "A", "s", 3, NEW)), true},
               {"loopback", t.AddLoopback(SECURITY_PRIVATE), true},
               {"again", t.AddLoopback(SECURITY_PRIVATE), false},
               {"its level", t.AddLoopback(SECURITY_PROTECTED), true}});
        EXPECT_EQ(t.Facts("a") + "; " + t.Facts("Loopback"),
                  "A s 3 1 " + blocks + "; Loopback lo 0 2 " + loopback);
    };
    run(Follower4(), "0.0.0.0/0", "127.0.0.1/32");
    run(Follower6(), "::/0", "::/0 ::1/128");
    EXPECT_EQ(log.Take(), LogCapture::LinesT());
}

TEST(Trackers, FollowAddresses) {
    Follower4 t;
    Check({{"primary", t(Four(E4::PRIMARY, 0, "1.2.3.4/24")), true},
           {"the same", t(Four(E4::PRIMARY, 0, "1.2.3.4/24")), false},
           {"old", t(Four(E4::PRIMARY, 0, "9.9.9.9/24", 0, OLD)), false},
           {"alias", t(Four(E4::ALIAS, 0, "1.2.3.5/24")), true},
           {"known", t(Four(E4::ALIAS, 0, "1.2.3.5/24")), false},
           {"another action", t(Four(E4::ALIAS, 2, "1.2.3.6/24", 7)), false},
           {"another one", t(Four(E4::ALIAS, 0, "1.2.3.6/24", 7)), true},
           {"removed", t(Four(E4::ALIAS, 1, "1.2.3.5/24", 7)), true},
           {"not there", t(Four(E4::ALIAS, 1, "1.2.3.5/24", 7)), false},
           {"the priority", t(Four(E4::ALIAS, 1, "1.2.3.5/24", 8)), true},
           {"any other clears", t(Four(E4::PRIMARY, 2, "1.2.3.4/24", 8)), true}});
    EXPECT_EQ(Blocks(t, "a"), "0.0.0.0/0 1.2.3.6/24");
    Follower6 s;
    Check({{"link-local", s(Six(E6::ADDED, "fe80::1/64")), true},
           {"stored by its removal as well", s(Six(E6::REMOVED, "fe80::2/64")), true},
           {"the same", s(Six(E6::REMOVED, "fe80::2/64")), false},
           {"added", s(Six(E6::ADDED, "2001::1/64")), true},
           {"known", s(Six(E6::UPDATED, "2001::1/64")), false},
           {"another length", s(Six(E6::UPDATED, "2001::1/65")), true},
           {"not yet", s(Six(E6::TENTATIVE, "2001::3/64", 1)), false},
           {"removed", s(Six(E6::REMOVED, "2001::1/64", 1)), true},
           {"the priority", s(Six(E6::REMOVED, "2001::1/64", 2)), true},
           {"old", s(Six(E6::ADDED, "2001::9/64", 2, OLD)), false}});
    EXPECT_EQ(Blocks(s, "a"), "fe80::2/64 2001::1/65");
}

TEST(Trackers, AnswerNeutrallyForUnknownInterfaces) {
    auto const run = [](auto&& tracker, std::string const& ident, char const* facts) {
        LogCapture log;
        for (DebugT const debug : {DEBUG_OFF, DEBUG_ON, DebugT(2)}) {
            tracker.SetDebug(debug);
            EXPECT_EQ(tracker.Facts("a"), facts);
        }
        LogCapture::LinesT lines = log.Take(), expected;
        for (char const* what : {"aliases", "global priority", "included", "primary address",
                                 "security level", "system name"})
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
    EXPECT_EQ(Joined(blocks[0], record.Aliases()), "1.1.1.1/8 2.2.2.2/8 1.1.1.1/8");
}

// Every operation under each failure, and once more with memory: nothing must be missing then.
template<class FollowerT, class EventT>
void FailEverywhere(std::string const& ident, EventT const& event, std::string const& facts) {
    LogCapture log;
    std::string const oom = "C " + ident + ": \"test\": out of memory [0xcffe****].";
    std::string const fail = "C " + ident + ": \"test\": system failed [0xcffd****].";
    IfNameChanged const name("a", "n", "s", Span());
    IfGlobalChanged const rank("b", "second", "s", 1, Span());
    IfGlobalChanged const rename("b", "a name that needs more memory", "s", 1, Span());
    IfPrivateChanged const trust("b", "another name, and the longest", "s", SECURITY_PRIVATE, true, Span());
    IfGroup const group(IfGroup::INCLUDED, IfGroup::KEEP, "a", "a member of the group, with another name",
                        "s", "g", "group", "gs", LINK_UP, CONN4_UP, CONN6_UP, IF_UP, Span(), Span());
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
            bool const results[] = {t.AddLoopback(SECURITY_PUBLIC), t.On(name), t.On(event), t.On(rank),
                                    t.On(rename), t.On(trust), t.On(group)};
            return std::count(std::begin(results), std::end(results), true) == std::ssize(results);
        };
        bool const ok = follow() && t.Initialized();
        heap.Disarm();
        EXPECT_EQ(ok, !heap.Fired());
        EXPECT_EQ(log.Has(oom), t.Initialized() && !ok);
        log.Clear();
        (void)follow();
        EXPECT_EQ(t.Facts("Loopback") + "; " + t.Facts("a") + "; " + t.Facts("b"), facts);
    });
}

TEST(Trackers, SayExactlyWhenMemoryRanOut) {
    char const name[] = "what the address event calls it";
    FailEverywhere<Follower4>(
        "Network::Interface::Ip4TrackerBase",
        E4("a", name, "s", Value<IpBlock>("1.2.3.4/24"), E4::STATIC, E4::ALIAS, E4::SET, 0, Span()),
        "Loopback lo 0 1 127.0.0.1/32; a member of the group, with another name s 0 1 included 0.0.0.0/0 "
        "1.2.3.4/24; another name, and the longest s 1 0 0.0.0.0/0");
    FailEverywhere<Follower6>(
        "Network::Interface::Ip6TrackerBase",
        E6(E6::ADDED, "a", name, "s", Value<Ip6::Block>("1::2/64"), Ip6::ProtoT(), 0, Span()),
        "Loopback lo 0 1 ::/0 ::1/128; a member of the group, with another name s 0 1 included ::/0 "
        "1::2/64; another name, and the longest s 1 0 ::/0");
}

// Gives the `changed` of an event.
struct Wan : Ip46Wan {
    bool operator()(IpWan const& event) {
        bool changed = event.CurrentId().Empty();
        EXPECT_TRUE(OnIpWan(event, changed));
        return changed;
    }
    bool operator()(Ip6Wan const& event) {
        bool changed = event.CurrentId().Empty();
        EXPECT_TRUE(OnIp6Wan(event, changed));
        return changed;
    }
    static std::string Facts(CString const& id, CString const& name, std::string const& address) {
        return id.Cstr() + std::string(" ") + name.Cstr() + " " + address;
    }
    std::string Facts4() const { return Facts(Ip4WanId(), Ip4WanSystemName(), Shown(Ip4WanAddress())); }
    std::string Facts6() const { return Facts(Ip6WanId(), Ip6WanSystemName(), Shown(Ip6WanAddress())); }
};
IpWan Wan4(char const* id, unsigned long priority, char const* address = "1.1.1.1",
           char const* name = "sys4") {
    return {"x", "x", "x", 0, IpWan::UP, 0, id, "n", name, 0, priority, Value<IpAddress>(address), {}};
}
Ip6Wan Wan6(char const* id, unsigned long priority, char const* address = "2001::1",
            char const* name = "sys6") {
    return {"x", "x", "x", Ip6Wan::UP, 0, id, "n", name, priority, Value<Ip6::Address>(address), {}};
}

TEST(Ip46Wan, TellsWhichWanLeads) {
    Wan wan;
    Check({{"none", wan(Wan4("", 0)), false}, {"the first", wan(Wan4("a", 5)), true},
           {"the same", wan(Wan4("a", 5)), false}, {"another address", wan(Wan4("a", 5, "1.1.1.2")), true},
           {"IPv6 below", wan(Wan6("b", 4)), false},
           {"takes over at equal priority", wan(Wan6("b", 5)), true},
           {"the same", wan(Wan6("b", 5)), false}, {"another address", wan(Wan6("b", 5, "2001::2")), true},
           {"it leads", wan.IsIp6WanPrimary(), true}, {"IPv4 does not lead", wan(Wan4("c", 5)), false},
           {"IPv4 takes over", wan(Wan4("c", 6)), true}, {"it leads", wan.IsIp6WanPrimary(), false},
           {"the leader falls", wan(Wan4("c", 4)), true}, {"and rises", wan(Wan4("c", 6)), true},
           {"still below", wan(Wan6("b", 3)), false}, {"the end of IPv6, below", wan(Wan6("", 0)), false},
           {"IPv6 takes over", wan(Wan6("b", 6)), true},
           {"the end of IPv4, below", wan(Wan4("", 0)), false},
           {"IPv4 takes over", wan(Wan4("d", 7)), true}, {"the end of the leader", wan(Wan4("", 0)), true},
           {"another one", wan(Wan6("e", 6)), true}, {"equal is not above", wan(Wan4("d", 6)), false},
           {"the leader falls", wan(Wan6("e", 5)), true}, {"and rises", wan(Wan6("e", 6)), true},
           {"has both", wan.HasIp4() && wan.HasIp6(), true},
           {"the end of the leader at equal priority", wan(Wan6("", 0)), true},
           {"none", wan(Wan6("", 0)), false},
           {"a weak one behind it", wan(Wan6("g", 5)), false}, {"its end", wan(Wan6("", 0)), false}});
    EXPECT_TRUE(wan.HasIp4() && !wan.HasIp6() && wan.HasAddress());
    EXPECT_EQ(wan.Facts4() + wan.Facts6(), "d sys4 1.1.1.1  ::");
    (void)wan(Wan4("", 0));
    EXPECT_FALSE(wan.HasIp4() || wan.HasAddress() || wan.IsIp6WanPrimary());
    EXPECT_TRUE(wan(Wan6("f", 0, "::")));
    EXPECT_FALSE(wan.HasIp6() || wan.IsIp6WanPrimary()) << "no address";
    EXPECT_EQ(wan.Facts4() + wan.Facts6(), "  0.0.0.0f sys6 ::");
}

TEST(Ip46Wan, ChangesNothingWithoutMemory) {
    IpWan const four = Wan4("other", 9, "0.0.0.9", "system");
    Ip6Wan const six = Wan6("other", 9, "::9", "system");
    ForEveryAllocation([&](Heap& heap) {
        Wan wan;
        (void)(wan(Wan4("a", 3)), wan(Wan6("b", 3)));
        bool changed4 = true, changed6 = true;
        heap.Arm();
        bool const ok4 = wan.OnIpWan(four, changed4), ok6 = wan.OnIp6Wan(six, changed6);
        heap.Disarm();
        EXPECT_EQ(ok4 && ok6, !heap.Fired());
        EXPECT_TRUE(changed4 == ok4 && changed6 == ok6);
        EXPECT_EQ(wan.Facts4(), ok4 ? "other system 0.0.0.9" : "a sys4 1.1.1.1");
        EXPECT_EQ(wan.Facts6(), ok6 ? "other system ::9" : "b sys6 2001::1");
        EXPECT_EQ(wan.IsIp6WanPrimary(), ok6 || !ok4);
    });
}

} // namespace
// clang-format on
