// The text forms of addresses against those of the C library.
#include "zeb/network/AddressText.h"

#include "zeb/core/CString.h"

#include <arpa/inet.h>

#include <cstring>
#include <random>

namespace {

template<int FAMILY, class AddressT>
void ExpectAlike(std::string const& text, bool (*scan)(char const*, unsigned long, AddressT&)) {
    AddressT ours{}, theirs{};
    EXPECT_EQ(scan(text.c_str(), text.size(), ours), inet_pton(FAMILY, text.c_str(), &theirs) == 1) << text;
    EXPECT_EQ(memcmp(&ours, &theirs, sizeof(ours)), 0) << text;
}

// Both families refuse and accept what the system does.
void ExpectAlike(std::string const& text) {
    ExpectAlike<AF_INET>(text, Network::ScanIp4);
    ExpectAlike<AF_INET6>(text, Network::ScanIp6);
}

template<int FAMILY, class AddressT>
std::string Printed(AddressT const& address, char* (*print)(char*, AddressT const&)) {
    char ours[64], theirs[64];
    std::string const text(ours, print(ours, address));
    EXPECT_EQ(text, inet_ntop(FAMILY, &address, theirs, sizeof(theirs)));
    return text;
}

// clang-format off
TEST(AddressTextTest, AcceptsWhatTheSystemAccepts) {
    for (char const* const text : {
             "", "0.0.0.0", "255.255.255.255", "256.0.0.0", "1.2.3", "1.2.3.4.5", "1.2.3.", ".1.2.3", "01.2.3.4", "1.2.3.00",
             "1..2.3", "1.2.3.4 ", " 1.2.3.4", "1.2.3.4x", "0x1.2.3.4", "1.2.3.-4", "1234.1.1.1", "1", ":", "::", ":::", "::1",
             "1::", "1:", ":1", "1::2", "1::2::3", "1:2:3:4:5:6:7:8", "1:2:3:4:5:6:7", "1:2:3:4:5:6:7:8:9", "1:2:3:4:5:6:7::",
             "::2:3:4:5:6:7:8", "1:2:3:4::5:6:7:8", "12345::", "g::", "::1.2.3.4", "::1.2.3", "::1.2.3.4.5",
             "1:2:3:4:5:6:1.2.3.4", "1:2:3:4:5:6:7:1.2.3.4", "::01.2.3.4", "::1.2.3.4:5", "::ffff:1.2.3.4", "::a.2.3.4",
             "fe80::1%eth0", "ABCD:ef::", "::1 ", "1.2.3.4", "::1:", "0:0:0:0:0:0:0:0", "::1.2.3.256", "1:2:3:4:5:6:7:8::",
             "::1.2.3.4::"}) {
        ExpectAlike(text);
    }
    in_addr untouched{7};
    EXPECT_FALSE(Network::ScanIp4("1.2.3.4", 6, untouched)) << "the size counts, not the terminator";
    EXPECT_EQ(untouched.s_addr, 7u);
    EXPECT_TRUE(Network::ScanIp4("1.2.3.45", 7, untouched));
}
// clang-format on

TEST(AddressTextTest, AgreesWithTheSystemOnRandomAddressesAndBrokenTexts) {
    std::mt19937 random(20261124);
    for (int round = 0; round < 20000; ++round) {
        in_addr v4{static_cast<in_addr_t>(random())};
        ExpectAlike(Printed<AF_INET>(v4, Network::PrintIp4));
        in6_addr v6;
        for (auto& byte : v6.s6_addr) byte = random() % 3 == 0 ? static_cast<uint8_t>(random()) : 0;
        if (round % 7 == 0) v6 = {{{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF, 1, 2, 3, v6.s6_addr[15]}}};
        std::string broken = Printed<AF_INET6>(v6, Network::PrintIp6);
        ExpectAlike(broken);
        constexpr char LETTERS[] = "0123456789abcF:.:";
        for (unsigned edits = random() % 4 + 1; edits != 0; --edits) {
            std::size_t const at = random() % (broken.size() + 1);
            char const letter = LETTERS[random() % sizeof(LETTERS)];
            if (random() % 2 == 0)
                broken.insert(at, 1, letter);
            else if (at < broken.size())
                broken[at] = letter;
        }
        ExpectAlike(broken);
    }
}

} // namespace
