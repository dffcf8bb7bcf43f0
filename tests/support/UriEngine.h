// The fixed patterns of URI texts as the regular expression engine of the system sees them.
#pragma once

#include <array>
#include <optional>
#include <regex.h>
#include <string>

namespace UriEngine {

class Pattern {
public:
    explicit Pattern(char const* text) { compiled_ = regcomp(&regex_, text, REG_EXTENDED) == 0; }
    ~Pattern() { regfree(&regex_); }
    Pattern(Pattern const&) = delete;
    Pattern& operator=(Pattern const&) = delete;

    // The groups of a match of the whole text.
    std::optional<std::array<std::string, 11>> Match(std::string const& text) const {
        std::array<std::string, 11> groups;
        regmatch_t ranges[11];
        if (!compiled_ || regexec(&regex_, text.c_str(), 11, ranges, 0) != 0) return {};
        if (ranges[0].rm_eo != static_cast<regoff_t>(text.size())) return {};
        for (unsigned i = 0; i < groups.size(); ++i)
            if (ranges[i].rm_so >= 0)
                groups[i] = text.substr(static_cast<unsigned>(ranges[i].rm_so),
                                        static_cast<unsigned>(ranges[i].rm_eo - ranges[i].rm_so));
        return groups;
    }

private:
    regex_t regex_;
    bool compiled_;
};

// Scheme, authority, path, query and fragment, each in "<>"; "no" without a match.
inline std::string Uri(std::string const& text) {
    static Pattern const pattern("^(([^:/?#]+):)?(//([^/?#]*))?([^?#]*)(\\?([^#]*))?(#(.*))?");
    auto const groups = pattern.Match(text);
    if (!groups) return "no";
    auto const& g = *groups;
    return "<" + g[2] + "><" + g[4] + "><" + g[5] + "><" + g[7] + "><" + g[9] + ">";
}

// User, password, host and port, in the same way, and whether the host was in brackets.
inline std::string Authority(std::string const& text) {
    static Pattern const login("^((([^:]+):([^@:]*)|[^:@]+){0,1}@(([^:\\/\\[]+)|(\\[([0-9a-fA-F:]{3,39})\\]))"
                               "(:([[:digit:]]{1,5}))?$)?");
    static Pattern const host("^((([^:\\/\\[]+)|(\\[([\\:0-9a-fA-F]{3,39})\\]))(:([[:digit:]]{1,5}))?$)?");
    auto const join = [](std::string const& user, std::string const& password, std::string const& name,
                         std::string const& address, std::string const& port) {
        return "<" + user + "><" + password + "><" + (address.empty() ? name : address) + "><" + port + ">" +
               (address.empty() ? "" : " bracketed");
    };
    if (auto const g = login.Match(text))
        return join((*g)[3].empty() ? (*g)[2] : (*g)[3], (*g)[4], (*g)[5], (*g)[8], (*g)[10]);
    if (auto const g = host.Match(text)) return join("", "", (*g)[2], (*g)[5], (*g)[7]);
    return "no";
}

} // namespace UriEngine
