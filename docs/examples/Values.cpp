// Addresses and URIs as values, and a record read by its shape.
#include "zeb/doc/json/Document.h"
#include "zeb/doc/json/Getter.h"
#include "zeb/io/StdStream.h"
#include "zeb/network/IpBlock.h"
#include "zeb/text/URI.h"

namespace {

constexpr char const TEXT[] =
    R"({"lan": "192.168.1.1/24", "portal": "http://admin@[fe80::1]:8080/status?q=1"})";

bool PrintHost(Io::OStream& out, CString const& text) {
    Util::URI uri;
    String user, password, host, port;
    bool isUri = false, isAuthority = false;
    if (!uri.Parse(text, isUri) || !isUri || !uri.ParseAuthority(user, password, host, port, isAuthority) ||
        !isAuthority)
        return false;
    out << host << " port " << port << Io::Endl;
    return true;
}

bool Run(Io::OStream& out) {
    Json::Document document;
    if (document.Parse(CString(TEXT), Json::Document::PARSE_CONTAINER).Failed()) return false;
    CString lan, portal;
    CString const* name; // optional
    Json::Getter::Object record(document.Object());
    record >> Json::Getter::Member("lan", lan) >> Json::Getter::Member("portal", portal) >>
        Json::Getter::Member("name", &name);
    Network::IpBlock block;
    if (!record || name != nullptr || !block.Assign(lan)) return false;
    out << "network " << Network::IpAddress::Str(block.Subnet()) << ", broadcast "
        << Network::IpAddress::Str(block.Broadcast()) << Io::Endl;
    return PrintHost(out, portal) && out.Flush();
}

} // namespace

int main() {
    Io::StdOut out;
    return Run(out) ? 0 : 1;
}
