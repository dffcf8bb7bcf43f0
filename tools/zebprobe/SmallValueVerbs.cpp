#include "tools/zebprobe/Probe.h"

#include "zeb/core/String.h"
#include "zeb/filesystem/UsbPath.h"
#include "zeb/filesystem/UsbPortId.h"
#include "zeb/text/Transcoder.h"
#include "zeb/text/Version.h"

namespace Probe {

namespace {

using Charset::Transcoder;

constexpr unsigned long FLAGS_MAX =
    Transcoder::REPLACE_TRUNCATED | Transcoder::REPLACE_INVALID | Transcoder::REPLACE_NOT_SHOWN;

// By Charset::TypeT.
char const* const CHARSETS[] = {"iso-8859-1", "utf-8",    "utf-16le", "utf-16be",
                                "utf-32le",   "utf-32be", nullptr};

char const* CheckTranscode(Options const& options) {
    unsigned long flags;
    for (unsigned i : {0, 1})
        if (IndexOf(options.words[i], CHARSETS) < 0)
            return "FROM and TO are iso-8859-1, utf-8, utf-16le, utf-16be, utf-32le or utf-32be";
    return ParseNumber(options.words[2], FLAGS_MAX, flags) ? nullptr : "FLAGS is a number up to 7";
}

Result RunTranscode(std::string const& input, Options const& options) {
    unsigned long flags = 0, size = 0;
    ParseNumber(options.words[2], FLAGS_MAX, flags);
    Transcoder const transcoder(static_cast<Charset::TypeT>(IndexOf(options.words[0], CHARSETS)),
                                static_cast<Charset::TypeT>(IndexOf(options.words[1], CHARSETS)),
                                static_cast<Transcoder::FlagT>(flags));
    std::string out(input.size() * 4, '\0');
    char const* in = input.data();
    char* end = out.data();
    ReturnT const code = transcoder.Encode(&in, input.size(), &end, out.size(), &size);
    return {code.Code(), std::to_string(in - input.data()) + " bytes " + Quoted({out.data(), size})};
}

Result RunVersion(std::string const& input, Options const&) {
    Version version;
    String text;
    if (!version.Parse(Text(input)) || !version.Print(text)) return {REFUSED, ""};
    return {ACCEPTED, std::string(View(text))};
}

Result RunUsb(std::string const& input, Options const&) {
    Usb::Path path;
    String port;
    if (!path.Assign(Text(input)) || !Usb::PortId(path).GetString(port)) return {REFUSED, ""};
    std::string text = "bus " + std::to_string(path.Bus()) + " ports";
    for (unsigned long i = 0; i < path.PortCount(); ++i)
        text += (i == 0 ? " " : ".") + std::to_string(path.Ports()[i]);
    return {ACCEPTED, text + " configuration " + std::to_string(path.Configuration()) + " interface " +
                          std::to_string(path.Interface()) + " case " + Quoted(View(port))};
}

} // namespace

VerbsT const& SmallValueVerbs() {
    static VerbsT const verbs = {
        {"transcode", "FROM TO FLAGS", "text in another charset, and how many bytes were read",
         CheckTranscode, RunTranscode},
        {"version", "", "a version of the firmware: its fields", CheckNothing, RunVersion},
        {"usb", "", "the place of a USB device, from its path in /sys", CheckNothing, RunUsb},
    };
    return verbs;
}

} // namespace Probe
