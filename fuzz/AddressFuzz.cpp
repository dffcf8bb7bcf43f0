// Texts of addresses, blocks, prefixes, masks, hardware addresses and names: what is accepted prints as a
// text that is accepted and prints the same; IPv4 and IPv6 addresses are those of the C library.
#include "fuzz/FuzzInput.h"

#include "zeb/core/String.h"
#include "zeb/network/Ip6Prefix.h"
#include "zeb/network/IpBlock.h"
#include "zeb/network/MacAddress.h"
#include "zeb/network/Tools.h"

#include <arpa/inet.h>

namespace {

using namespace Network;

std::string Std(CString const& text) { return {text.Cstr(), text.Size()}; }

template<class T>
bool RoundTrip(CString const& text) {
    T const before = T();
    T value = before;
    if (!value.Assign(text)) {
        FUZZ_CHECK(value == before);
        return false;
    }
    typename T::Str const printed(value);
    FUZZ_CHECK(printed.Size() == strlen(printed.Cstr()) && printed.Size() <= text.Size() + 16);
    T again = before;
    FUZZ_CHECK(again.Assign(printed) && again == value && Std(typename T::Str(again)) == Std(printed));
    return true;
}

// What the C library makes of the text up to its first NUL.
template<class T, int FAMILY>
bool Library(std::string const& text, std::string& printed) {
    T address;
    char out[INET6_ADDRSTRLEN];
    if (inet_pton(FAMILY, text.c_str(), &address) != 1) return false;
    printed = inet_ntop(FAMILY, &address, out, sizeof out);
    return true;
}

void TryAddresses(CString const& text) {
    std::string const whole = Std(text);
    std::string printed;
    IpAddress ip4;
    FUZZ_CHECK(RoundTrip<IpAddress>(text) == (Library<in_addr, AF_INET>(whole, printed)));
    if (ip4.Assign(text)) FUZZ_CHECK(printed == Std(IpAddress::Str(ip4)));
    in6_addr ip6;
    bool const accepted = Ip6::Sscan6(text.Cstr(), text.Size(), &ip6) == 1;
    bool const expected = Library<in6_addr, AF_INET6>(whole, printed);
    FUZZ_CHECK(accepted == (text.Size() <= 45 && expected));
    if (accepted) FUZZ_CHECK(printed == Std(Ip6::Address::Str(ip6)));
    FUZZ_CHECK(RoundTrip<Ip6::Address>(text) || !accepted);
}

void TryNames(CString const& text) {
    String out;
    bool const decoded = Tools::DecodePunycode(text, out);
    FUZZ_CHECK(decoded || out.Empty());
    bool const name = Tools::IsDomainName(text);
    std::string const longer = Std(text) + ".";
    FUZZ_CHECK(!Tools::IsDomainName(CString(longer.data(), longer.size())));
    std::string const label = Std(text) + ".a";
    FUZZ_CHECK(Tools::IsDomainName(CString(label.data(), label.size())) == (name && label.size() <= 253));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
    FuzzInput input(data, size);
    std::string_view const rest = input.Rest();
    CString const text(rest.data(), rest.size());
    TryAddresses(text);
    bool const prefix = RoundTrip<Ip6::Prefix>(text);
    bool const suffix = RoundTrip<Ip6::Suffix>(text);
    FUZZ_CHECK(RoundTrip<Ip6::Block>(text) || (!prefix && !suffix));
    RoundTrip<IpBlock>(text);
    RoundTrip<IpMask>(text);
    RoundTrip<MacAddress>(text);
    TryNames(text);
    return 0;
}
