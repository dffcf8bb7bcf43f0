#include "tools/zebprobe/Probe.h"

#include "zeb/text/URI.h"

namespace Probe {

namespace {

// Those parts that are not empty.
std::string Parts(std::initializer_list<std::pair<char const*, CString>> const& parts) {
    std::string text;
    for (auto const& [name, part] : parts) {
        if (part.Empty()) continue;
        text += std::string(text.empty() ? "" : " ") + name + "=" + Quoted(View(part));
    }
    return text;
}

Result RunUri(std::string const& input, Options const&) {
    Util::URI uri;
    bool valid = false;
    if (!uri.Parse(Text(input), valid) || !valid) return {REFUSED, ""};
    return {ACCEPTED, Parts({{"scheme", uri.Scheme()},
                             {"authority", uri.Authority()},
                             {"path", uri.Path()},
                             {"query", uri.Query()},
                             {"fragment", uri.Fragment()}})};
}

Result RunAuthority(std::string const& input, Options const&) {
    Util::URI const uri("", Text(input), "", "", "");
    String user, password, host, port;
    bool valid = false;
    if (!uri.Valid() || !uri.ParseAuthority(user, password, host, port, valid) || !valid)
        return {REFUSED, ""};
    return {ACCEPTED, Parts({{"user", user}, {"password", password}, {"host", host}, {"port", port}})};
}

} // namespace

VerbsT const& UriVerbs() {
    static VerbsT const verbs = {
        {"uri", "", "a URI: its parts, those that are not empty", CheckNothing, RunUri},
        {"authority", "", "the authority of a URI: its parts, decoded", CheckNothing, RunAuthority},
    };
    return verbs;
}

} // namespace Probe
