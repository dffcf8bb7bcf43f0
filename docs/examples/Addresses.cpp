// Addresses as values: a plan of networks is read, checked and counted through.
#include "zeb/core/Array.h"
#include "zeb/io/StdStream.h"
#include "zeb/network/Ip6Prefix.h"
#include "zeb/network/IpBlock.h"
#include "zeb/network/MacAddress.h"
#include "zeb/network/Tools.h"

namespace {

// An interface address keeps its host bits; the network is what the mask leaves of it.
bool PrintNetwork(Io::OStream& out, CString const& text) {
    Network::IpBlock block;
    if (!block.Assign(text)) return false; // and the block is as it was
    out << Network::IpBlock::Str(block) << ": network " << Network::IpAddress::Str(block.Subnet())
        << ", mask " << Network::IpMask::Str(block.Mask()) << ", broadcast "
        << Network::IpAddress::Str(block.Broadcast());
    // Addresses count in host order. The first and the last one of a subnet belong to no host.
    long const hosts = block.Broadcast() - block.Subnet() - 1;
    out << ", " << hosts << " hosts from " << Network::IpAddress::Str(block.Subnet() + 1) << Io::Endl;
    return true;
}

// A prefix that was delegated is cut into one network for each segment; the device itself is host 1 there.
bool PrintSegments(Io::OStream& out, CString const& delegated, unsigned long segments) {
    Network::Ip6::Prefix prefix;
    Network::Ip6::Suffix host;
    if (!prefix.Assign(delegated) || !host.Assign("::1/64")) return false;
    for (unsigned long segment = 0; segment != segments; ++segment) {
        Network::Ip6::Prefix network = prefix;
        Network::Ip6::Address address;
        // As many bits as are missing to /64 hold the number of the segment: false if it does not fit.
        if (!network.Append(segment, static_cast<unsigned char>(64 - prefix.Length())) ||
            !network.Combine(host, address))
            return false;
        out << Network::Ip6::Prefix::Str(network) << " has " << Network::Ip6::Address::Str(address)
            << Io::Endl;
    }
    return true;
}

bool Run(Io::OStream& out) {
    if (!PrintNetwork(out, "192.168.1.1/24") || !PrintNetwork(out, "10.1.2.3/255.255.0.0")) return false;
    if (PrintNetwork(out, "192.168.1.1/33")) return false; // refused
    if (!PrintSegments(out, "2001:db8:7::/62", 4)) return false;

    Network::MacAddress mac;
    if (!mac.Assign("00:11:22:33:44:FE")) return false;
    mac.SetLocal(true); // as for a second access point on the same radio
    mac.Increment(2);
    out << Network::MacAddress::Str(mac) << ", interface " << Network::Tools::IfNameToIndex("lo") << Io::Endl;
    return out.Flush();
}

} // namespace

int main() {
    Io::StdOut out;
    return Run(out) ? 0 : 1;
}
