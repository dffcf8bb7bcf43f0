#include "tools/zebprobe/Probe.h"

#include "zeb/core/Integer.h"

namespace Probe {

namespace {

template<typename T>
Result Parse(std::string const& input, Integer::ParseFormatT format) {
    T value;
    if (!Integer::Parse(input.data(), input.size(), value, format)) return {REFUSED, ""};
    return {ACCEPTED, std::string(Integer(value).Cstr()) + " 0x" + Integer(value, Integer::PRINT_HEX).Cstr()};
}

char const* const FORMATS[] = {"decimal", "hex", nullptr};
char const* const TYPES[] = {"char", "uchar", "short", "ushort", "int",  "uint",
                             "long", "ulong", "llong", "ullong", nullptr};
using ParseT = Result (*)(std::string const&, Integer::ParseFormatT);
ParseT const PARSERS[] = {
    Parse<char>,      Parse<unsigned char>,      Parse<short>, Parse<unsigned short>,
    Parse<int>,       Parse<unsigned int>,       Parse<long>,  Parse<unsigned long>,
    Parse<long long>, Parse<unsigned long long>,
};

char const* Check(Options const& options) {
    if (IndexOf(options.words[0], TYPES) < 0)
        return "TYPE is char, uchar, short, ushort, int, uint, long, ulong, llong or ullong";
    return IndexOf(options.words[1], FORMATS) < 0 ? "FORMAT is 'decimal' or 'hex'" : nullptr;
}

Result Run(std::string const& input, Options const& options) {
    return PARSERS[IndexOf(options.words[0], TYPES)](
        input, static_cast<Integer::ParseFormatT>(IndexOf(options.words[1], FORMATS)));
}

} // namespace

VerbsT const& IntegerVerbs() {
    static VerbsT const verbs = {
        {"int", "TYPE FORMAT", "an integer: its value in decimal and hexadecimal", Check, Run},
    };
    return verbs;
}

} // namespace Probe
