#include "tests/network/Values.h"
#include "zeb/network/IpBlock.h"
#include "zeb/network/LlAddress.h"
#include "zeb/network/MacAddress.h"
#include "zeb/network/SocketAddress.h"
#include "zeb/network/TrafficSelector.h"

#include <map>

namespace {

using namespace Network;

IpAddress Ip(char const* text) { return Value<IpAddress>(text); }
IpBlock Block(char const* text) { return Value<IpBlock>(text); }

TEST(IpAddressTest, CountsInHostOrder) {
    IpAddress address(0x01020304);
    ExpectRefused(address, {"1.2.3", ""});
    EXPECT_EQ(address.Inaddr().s_addr, htonl(0x01020304));
    EXPECT_EQ(Shown(address, address + 0x100), "1.2.3.4 1.2.4.4");
    EXPECT_EQ(address - Ip("1.2.3.1"), 3);
    EXPECT_EQ(Ip("1.2.3.1") - address, -3);
    EXPECT_LT(Ip("9.255.255.255"), Ip("10.0.0.0"));
    EXPECT_EQ((address++).Value(), 0x01020304u);
    EXPECT_EQ((--address).Value(), 0x01020304u);
    EXPECT_EQ((address & 0xFFFF0000u).Value() | 1u, (Ip("1.2.0.0") | 1u).Value());
    char text[16];
    in_addr const raw = Ip("192.168.1.1").Inaddr();
    EXPECT_EQ(IpAddress::Print(text, &raw), 11u);
    EXPECT_STREQ(text, "192.168.1.1");
}

TEST(IpAddressTest, RangesAndClasses) {
    std::pair<char const*, char const*> const rows[] = {
        // m(ulticast), l(ink-local), L(oopback), r(eserved), p(rivate)
        {"223.255.255.255", ""}, {"224.0.0.0", "m"},      {"239.255.255.255", "m"}, {"240.0.0.0", "r"},
        {"169.253.255.255", ""}, {"169.254.0.0", "l"},    {"169.255.0.0", ""},      {"127.0.0.1", "L"},
        {"128.0.0.0", ""},       {"10.255.255.255", "p"}, {"11.0.0.0", ""},         {"172.15.255.255", ""},
        {"172.16.0.0", "p"},     {"172.31.255.255", "p"}, {"172.32.0.0", ""},       {"192.168.255.255", "p"},
        {"192.169.0.0", ""},     {"255.255.255.255", "r"}};
    for (auto const& [text, kinds] : rows) {
        IpAddress const a = Ip(text);
        EXPECT_EQ(Letters("mlLrp", {a.IsMulticast(), a.IsLinkLocal(), a.IsLoopback(), a.IsReserved(), a.IsPrivate()}), kinds)
            << text;
    }
    // The classes look at the last octet.
    for (auto const& [last, expected] : std::map<unsigned, std::string>{
             {0x7F, "A"}, {0x80, "B"}, {0xBF, "B"}, {0xC0, "C"}, {0xE0, "D"}, {0xEF, "D"}, {0xF0, "E"}}) {
        IpAddress const a(0xFFFFFF00u | last);
        EXPECT_EQ(Letters("ABCDE", {a.IsClassA(), a.IsClassB(), a.IsClassC(), a.IsClassD(), a.IsClassE()}), expected);
    }
}

TEST(IpMaskTest, IsARunOfOnes) {
    IpMask mask, same;
    for (unsigned length = 0; length <= 32; ++length) {
        EXPECT_TRUE(mask.Generate(length) && same.Assign(static_cast<IpAddress const&>(mask)));
        EXPECT_EQ(mask.Value(), length == 0 ? 0 : 0xFFFFFFFFu << (32 - length));
        EXPECT_EQ(std::pair(mask.Length(), same == mask), std::pair(length, true));
    }
    EXPECT_FALSE(mask.Generate(33));
    ExpectRefused(mask, {"255.0.255.0", "0.0.0.1", "127.255.255.255", "255.255.255", "24"});
    EXPECT_TRUE(mask == IpMask::_32_BIT && &IpMask::Host() == &IpMask::_32_BIT);
    EXPECT_EQ(Shown(IpMask::__1_BIT, IpMask::__8_BIT, IpMask::_17_BIT, IpMask::_24_BIT.Invert()),
              "128.0.0.0 255.0.0.0 255.255.128.0 0.0.0.255");
    EXPECT_GT(IpMask::_24_BIT, IpMask::_16_BIT);
    EXPECT_EQ(IpMask::_17_BIT.operator IpAddress(), Ip("255.255.128.0"));
    memset(static_cast<void*>(&mask), 0x5A, sizeof(mask)); // one that came through no check
    EXPECT_EQ(mask.Length(), 32u);
}

TEST(IpBlockTest, ReadsBothFormsOfItsMask) {
    IpBlock block = Block("1.2.3.4/255.255.0.0");
    EXPECT_EQ(Shown(block, Block("255.255.255.255/32")), "1.2.3.4/16 255.255.255.255/32");
    EXPECT_TRUE(Block("0.0.0.0/0") == IpBlock::Zero());
    ExpectRefused(block, {"1.2.3.4", "1.2.3.4/33", "1.2.3.4/", "1.2.3.4/-1", "1.2.3/16", "1.2.3.4/16 ", "1.2.3.4/255.0.255.0",
                          "0000000000000000/1", "/16", ""});
    EXPECT_TRUE(block.Has(Ip("1.2.9.9")) && !block.Has(Ip("1.3.0.0")));
    EXPECT_EQ(Shown(block.Broadcast(), block.Subnet()), "1.2.255.255 1.2.0.0");
    block.Normalize();
    EXPECT_EQ(Shown(block, IpBlock::Multicast(), IpBlock::LinkLocal()), "1.2.0.0/16 224.0.0.0/4 169.254.0.0/16");
    IpBlock const wide = Block("10.0.0.0/8"), narrow = Block("10.9.0.0/16");
    EXPECT_EQ(Letters("wno", {wide.Overlap(narrow), narrow.Overlap(wide), narrow.Overlap(Block("10.8.0.0/16"))}), "wn");
    ExpectOrder<IpBlock>({"9.0.0.0/8", "10.1.2.3/32", "10.1.0.0/16", "10.0.0.0/8", "11.0.0.0/24"});
}

TEST(MacAddressTest, TextAndKinds) {
    auto address = Value<MacAddress>("AA:bb:CC:00:11:22"), other = MacAddress();
    EXPECT_EQ(Shown(address), "aa:bb:cc:00:11:22");
    ExpectRefused(address, {"aa-bb-cc-00-11-22", "aa:bb:cc:00:11:2", "aa:bb:cc:00:11:22:", "ga:bb:cc:00:11:22", ""});
    sockaddr raw = address.SockAddr();
    EXPECT_EQ(raw.sa_family, 1);
    EXPECT_TRUE(other.Assign(raw) && other == address);
    raw.sa_family = 772;
    EXPECT_FALSE(other.Assign(raw));
    std::pair<char const*, char const*> const rows[] = {// u(nicast), m(ulticast), l(ocal)
                                                        {"00:00:00:00:00:00", ""},   {"ff:ff:ff:ff:ff:ff", "l"},
                                                        {"01:00:5e:00:00:01", "m"},  {"03:00:00:00:00:01", "m"},
                                                        {"02:00:00:00:00:01", "ul"}, {"00:11:22:33:44:55", "u"}};
    for (auto const& [text, kinds] : rows) {
        address = Value<MacAddress>(text);
        EXPECT_EQ(Letters("uml", {address.IsUnicast(), address.IsMulticast(), address.IsLocal()}), kinds) << text;
    }
    for (bool const local : {true, false}) {
        address.SetLocal(local);
        EXPECT_EQ(address[0], local ? 2 : 0);
    }
    EXPECT_TRUE(MacAddress::Zero() < address && MacAddress::Broadcast() > address);
}

TEST(MacAddressTest, CountsWithinItsLastThreeBytes) {
    std::tuple<char const*, long, char const*> const rows[] = {{"00:00:00:ff:ff:ff", 1, "00:00:00:00:00:00"},
                                                               {"00:00:00:00:00:ff", 1, "00:00:00:00:01:00"},
                                                               {"0a:00:00:00:00:00", -1, "0a:00:00:ff:ff:ff"},
                                                               {"0a:00:00:01:02:03", 0x1010101, "0a:00:00:02:03:04"},
                                                               {"0a:00:00:01:02:03", -0x10203, "0a:00:00:00:00:00"}};
    for (auto const& [from, by, to] : rows) {
        auto address = Value<MacAddress>(from);
        if (by > 0) address.Increment(static_cast<unsigned long>(by));
        if (by < 0) address.Decrement(static_cast<unsigned long>(-by));
        EXPECT_EQ(Shown(address), to) << from;
    }
}

TEST(LlAddressTest, IsWhatTheKernelTakes) {
    auto const mac = Value<MacAddress>("00:11:22:33:44:55");
    LlAddress address(mac), copy;
    address.SetProtocol(LlAddress::PROTOCOL_ARP);
    address.SetIfIndex(3);
    sockaddr_ll raw = {AF_PACKET, htons(0x0806), 3, 0, 0, 6, {0, 0x11, 0x22, 0x33, 0x44, 0x55}};
    EXPECT_EQ(memcmp(&address.LlAddr(), &raw, sizeof(raw)), 0);
    EXPECT_FALSE(copy == address);
    EXPECT_TRUE(copy.Assign(raw) && copy == address);
    raw.sll_family = AF_INET;
    EXPECT_FALSE(copy.Assign(raw));
}

TEST(SocketAddressTest, KernelFormTextAndLogArgument) {
    sockaddr_in foreign{};
    foreign.sin_family = AF_INET6;
    ExpectSocketAddress(SocketAddress(Ip("255.255.255.255"), 65535), foreign, "255.255.255.255:65535");
}

TEST(TrafficSelectorTest, ZeroMeansNothingIsSelected) {
    TrafficSelector selector;
    EXPECT_TRUE(selector.IsZero());
    selector.SetPorts(0, 1);
    EXPECT_FALSE(selector.IsZero() || TrafficSelector(Block("0.0.0.0/1")).IsZero() ||
                 TrafficSelector(IpBlock::Zero(), 6).IsZero());
}

} // namespace
