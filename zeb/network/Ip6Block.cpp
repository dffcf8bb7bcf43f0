#include "zeb/network/Ip6Block.h"

#include "zeb/core/Digits.h"
#include "zeb/core/Integer.h"
#include "zeb/network/AddressText.h"

namespace Network::Ip6 {

Address CBlock::Mask() const {
    Address mask;
    memset(&mask.Data(), 0xFF, Address::SIZE);
    mask.ClearBits_(length_, BITS);
    return mask;
}

CBlock const& CBlock::Zero() {
    static CBlock const zero;
    return zero;
}

CBlock const& CBlock::LinkLocal() {
    static CBlock const linkLocal(in6_addr{{{0xFE, 0x80}}}, 10);
    return linkLocal;
}

CBlock const& CBlock::SiteLocal() {
    static CBlock const siteLocal(in6_addr{{{0xFC}}}, 7);
    return siteLocal;
}

bool CBlock::Scan_(CString const& text) {
    unsigned long const slash = text.Find('/');
    if (slash == text.Size()) return false;
    in6_addr address;
    if (Sscan6(text.Cstr(), slash, &address) != 1) return false;
    CString const behind(text.Cstr() + slash + 1, text.Size() - slash - 1);
    plen_t length = 0;
    if (!Integer::Parse(behind, length) || length > BITS) return false;
    if (length != 0 && behind[behind[0] == '+'] == '0') return false;
    address_ = address;
    length_ = length;
    return true;
}

CBlock::Str::Str(CBlock const& block) {
    char* end = PrintIp6(text_, block.Data());
    *end++ = '/';
    End_(Digits::PrintDecimal(end, block.Length()));
}

} // namespace Network::Ip6
