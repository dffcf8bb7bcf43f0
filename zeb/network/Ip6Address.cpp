#include "zeb/network/Ip6Address.h"

#include "zeb/network/AddressText.h"

namespace Network::Ip6 {

namespace {

constexpr unsigned long MAX_TEXT = INET6_ADDRSTRLEN - 1;
constexpr unsigned long PLAIN_DIGITS = 32;
constexpr unsigned long GROUP_DIGITS = 4;
constexpr unsigned int BITS = 128;

struct Range_ {
    in6_addr network;
    unsigned int length;

    bool Has(Address const& address) const { return address.Begins_(network, length); }
};

constexpr Range_ LINK_LOCAL{{{{0xFE, 0x80}}}, 10};
constexpr Range_ SITE_LOCAL{{{{0xFE, 0xC0}}}, 10};
constexpr Range_ MULTICAST{{{{0xFF}}}, 8};
constexpr Range_ MAPPED{{{{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF}}}, 96};
constexpr Range_ TRANSLATED{{{{0, 0x64, 0xFF, 0x9B}}}, 96};
constexpr Range_ DISCARD{{{{0x01}}}, 64};

// In the order in which they are tested.
constexpr struct {
    Range_ range;
    unsigned int label;
} LABELS[] = {
    {{{{{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}}}, 128}, 0},
    {{{{{0x20, 0x02}}}, 16}, 2},
    {{{{{}}}, 96}, 3},
    {MAPPED, 4},
    {{{{{0xFC}}}, 7}, 5},
    {{{{{0x20, 0x01}}}, 32}, 6},
    {{{{{0x20, 0x01, 0x00, 0x10}}}, 28}, 7},
    {SITE_LOCAL, 11},
    {{{{{0x3F, 0xFE}}}, 16}, 12},
};
constexpr unsigned int OTHER_LABEL = 1;

} // namespace

int Sscan6(char const* text, unsigned long size, in6_addr* out) {
    return size <= MAX_TEXT && ScanIp6(text, size, *out) ? 1 : 0;
}

unsigned long Sprint6(char* buffer, in6_addr const* address) {
    char* const end = PrintIp6(buffer, *address);
    *end = '\0';
    return static_cast<unsigned long>(end - buffer);
}

bool Address::Assign(CString const& text) {
    if (Sscan6(text.Cstr(), text.Size(), &address_) == 1) return true;
    if (text.Size() != PLAIN_DIGITS || text.Find(':') != text.Size()) return false;
    char grouped[PLAIN_DIGITS + PLAIN_DIGITS / GROUP_DIGITS];
    char* out = grouped;
    for (unsigned long i = 0; i < PLAIN_DIGITS; i += GROUP_DIGITS) {
        if (i != 0) *out++ = ':';
        memcpy(out, text.Cstr() + i, GROUP_DIGITS);
        out += GROUP_DIGITS;
    }
    return Sscan6(grouped, static_cast<unsigned long>(out - grouped), &address_) == 1;
}

Address const& Address::Zero() {
    static Address const zero;
    return zero;
}

Address const& Address::Loopback() {
    static Address const loopback(in6addr_loopback);
    return loopback;
}

Address const& Address::AllNodes() {
    static Address const allNodes(in6_addr{{{0xFF, 0x02, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}}});
    return allNodes;
}

bool Address::IsLinkLocal() const { return LINK_LOCAL.Has(*this); }

bool Address::IsSiteLocal() const { return SITE_LOCAL.Has(*this); }

bool Address::IsMulticast() const { return MULTICAST.Has(*this); }

bool Address::IsIpv4Mapped() const { return MAPPED.Has(*this); }

bool Address::IsIpv4v6Translated() const { return TRANSLATED.Has(*this); }

bool Address::IsDiscardOnly() const { return DISCARD.Has(*this); }

unsigned int Address::Label() const {
    for (auto const& row : LABELS) {
        if (row.range.Has(*this)) return row.label;
    }
    return OTHER_LABEL;
}

Address Address::SolicitedMulticast() const {
    in6_addr multicast{{{0xFF, 0x02, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x01, 0xFF}}};
    memcpy(multicast.s6_addr + 13, address_.s6_addr + 13, 3);
    return multicast;
}

CString const& Address::ProtoName(ProtoT const& proto) {
    static CString const names[] = {"STATIC", "DHCP", "SLAAC", "PRIVACY EXTENSION", "KERNEL"};
    return proto >= PROTO_STATIC && proto <= PROTO_KERNEL ? names[proto - PROTO_STATIC] : CString::Nil();
}

void Address::ClearBits_(unsigned int first, unsigned int end) {
    for (unsigned int byte = first / 8; byte * 8 < end; ++byte) {
        unsigned int const from = byte * 8 < first ? first - byte * 8 : 0;
        unsigned int const to = end - byte * 8 < 8 ? end - byte * 8 : 8;
        unsigned int const mask = (0xFFU >> from) & ~(0xFFU >> to);
        address_.s6_addr[byte] = static_cast<uint8_t>(address_.s6_addr[byte] & ~mask);
    }
}

bool Address::Begins_(Address const& other, unsigned int length) const {
    Address mine = *this;
    Address others = other;
    mine.ClearBits_(length, BITS);
    others.ClearBits_(length, BITS);
    return mine == others;
}

Address::Str::Str(Address const& address) { End_(PrintIp6(text_, address.Data())); }

} // namespace Network::Ip6
