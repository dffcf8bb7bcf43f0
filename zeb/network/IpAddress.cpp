#include "zeb/network/IpAddress.h"

#include "zeb/network/AddressText.h"

namespace Network {

bool IpAddress::Assign(CString const& text) { return ScanIp4(text.Cstr(), text.Size(), address_); }

IpAddress const& IpAddress::Zero() {
    static constexpr IpAddress zero;
    return zero;
}

IpAddress const& IpAddress::Loopback() {
    static constexpr IpAddress loopback(INADDR_LOOPBACK);
    return loopback;
}

unsigned long IpAddress::Print(char* buffer, in_addr const* address) {
    char* const end = PrintIp4(buffer, *address);
    *end = '\0';
    return static_cast<unsigned long>(end - buffer);
}

IpAddress::Str::Str(IpAddress const& address) { End_(PrintIp4(text_, address.address_)); }

} // namespace Network
