#include "zeb/network/IpMask.h"

#include <bit>

namespace Network {

#define ZEB_MASK(prefix, length) constinit IpMask const IpMask::prefix##length##_BIT(Bits_(length))
ZEB_MASK(__, 1);
ZEB_MASK(__, 2);
ZEB_MASK(__, 3);
ZEB_MASK(__, 4);
ZEB_MASK(__, 5);
ZEB_MASK(__, 6);
ZEB_MASK(__, 7);
ZEB_MASK(__, 8);
ZEB_MASK(__, 9);
ZEB_MASK(_, 10);
ZEB_MASK(_, 11);
ZEB_MASK(_, 12);
ZEB_MASK(_, 13);
ZEB_MASK(_, 14);
ZEB_MASK(_, 15);
ZEB_MASK(_, 16);
ZEB_MASK(_, 17);
ZEB_MASK(_, 18);
ZEB_MASK(_, 19);
ZEB_MASK(_, 20);
ZEB_MASK(_, 21);
ZEB_MASK(_, 22);
ZEB_MASK(_, 23);
ZEB_MASK(_, 24);
ZEB_MASK(_, 25);
ZEB_MASK(_, 26);
ZEB_MASK(_, 27);
ZEB_MASK(_, 28);
ZEB_MASK(_, 29);
ZEB_MASK(_, 30);
ZEB_MASK(_, 31);
ZEB_MASK(_, 32);
#undef ZEB_MASK

IpMask const& IpMask::Zero() {
    static constexpr IpMask zero;
    return zero;
}

bool IpMask::Assign(IpAddress const& address) {
    unsigned int const length = static_cast<unsigned int>(std::countl_one(address.Value()));
    return address.Value() == Bits_(length) && Generate(length);
}

bool IpMask::Assign(CString const& text) {
    IpAddress address;
    return address.Assign(text) && Assign(address);
}

bool IpMask::Generate(unsigned int length) {
    if (length > 32) return false;
    IpAddress::SetValue(Bits_(length));
    return true;
}

unsigned int IpMask::Length() const {
    unsigned int const length = static_cast<unsigned int>(std::countl_one(Value()));
    return Value() == Bits_(length) ? length : 32;
}

} // namespace Network
