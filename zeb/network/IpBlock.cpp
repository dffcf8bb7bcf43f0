#include "zeb/network/IpBlock.h"

#include "zeb/core/Digits.h"
#include "zeb/core/Integer.h"
#include "zeb/network/AddressText.h"

namespace Network {

namespace {

// The slash stands no further behind than the longest address reaches.
constexpr unsigned long LAST_SLASH = 15;

} // namespace

bool IpBlock::Assign(CString const& text) {
    unsigned long const slash = text.Find('/');
    if (slash == text.Size() || slash > LAST_SLASH) return false;
    IpAddress address;
    IpMask mask;
    CString const behind(text.Cstr() + slash + 1, text.Size() - slash - 1);
    unsigned int length = 0;
    if (!address.Assign(CString(text.Cstr(), slash))) return false;
    if (!mask.Assign(behind) && !(Integer::Parse(behind, length) && mask.Generate(length))) return false;
    *this = IpBlock(address, mask);
    return true;
}

IpBlock const& IpBlock::Zero() {
    static constexpr IpBlock zero;
    return zero;
}

IpBlock const& IpBlock::Multicast() {
    static IpBlock const multicast(IpAddress(0xE0000000), IpMask::__4_BIT);
    return multicast;
}

IpBlock const& IpBlock::LinkLocal() {
    static IpBlock const linkLocal(IpAddress(0xA9FE0000), IpMask::_16_BIT);
    return linkLocal;
}

bool IpBlock::operator<(IpBlock const& other) const {
    IpMask const& shorter = mask_ > other.mask_ ? other.mask_ : mask_;
    IpAddress const mine = address_ & shorter;
    IpAddress const others = other.address_ & shorter;
    return mine == others ? mask_ > other.mask_ : mine < others;
}

IpBlock::Str::Str(IpBlock const& block) {
    char* end = PrintIp4(text_, block.Address().Inaddr());
    *end++ = '/';
    End_(Digits::PrintDecimal(end, block.Mask().Length()));
}

} // namespace Network
