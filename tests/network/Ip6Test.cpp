#include "tests/network/Values.h"
#include "zeb/network/Ip6Prefix.h"
#include "zeb/network/Ip6SocketAddress.h"

namespace {

using namespace Network::Ip6;

Address Ip(char const* text) { return Value<Address>(text); }
Block BlockOf(char const* text) { return Value<Block>(text); }
Prefix PrefixOf(char const* text) { return Value<Prefix>(text); }

TEST(Ip6AddressTest, TextForms) {
    EXPECT_EQ(Shown(Ip("20010db8000000000000000000000001"), Ip("::ffff:1.2.3.4")), "2001:db8::1 ::ffff:1.2.3.4");
    ExpectRefused(Ip("::1"), {"20010db800000000000000000000000g", "20010db80000000000000000000000012", "1:2", "",
                              "0000:0000:0000:0000:0000:0000:0000:0000:000000"});
    in6_addr raw;
    char text[INET6_ADDRSTRLEN];
    EXPECT_TRUE(Sscan6("fe80::1xyz", 8, &raw) == 0 && Sscan6("fe80::1xyz", 7, &raw) == 1);
    EXPECT_EQ(Sprint6(text, &raw), 7u);
    EXPECT_STREQ(text, "fe80::1");
}

TEST(Ip6AddressTest, KindsAndLabels) {
    // L(oopback), z(ero), l(ink-local), s(ite-local), m(ulticast), 4 for mapped, t(ranslated), d(iscard); the label
    std::tuple<char const*, char const*, unsigned> const rows[] = {
        {"::1", "L", 0},       {"::", "z", 3},       {"::1.2.3.4", "", 3},   {"::ffff:0:1", "4", 4},    {"2002::1", "", 2},
        {"2003::1", "", 1},    {"fc00::1", "", 5},   {"fdff::1", "", 5},     {"2001:0:1::", "", 6},     {"2001:1f::", "", 7},
        {"2001:20::", "", 1},  {"fec0::1", "s", 11}, {"feff::1", "s", 11},   {"3ffe::1", "", 12},       {"fe80::1", "l", 1},
        {"febf::1", "l", 1},   {"ff02::1", "m", 1},  {"64:ff9b::1", "t", 1}, {"64:ff9b::1:0:1", "", 1}, {"100::1", "d", 1},
        {"100:0:0:1::", "", 1}};
    for (auto const& [text, kinds, label] : rows) {
        Address const a = Ip(text);
        EXPECT_EQ(Letters("Lzlsm4td", {a.IsLoopBack(), a.IsZero(), a.IsLinkLocal(), a.IsSiteLocal(), a.IsMulticast(),
                                       a.IsIpv4Mapped(), a.IsIpv4v6Translated(), a.IsDiscardOnly()}),
                  kinds)
            << text;
        EXPECT_EQ(a.Label(), label) << text;
    }
    EXPECT_EQ(Shown(Ip("2001:db8::12:3456").SolicitedMulticast(), Address::AllNodes()), "ff02::1:ff12:3456 ff02::1");
    EXPECT_TRUE(Ip("1::") < Ip("2::") && Ip("1::2") > Ip("1::1"));
    char const* const names[] = {"", "STATIC", "DHCP", "SLAAC", "PRIVACY EXTENSION", "KERNEL", ""};
    for (uint32_t i = 0; i < 7; ++i) EXPECT_STREQ(Address::ProtoName(static_cast<ProtoT>(i)).Cstr(), names[i]);
}

TEST(Ip6BlockTest, KeepsTheHostBits) {
    EXPECT_TRUE(BlockOf("1::/128").IsHost());
    ExpectRefused(BlockOf("1::/128"), {"::/01", "::/+064", "::/129", "::/256", "::/", "::", "::/-1", "1:2/3", "/64"});
    Block const block = BlockOf("2001:db8::1/33");
    EXPECT_EQ(Shown(BlockOf("fe80::1/64"), BlockOf("::/00"), block.Mask()), "fe80::1/64 ::/0 ffff:ffff:8000::");
    EXPECT_TRUE(CBlock(Ip("::1"), 0).Mask().IsZero() && BlockOf("::/0").IsZero());
    EXPECT_TRUE(block.Has(Ip("2001:db8:7fff::")) && !block.Has(Ip("2001:db8:8000::")));
    EXPECT_EQ(Shown(CBlock::LinkLocal(), CBlock::SiteLocal()), "fe80::/10 fc00::/7");
    EXPECT_FALSE(BlockOf("1::/64") == BlockOf("1::/65"));
}

TEST(Ip6PrefixTest, HasNoBitsBehindItsLength) {
    EXPECT_EQ(Shown(Prefix(Ip("fe80::1"), 64), Prefix(BlockOf("ffff::/13"))), "fe80::/64 fff8::/13");
    Prefix prefix = PrefixOf("2001:db8::/62");
    ExpectRefused(prefix, {"fe80::1/64"});
    EXPECT_FALSE(prefix.Append(4, 2)) << "a further bit";
    EXPECT_FALSE(prefix.Append(0, 65) || prefix.Append(0, 67)) << "too long";
    EXPECT_TRUE(prefix.Append(3, 2));
    EXPECT_EQ(Shown(prefix), "2001:db8:0:3::/64");
    EXPECT_TRUE(prefix.Append(~0UL, 64));
    EXPECT_EQ(Shown(prefix), "2001:db8:0:3:ffff:ffff:ffff:ffff/128");
    EXPECT_FALSE(prefix.Append(0, 1) || prefix.Extend(1));
    EXPECT_TRUE(prefix.Resize(48));
    EXPECT_EQ(Shown(prefix), "2001:db8::/48");
    EXPECT_TRUE(prefix.Extend(16) && !prefix.Resize(129));
    EXPECT_EQ(Shown(prefix), "2001:db8::/64");
    prefix.Clear();
    EXPECT_TRUE(prefix == Prefix::Zero() && IsPrefix(BlockOf("1::1/128")) && !IsPrefix(BlockOf("1::1/127")));
}

TEST(Ip6PrefixTest, OrderMatchesAndConflicts) {
    ExpectOrder<Prefix>({"::1/128", "2000::/8", "2000::/16", "2001:db8::/32", "2002::/16", "fc00::/7"});
    auto const wide = PrefixOf("2001:db8::/32"), narrow = PrefixOf("2001:db8:1::/48");
    EXPECT_TRUE(Match(Ip("2001:db8::1"), wide) && !Match(Ip("2001:db9::1"), wide));
    EXPECT_TRUE(HasConflict(wide, narrow) && HasConflict(narrow, wide));
    EXPECT_FALSE(HasConflict(narrow, PrefixOf("2001:db8:2::/48")));
}

TEST(Ip6SuffixTest, CombinesWithAPrefix) {
    auto const suffix = Value<Suffix>("::1:0:0:1/64");
    ExpectRefused(suffix, {"1::1/64"}); // a bit ahead of the suffix
    EXPECT_EQ(Shown(Suffix(Ip("ffff::ffff"), 12), Suffix(Ip("ffff::ffff"), 0)), "::fff/12 ::/0");
    Address out = Ip("::7");
    EXPECT_TRUE(PrefixOf("2001:db8::/64").Combine(suffix, out));
    EXPECT_FALSE(PrefixOf("2001:db8::/64").Combine(Suffix(Ip("::1"), 65), out));
    EXPECT_EQ(Shown(out), "2001:db8::1:0:0:1") << "unchanged by the second";
}

TEST(Ip6SocketAddressTest, KernelFormTextAndLogArgument) {
    sockaddr_in6 foreign{};
    foreign.sin6_family = AF_INET;
    ExpectSocketAddress(SocketAddress(Ip("fe80::1"), 443), foreign, "[fe80::1]:443");
}

} // namespace
