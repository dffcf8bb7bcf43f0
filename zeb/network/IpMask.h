#pragma once

// Network::IpMask: an IPv4 mask, a run of one bits from the top. A plain value like IpAddress.

#include "zeb/network/IpAddress.h"

namespace Network {

class ZEB_PUBLIC IpMask : public IpAddress {
public:
    class Str;

    // The masks with that many bits set.
    static IpMask const __1_BIT, __2_BIT, __3_BIT, __4_BIT, __5_BIT, __6_BIT, __7_BIT, __8_BIT, __9_BIT,
        _10_BIT, _11_BIT, _12_BIT, _13_BIT, _14_BIT, _15_BIT, _16_BIT, _17_BIT, _18_BIT, _19_BIT, _20_BIT,
        _21_BIT, _22_BIT, _23_BIT, _24_BIT, _25_BIT, _26_BIT, _27_BIT, _28_BIT, _29_BIT, _30_BIT, _31_BIT,
        _32_BIT;

    constexpr IpMask() = default;

    static IpMask const& Zero();
    static IpMask const& Host() { return _32_BIT; }

    // On false the mask stays as it was: a one bit stands behind a zero bit, or the text is no dotted quad.
    [[nodiscard]] bool Assign(IpAddress const& address);
    [[nodiscard]] bool Assign(CString const& text);
    // False above 32.
    [[nodiscard]] bool Generate(unsigned int length);

    // The number of one bits; 32 if the mask came through no check and has a gap.
    unsigned int Length() const;
    IpAddress Invert() const { return ~Value(); }

    // The same bits as an address. A mask is one wherever an address is expected, without this; the compilers
    // say that only a call by name reaches it.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wclass-conversion"
    operator Network::IpAddress() const { return Value(); }
#pragma GCC diagnostic pop

    // What would make it something else than a mask.
    void SetValue(unsigned int) = delete;
    IpAddress& operator+=(unsigned long) = delete;
    IpAddress& operator-=(unsigned long) = delete;
    IpAddress& operator++() = delete;
    IpAddress& operator--() = delete;
    IpAddress& operator&=(IpAddress const&) = delete;
    IpAddress& operator|=(IpAddress const&) = delete;

    bool operator==(IpMask const& other) const { return Value() == other.Value(); }
    bool operator>(IpMask const& other) const { return Value() > other.Value(); }
    bool operator>=(IpMask const& other) const { return Value() >= other.Value(); }
    bool operator<(IpAddress const& other) const { return Value() < other.Value(); }
    bool operator<=(IpAddress const& other) const { return Value() <= other.Value(); }

private:
    constexpr explicit IpMask(unsigned int value)
        : IpAddress(value) {}

    static constexpr unsigned int Bits_(unsigned int length) {
        return length == 0 ? 0 : ~0U << (32 - length);
    }
};

// The mask as a dotted quad.
class ZEB_PUBLIC IpMask::Str : public IpAddress::Str {
public:
    explicit Str(IpMask const& mask)
        : IpAddress::Str(mask.Value()) {}
};

} // namespace Network
