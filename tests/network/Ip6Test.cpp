#include "tests/support/LogCapture.h"
#include "zeb/core/String.h"
#include "zeb/network/Ip6Prefix.h"
#include "zeb/network/Ip6SocketAddress.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace Network::Ip6;

Address Ip(char const* text) {
    Address address;
    EXPECT_TRUE(address.Assign(text)) << text;
    return address;
}

Block BlockOf(char const* text) {
    Block block;
    EXPECT_TRUE(block.Assign(text)) << text;
    return block;
}

Prefix PrefixOf(char const* text) {
    Prefix prefix;
    EXPECT_TRUE(prefix.Assign(text)) << text;
    return prefix;
}

std::string Text(CBlock const& block) { return CBlock::Str(block).Cstr(); }

TEST(Ip6AddressTest, TextForms) {
    EXPECT_STREQ(Address::Str(Ip("20010db8000000000000000000000001")).Cstr(), "2001:db8::1");
    EXPECT_STREQ(Address::Str(Ip("::ffff:1.2.3.4")).Cstr(), "::ffff:1.2.3.4");
    Address address = Ip("::1");
    for (char const* const text : {"20010db800000000000000000000000g", "20010db80000000000000000000000012",
                                   "1:2", "", "0000:0000:0000:0000:0000:0000:0000:0000:000000"})
        EXPECT_FALSE(address.Assign(text)) << text;
    EXPECT_TRUE(address.IsLoopBack()) << "unchanged";
    in6_addr raw;
    char text[INET6_ADDRSTRLEN];
    EXPECT_EQ(Sscan6("fe80::1xyz", 7, &raw), 1);
    EXPECT_EQ(Sprint6(text, &raw), 7u);
    EXPECT_STREQ(text, "fe80::1");
    EXPECT_EQ(Sscan6("fe80::1xyz", 8, &raw), 0);
}

TEST(Ip6AddressTest, KindsAndLabels) {
    struct {
        char const* text;
        char const* kinds;
        unsigned label;
    } const rows[] = {
        {"::1", "loopback", 0},      {"::", "zero", 3},           {"::1.2.3.4", "", 3},
        {"::ffff:0:1", "mapped", 4}, {"2002::1", "", 2},          {"2003::1", "", 1},
        {"fc00::1", "", 5},          {"fdff::1", "", 5},          {"2001:0:1::", "", 6},
        {"2001:1f::", "", 7},        {"2001:20::", "", 1},        {"fec0::1", "site", 11},
        {"feff::1", "site", 11},     {"3ffe::1", "", 12},         {"fe80::1", "link", 1},
        {"febf::1", "link", 1},      {"ff02::1", "multicast", 1}, {"64:ff9b::1", "translated", 1},
        {"64:ff9b::1:0:1", "", 1},   {"100::1", "discard", 1},    {"100:0:0:1::", "", 1},
    };
    for (auto const& row : rows) {
        Address const address = Ip(row.text);
        std::string kinds;
        if (address.IsLoopBack()) kinds += "loopback";
        if (address.IsZero()) kinds += "zero";
        if (address.IsLinkLocal()) kinds += "link";
        if (address.IsSiteLocal()) kinds += "site";
        if (address.IsMulticast()) kinds += "multicast";
        if (address.IsIpv4Mapped()) kinds += "mapped";
        if (address.IsIpv4v6Translated()) kinds += "translated";
        if (address.IsDiscardOnly()) kinds += "discard";
        EXPECT_EQ(kinds, row.kinds) << row.text;
        EXPECT_EQ(address.Label(), row.label) << row.text;
    }
    EXPECT_TRUE(Ip("2001:db8::12:3456").SolicitedMulticast() == Ip("ff02::1:ff12:3456"));
    EXPECT_TRUE(Address::AllNodes() == Ip("ff02::1"));
    EXPECT_TRUE(Ip("1::") < Ip("2::") && Ip("1::2") > Ip("1::1"));
    char const* const names[] = {"", "STATIC", "DHCP", "SLAAC", "PRIVACY EXTENSION", "KERNEL", ""};
    for (uint32_t i = 0; i < 7; ++i)
        EXPECT_STREQ(Address::ProtoName(static_cast<ProtoT>(i)).Cstr(), names[i]);
}

TEST(Ip6BlockTest, KeepsTheHostBits) {
    EXPECT_EQ(Text(BlockOf("fe80::1/64")), "fe80::1/64");
    EXPECT_EQ(Text(BlockOf("::/0")), "::/0");
    Block block = BlockOf("1::/128");
    EXPECT_TRUE(block.IsHost());
    for (char const* const text :
         {"::/01", "::/129", "::/256", "::/", "::", "::/-1", "1:2/3", "::/00", "/64"})
        EXPECT_EQ(block.Assign(text), std::string(text) == "::/00") << text;
    EXPECT_TRUE(block.IsZero()) << "00 is the length 0";
    EXPECT_TRUE(BlockOf("2001:db8::1/33").Mask() == Ip("ffff:ffff:8000::"));
    EXPECT_TRUE(CBlock(Ip("::1"), 0).Mask().IsZero());
    EXPECT_TRUE(BlockOf("2001:db8::1/33").Has(Ip("2001:db8:7fff::")));
    EXPECT_FALSE(BlockOf("2001:db8::1/33").Has(Ip("2001:db8:8000::")));
    EXPECT_EQ(Text(CBlock::LinkLocal()), "fe80::/10");
    EXPECT_EQ(Text(CBlock::SiteLocal()), "fc00::/7");
    EXPECT_FALSE(BlockOf("1::/64") == BlockOf("1::/65"));
}

