// The one table of verbs: a new family is one more row here.
#include "tools/zebprobe/Probe.h"

#include <cstdio>

namespace Probe {

namespace {

VerbsT const& (*const FAMILIES[])() = {JsonVerbs, XmlVerbs,        TimeVerbs,   IntegerVerbs, AddressVerbs,
                                       UriVerbs,  SmallValueVerbs, DigestVerbs, KernelVerbs,  PathVerbs};

char const HEAD[] =
    "usage: zebprobe VERB [options] < list-of-paths\n"
    "\n"
    "Gives each file to a parser of the library. One path a line in, one line out: the path, the code in\n"
    "8 hexadecimal digits, and the result, with tabs between. A file that cannot be read has -------- as\n"
    "its code. Verbs whose parser has no code give 0fff0000 for accepted and cffd0000 for refused.\n"
    "\n";

char const TAIL[] =
    "\n"
    "  --text T     give T itself in place of files\n"
    "  --split N    give N bytes at a time where the input is read from a stream\n"
    "  --prefixes   each prefix of the input: the code of the whole, and code:count for all codes\n"
    "  --log        print what the library logs ahead of the result\n"
    "  --help       this text; so does the verb help\n"
    "\n"
    "exit code: 0, 1 when a file could not be read, 2 for a wrong command\n";

} // namespace

Verb const* FindVerb(std::string_view name) {
    for (auto const family : FAMILIES)
        for (Verb const& verb : family())
            if (name == verb.name) return &verb;
    return nullptr;
}

std::string HelpText() {
    std::string text = HEAD;
    for (auto const family : FAMILIES) {
        for (Verb const& verb : family()) {
            char line[200];
            std::string const usage = std::string(verb.name) + " " + verb.arguments;
            snprintf(line, sizeof(line), "  %-28s %s\n", usage.c_str(), verb.help);
            text += line;
        }
    }
    return text + TAIL;
}

} // namespace Probe
