#include "tests/support/LogCapture.h"
#include "zeb/core/String.h"
#include "zeb/network/IpBlock.h"
#include "zeb/network/LlAddress.h"
#include "zeb/network/MacAddress.h"
#include "zeb/network/SocketAddress.h"
#include "zeb/network/TrafficSelector.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

namespace {

using namespace Network;

IpAddress Ip(char const* text) {
    IpAddress address;
    EXPECT_TRUE(address.Assign(text)) << text;
    return address;
}

IpBlock Block(char const* text) {
    IpBlock block;
    EXPECT_TRUE(block.Assign(text)) << text;
    return block;
}

std::string Text(CString const& text) { return std::string(text.Cstr(), text.Size()); }

TEST(IpAddressTest, KeepsItsValueOnBadInputAndCountsInHostOrder) {
    IpAddress address(0x01020304);
    EXPECT_FALSE(address.Assign("1.2.3"));
    EXPECT_EQ(Text(IpAddress::Str(address)), "1.2.3.4");
    EXPECT_EQ(address.Inaddr().s_addr, htonl(0x01020304));
    EXPECT_EQ(Text(IpAddress::Str(address + 0x100)), "1.2.4.4");
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
    IpAddress::Str const copy = IpAddress::Str(address);
    EXPECT_EQ(Text(copy), "1.2.3.4") << "a copied text aims at its own array";
}

// clang-format off
TEST(IpAddressTest, RangesAndClasses) {
    struct {
        char const* text;
        std::string kinds; // m(ulticast), l(ink-local), L(oopback), r(eserved), p(rivate)
    } const rows[] = {
        {"223.255.255.255", ""}, {"224.0.0.0", "m"},    {"239.255.255.255", "m"}, {"240.0.0.0", "r"},
        {"169.253.255.255", ""}, {"169.254.0.0", "l"},  {"169.255.0.0", ""},      {"127.0.0.1", "L"},
        {"128.0.0.0", ""},       {"10.255.255.255", "p"}, {"11.0.0.0", ""},       {"172.15.255.255", ""},
        {"172.16.0.0", "p"},     {"172.31.255.255", "p"}, {"172.32.0.0", ""},     {"192.168.255.255", "p"},
        {"192.169.0.0", ""},     {"255.255.255.255", "r"}};
    for (auto const& row : rows) {
        IpAddress const address = Ip(row.text);
        std::string kinds;
        if (address.IsMulticast()) kinds += 'm';
        if (address.IsLinkLocal()) kinds += 'l';
        if (address.IsLoopback()) kinds += 'L';
        if (address.IsReserved()) kinds += 'r';
        if (address.IsPrivate()) kinds += 'p';
        EXPECT_EQ(kinds, row.kinds) << row.text;
    }
    // The classes look at the last octet.
    for (auto const& [last, expected] : std::map<unsigned, std::string>{
             {0x7F, "A"}, {0x80, "B"}, {0xBF, "B"}, {0xC0, "C"}, {0xE0, "D"}, {0xEF, "D"}, {0xF0, "E"}}) {
        IpAddress const address(0xFFFFFF00u | last);
        bool const is[] = {address.IsClassA(), address.IsClassB(), address.IsClassC(), address.IsClassD(), address.IsClassE()};
        std::string classes;
        for (int i = 0; i < 5; ++i)
            if (is[i]) classes += static_cast<char>('A' + i);
        EXPECT_EQ(classes, expected) << last;
    }
}
// clang-format on

TEST(IpMaskTest, IsARunOfOnes) {
    IpMask mask;
    for (unsigned length = 0; length <= 32; ++length) {
        EXPECT_TRUE(mask.Generate(length));
        EXPECT_EQ(mask.Value(), length == 0 ? 0 : 0xFFFFFFFFu << (32 - length));
        EXPECT_EQ(mask.Length(), length);
        IpMask same;
        EXPECT_TRUE(same.Assign(static_cast<IpAddress const&>(mask)));
        EXPECT_TRUE(same == mask);
    }
    EXPECT_FALSE(mask.Generate(33));
    for (char const* const text : {"255.0.255.0", "0.0.0.1", "127.255.255.255", "255.255.255", "24"})
        EXPECT_FALSE(mask.Assign(CString(text))) << text;
    EXPECT_TRUE(mask == IpMask::_32_BIT) << "unchanged";
    EXPECT_EQ(IpMask::__1_BIT.Value(), 0x80000000u);
    EXPECT_EQ(IpMask::__8_BIT.Value(), 0xFF000000u);
    EXPECT_EQ(IpMask::_24_BIT.Invert().Value(), 0xFFu);
    EXPECT_EQ(&IpMask::Host(), &IpMask::_32_BIT);
    EXPECT_TRUE(IpMask::_24_BIT > IpMask::_16_BIT);
    EXPECT_EQ(Text(IpMask::Str(IpMask::_17_BIT)), "255.255.128.0");
    // One that came through no check.
    memset(static_cast<void*>(&mask), 0x5A, sizeof(mask));
    EXPECT_EQ(mask.Length(), 32u);
}

TEST(IpBlockTest, ReadsBothFormsOfItsMask) {
    EXPECT_TRUE(Block("1.2.3.4/255.255.0.0") == Block("1.2.3.4/16"));
    EXPECT_EQ(Text(IpBlock::Str(Block("1.2.3.4/255.255.0.0"))), "1.2.3.4/16");
    EXPECT_EQ(Text(IpBlock::Str(Block("255.255.255.255/32"))), "255.255.255.255/32");
    EXPECT_TRUE(Block("0.0.0.0/0") == IpBlock::Zero());
    IpBlock block = Block("1.2.3.4/16");
    for (char const* const text : {"1.2.3.4", "1.2.3.4/33", "1.2.3.4/", "1.2.3.4/-1", "1.2.3/16",
                                   "1.2.3.4/255.0.255.0", "1.2.3.4/16 ", "0000000000000000/1", "/16", ""})
        EXPECT_FALSE(block.Assign(text)) << text;
    EXPECT_TRUE(block == Block("1.2.3.4/16")) << "unchanged";
    EXPECT_EQ(block.Broadcast(), Ip("1.2.255.255"));
    EXPECT_EQ(block.Subnet(), Ip("1.2.0.0"));
    EXPECT_TRUE(block.Has(Ip("1.2.9.9")));
    EXPECT_FALSE(block.Has(Ip("1.3.0.0")));
    block.Normalize();
    EXPECT_EQ(block.Address(), Ip("1.2.0.0"));
    EXPECT_TRUE(Block("10.0.0.0/8").Overlap(Block("10.9.0.0/16")));
    EXPECT_TRUE(Block("10.9.0.0/16").Overlap(Block("10.0.0.0/8")));
    EXPECT_FALSE(Block("10.9.0.0/16").Overlap(Block("10.8.0.0/16")));
    EXPECT_TRUE(IpBlock::Multicast() == Block("224.0.0.0/4"));
    EXPECT_TRUE(IpBlock::LinkLocal() == Block("169.254.0.0/16"));
}

TEST(IpBlockTest, OrderPutsTheLongerMaskFirst) {
    char const* const order[] = {"9.0.0.0/8", "10.1.2.3/32", "10.1.0.0/16", "10.0.0.0/8", "11.0.0.0/24"};
    for (int i = 0; i < 5; ++i) {
        for (int k = 0; k < 5; ++k)
            EXPECT_EQ(Block(order[i]) < Block(order[k]), i < k) << order[i] << " < " << order[k];
    }
}

TEST(MacAddressTest, TextAndKinds) {
    MacAddress address;
    EXPECT_TRUE(address.Assign("AA:bb:CC:00:11:22"));
    EXPECT_EQ(Text(MacAddress::Str(address)), "aa:bb:cc:00:11:22");
    for (char const* const text :
         {"aa-bb-cc-00-11-22", "aa:bb:cc:00:11:2", "aa:bb:cc:00:11:22:", "ga:bb:cc:00:11:22", ""})
        EXPECT_FALSE(address.Assign(text)) << text;
    EXPECT_EQ(address[0], 0xAA) << "unchanged";
    sockaddr raw = address.SockAddr();
    EXPECT_EQ(raw.sa_family, 1);
    MacAddress other;
    EXPECT_TRUE(other.Assign(raw));
    EXPECT_TRUE(other == address);
    raw.sa_family = 772;
    EXPECT_FALSE(other.Assign(raw));
    struct {
        char const* text;
        bool unicast, multicast, local;
    } const rows[] = {{"00:00:00:00:00:00", false, false, false}, {"ff:ff:ff:ff:ff:ff", false, false, true},
                      {"01:00:5e:00:00:01", false, true, false},  {"03:00:00:00:00:01", false, true, false},
                      {"02:00:00:00:00:01", true, false, true},   {"00:11:22:33:44:55", true, false, false}};
    for (auto const& row : rows) {
        EXPECT_TRUE(address.Assign(row.text));
        EXPECT_EQ(address.IsUnicast(), row.unicast) << row.text;
        EXPECT_EQ(address.IsMulticast(), row.multicast) << row.text;
        EXPECT_EQ(address.IsLocal(), row.local) << row.text;
    }
    address.SetLocal(true);
    EXPECT_EQ(address[0], 2);
    address.SetLocal(false);
    EXPECT_EQ(address[0], 0);
    EXPECT_TRUE(MacAddress::Zero() < address && MacAddress::Broadcast() > address);
}

TEST(MacAddressTest, CountsWithinItsLastThreeBytes) {
    struct {
        char const* from;
        long by;
        char const* to;
    } const rows[] = {{"00:00:00:ff:ff:ff", 1, "00:00:00:00:00:00"},
                      {"00:00:00:00:00:ff", 1, "00:00:00:00:01:00"},
                      {"0a:00:00:00:00:00", -1, "0a:00:00:ff:ff:ff"},
                      {"0a:00:00:01:02:03", 0x1010101, "0a:00:00:02:03:04"},
                      {"0a:00:00:01:02:03", -0x10203, "0a:00:00:00:00:00"}};
    for (auto const& row : rows) {
        MacAddress address;
        EXPECT_TRUE(address.Assign(row.from));
        if (row.by > 0) {
            address.Increment(static_cast<unsigned long>(row.by));
        } else {
            address.Decrement(static_cast<unsigned long>(-row.by));
        }
        EXPECT_EQ(Text(MacAddress::Str(address)), row.to) << row.from;
    }
}

TEST(LlAddressTest, IsWhatTheKernelTakes) {
    MacAddress mac;
    EXPECT_TRUE(mac.Assign("00:11:22:33:44:55"));
    LlAddress address(mac);
    address.SetProtocol(LlAddress::PROTOCOL_ARP);
    address.SetIfIndex(3);
    sockaddr_ll const& raw = address.LlAddr();
    EXPECT_EQ(raw.sll_family, AF_PACKET);
    EXPECT_EQ(raw.sll_protocol, htons(0x0806));
    EXPECT_EQ(raw.sll_ifindex, 3);
    EXPECT_EQ(raw.sll_halen, 6);
    EXPECT_EQ(memcmp(raw.sll_addr, mac.Bytes(), 6), 0);
    LlAddress copy;
    EXPECT_FALSE(copy == address);
    EXPECT_TRUE(copy.Assign(raw));
    EXPECT_TRUE(copy == address);
    sockaddr_ll foreign = raw;
    foreign.sll_family = AF_INET;
    EXPECT_FALSE(copy.Assign(foreign));
}

TEST(SocketAddressTest, KernelFormTextAndLogArgument) {
    SocketAddress address(Ip("192.168.1.1"), 8080);
    EXPECT_EQ(Text(SocketAddress::Str(address)), "192.168.1.1:8080");
    EXPECT_EQ(Text(SocketAddress::Str(SocketAddress(Ip("255.255.255.255"), 65535))), "255.255.255.255:65535");
    SocketAddress other;
    EXPECT_FALSE(other.Assign(address.Sockaddr(), SocketAddress::Socklen() - 1));
    EXPECT_TRUE(other.Assign(address.Sockaddr(), SocketAddress::Socklen()));
    EXPECT_TRUE(other == address);
    sockaddr_in foreign = address.SockaddrIn();
    foreign.sin_family = AF_INET6;
    EXPECT_FALSE(other.Assign(foreign));
    EXPECT_EQ(other.Port(), 8080);
    EXPECT_EQ(other.Address(), Ip("192.168.1.1"));
    String text;
    EXPECT_TRUE(address.AsString(text));
    EXPECT_STREQ(text.Cstr(), "192.168.1.1:8080");
    LogCapture log;
    Log(Log::INFO, "Test", nullptr, "to %1 from %2") << address << "here";
    EXPECT_EQ(log.Take(), LogCapture::LinesT{"I Test: to 192.168.1.1:8080 from here."});
}

TEST(TrafficSelectorTest, ZeroMeansNothingIsSelected) {
    TrafficSelector selector;
    EXPECT_TRUE(selector.IsZero());
    selector.SetPorts(0, 1);
    EXPECT_FALSE(selector.IsZero());
    EXPECT_FALSE(TrafficSelector(Block("0.0.0.0/1")).IsZero());
    EXPECT_FALSE(TrafficSelector(IpBlock::Zero(), 6).IsZero());
}

} // namespace
