#include "tools/zebprobe/Probe.h"

#include "zeb/core/TimeSpan.h"
#include "zeb/core/TimeStamp.h"

namespace Probe {

namespace {

constexpr unsigned long LAST_FORMAT = Time::Stamp::ISO;
char const* const MODES[] = {"gmt", "local", nullptr};

char const* CheckDate(Options const& options) {
    unsigned long format;
    if (!ParseNumber(options.words[0], LAST_FORMAT, format)) return "FORMAT is a number from 0 to 22";
    return IndexOf(options.words[1], MODES) < 0 ? "MODE is 'gmt' or 'local'" : nullptr;
}

Result RunDate(std::string const& input, Options const& options) {
    unsigned long number = 0;
    ParseNumber(options.words[0], LAST_FORMAT, number);
    auto const format = static_cast<Time::Stamp::FormatT>(number);
    auto const mode = static_cast<Time::Stamp::ModeT>(IndexOf(options.words[1], MODES));
    Time::Stamp stamp;
    unsigned int consumed = 0;
    ReturnT const code = stamp.Parse(format, mode, Text(input), &consumed);
    std::string text = std::to_string(consumed) + " bytes";
    if (code.Failed()) return {code.Code(), text};
    char printed[Time::Stamp::TEXT_SIZE];
    ReturnT const again = stamp.AsString(format, mode, printed);
    text += " " + std::to_string(stamp.AsMicroseconds()) + " us ";
    return {code.Code(), text + (again.Failed() ? "(not printable)" : Quoted(printed))};
}

Result RunSpan(std::string const& input, Options const&) {
    Time::Span span;
    if (!Time::Span::String::Parse(Text(input), span)) return {REFUSED, ""};
    return {ACCEPTED, Time::Span::String(span).Cstr()};
}

} // namespace

VerbsT const& TimeVerbs() {
    static VerbsT const verbs = {
        {"date", "FORMAT MODE", "a date: bytes taken, microseconds since 1970, printed again", CheckDate,
         RunDate},
        {"span", "", "a length of time in seconds, printed again", CheckNothing, RunSpan},
    };
    return verbs;
}

} // namespace Probe