TEST(Ip6PrefixTest, HasNoBitsBehindItsLength) {
    EXPECT_EQ(Text(Prefix(Ip("fe80::1"), 64)), "fe80::/64");
    EXPECT_EQ(Text(Prefix(BlockOf("ffff::/13"))), "fff8::/13");
    Prefix prefix = PrefixOf("2001:db8::/62");
    EXPECT_FALSE(prefix.Assign("fe80::1/64"));
    EXPECT_FALSE(prefix.Append(4, 2)) << "a further bit";
    EXPECT_FALSE(prefix.Append(0, 65));
    EXPECT_FALSE(prefix.Append(0, 64) && prefix.Append(0, 64));
    prefix = PrefixOf("2001:db8::/62");
    EXPECT_TRUE(prefix.Append(3, 2));
    EXPECT_EQ(Text(prefix), "2001:db8:0:3::/64");
    EXPECT_TRUE(prefix.Append(~0UL, 64));
    EXPECT_EQ(Text(prefix), "2001:db8:0:3:ffff:ffff:ffff:ffff/128");
    EXPECT_FALSE(prefix.Append(0, 1));
    EXPECT_FALSE(prefix.Extend(1));
    EXPECT_TRUE(prefix.Resize(48));
    EXPECT_EQ(Text(prefix), "2001:db8::/48");
    EXPECT_TRUE(prefix.Extend(16));
    EXPECT_FALSE(prefix.Resize(129));
    EXPECT_EQ(Text(prefix), "2001:db8::/64");
    prefix.Clear();
    EXPECT_TRUE(prefix == Prefix::Zero());
    EXPECT_TRUE(IsPrefix(BlockOf("1::1/128")));
    EXPECT_FALSE(IsPrefix(BlockOf("1::1/127")));
}

TEST(Ip6PrefixTest, OrderMatchesAndConflicts) {
    char const* const order[] = {"::1/128",       "2000::/8",  "2000::/16",
                                 "2001:db8::/32", "2002::/16", "fc00::/7"};
    for (int i = 0; i < 6; ++i) {
        for (int k = 0; k < 6; ++k)
            EXPECT_EQ(PrefixOf(order[i]) < PrefixOf(order[k]), i < k) << order[i] << " < " << order[k];
    }
    EXPECT_TRUE(Match(Ip("2001:db8::1"), PrefixOf("2001:db8::/32")));
    EXPECT_FALSE(Match(Ip("2001:db9::1"), PrefixOf("2001:db8::/32")));
    EXPECT_TRUE(HasConflict(PrefixOf("2001:db8::/32"), PrefixOf("2001:db8:1::/48")));
    EXPECT_TRUE(HasConflict(PrefixOf("2001:db8:1::/48"), PrefixOf("2001:db8::/32")));
    EXPECT_FALSE(HasConflict(PrefixOf("2001:db8:1::/48"), PrefixOf("2001:db8:2::/48")));
}

TEST(Ip6SuffixTest, CombinesWithAPrefix) {
    Suffix suffix;
    EXPECT_FALSE(suffix.Assign("1::1/64")) << "a bit ahead of the suffix";
    EXPECT_TRUE(suffix.Assign("::1:0:0:1/64"));
    EXPECT_EQ(Text(Suffix(Ip("ffff::ffff"), 12)), "::fff/12");
    EXPECT_EQ(Text(Suffix(Ip("ffff::ffff"), 0)), "::/0");
    Address out = Ip("::7");
    EXPECT_TRUE(PrefixOf("2001:db8::/64").Combine(suffix, out));
    EXPECT_TRUE(out == Ip("2001:db8::1:0:0:1"));
    EXPECT_FALSE(PrefixOf("2001:db8::/64").Combine(Suffix(Ip("::1"), 65), out));
    EXPECT_TRUE(out == Ip("2001:db8::1:0:0:1")) << "unchanged";
}

TEST(Ip6SocketAddressTest, KernelFormTextAndLogArgument) {
    SocketAddress const address(Ip("fe80::1"), 443);
    EXPECT_STREQ(SocketAddress::Str(address).Cstr(), "[fe80::1]:443");
    SocketAddress other;
    EXPECT_FALSE(other.Assign(address.Sockaddr(), 16));
    EXPECT_TRUE(other.Assign(address.Sockaddr(), SocketAddress::Socklen()));
    EXPECT_TRUE(other == address);
    EXPECT_EQ(other.Port(), 443);
    EXPECT_TRUE(other.Address() == Ip("fe80::1"));
    sockaddr_in6 foreign = address.SockaddrIn6();
    foreign.sin6_family = AF_INET;
    EXPECT_FALSE(other.Assign(foreign));
    String text;
    EXPECT_TRUE(address.AsString(text));
    EXPECT_STREQ(text.Cstr(), "[fe80::1]:443");
    LogCapture log;
    Log(Log::INFO, "Test", nullptr, "to %1 from %2") << address << "here";
    EXPECT_EQ(log.Take(), LogCapture::LinesT{"I Test: to [fe80::1]:443 from here."});
}

} // namespace
