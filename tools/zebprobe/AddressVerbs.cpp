#include "tools/zebprobe/Probe.h"

#include "zeb/core/String.h"
#include "zeb/network/Ip6Prefix.h"
#include "zeb/network/IpBlock.h"
#include "zeb/network/MacAddress.h"
#include "zeb/network/Tools.h"

namespace Probe {

namespace {

template<class T>
Result Run(std::string const& input, Options const&) {
    T value;
    if (!value.Assign(Text(input))) return {REFUSED, ""};
    return {ACCEPTED, std::string(View(typename T::Str(value)))};
}

Result RunDomain(std::string const& input, Options const&) {
    if (!Network::Tools::IsDomainName(Text(input))) return {REFUSED, ""};
    return {ACCEPTED, input};
}

Result RunPunycode(std::string const& input, Options const&) {
    String text;
    if (!Network::Tools::DecodePunycode(Text(input), text)) return {REFUSED, ""};
    return {ACCEPTED, Quoted(View(text))};
}

} // namespace

VerbsT const& AddressVerbs() {
    using namespace Network;
    static VerbsT const verbs = {
        {"ip4", "", "an IPv4 address, printed again", CheckNothing, Run<IpAddress>},
        {"ip6", "", "an IPv6 address, printed again", CheckNothing, Run<Ip6::Address>},
        {"block4", "", "an IPv4 address with mask or length, printed again", CheckNothing, Run<IpBlock>},
        {"block6", "", "an IPv6 address with length, printed again", CheckNothing, Run<Ip6::Block>},
        {"prefix6", "", "the same without bits behind the length", CheckNothing, Run<Ip6::Prefix>},
        {"mac", "", "a hardware address, printed again", CheckNothing, Run<MacAddress>},
        {"domain", "", "a name of a host, as it stands", CheckNothing, RunDomain},
        {"punycode", "", "a label in punycode without \"xn--\", as UTF-8", CheckNothing, RunPunycode},
    };
    return verbs;
}

} // namespace Probe
