// The fixed patterns of URI texts as the regular expression engine of the system sees them. For UriFuzz and
// the tests of the scanners.
#pragma once

#include <array>
#include <regex.h>
#include <string>
#include <tuple>

namespace UriEngine {

constexpr char URI[] = "^(([^:/?#]+):)?(//([^/?#]*))?([^?#]*)(\\?([^#]*))?(#(.*))?";
constexpr char LOGIN[] = "^((([^:]+):([^@:]*)|[^:@]+){0,1}@(([^:\\/\\[]+)|(\\[([0-9a-fA-F:]{3,39})\\]))"
                         "(:([[:digit:]]{1,5}))?$)?";
constexpr char HOST[] = "^((([^:\\/\\[]+)|(\\[([\\:0-9a-fA-F]{3,39})\\]))(:([[:digit:]]{1,5}))?$)?";

using GroupsT = std::array<std::string, 11>;

// The groups of a match of the whole text; false without one.
template<char const* PATTERN>
bool Match(std::string const& text, GroupsT& groups) {
    static regex_t regex;
    static bool const compiled = regcomp(&regex, PATTERN, REG_EXTENDED) == 0;
    regmatch_t ranges[std::tuple_size_v<GroupsT>];
    if (!compiled || regexec(&regex, text.c_str(), std::size(ranges), ranges, 0) != 0) return false;
    for (unsigned i = 0; i < groups.size(); ++i)
        groups[i] =
            ranges[i].rm_so < 0 ? "" : text.substr(ranges[i].rm_so, ranges[i].rm_eo - ranges[i].rm_so);
    return ranges[0].rm_eo == static_cast<regoff_t>(text.size());
}

// Scheme, authority, path, query and fragment, each with a "|" behind it; "no" without a match.
inline std::string Uri(std::string const& text) {
    GroupsT g;
    if (!Match<URI>(text, g)) return "no";
    return g[2] + "|" + g[4] + "|" + g[5] + "|" + g[7] + "|" + g[9] + "|";
}

// User, password, host and port in the same way, and "[]" if the host was in brackets.
inline std::string Authority(std::string const& text) {
    auto const host = [](std::string const& name, std::string const& address, std::string const& port) {
        return (address.empty() ? name : address) + "|" + port + (address.empty() ? "|" : "|[]");
    };
    GroupsT g;
    if (Match<LOGIN>(text, g))
        return (g[3].empty() ? g[2] : g[3]) + "|" + g[4] + "|" + host(g[5], g[8], g[10]);
    return Match<HOST>(text, g) ? "||" + host(g[2], g[5], g[7]) : "no";
}

} // namespace UriEngine
