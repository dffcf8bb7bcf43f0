#include "tools/zebprobe/Probe.h"

#include "zeb/core/String.h"
#include "zeb/filesystem/DeviceListImpl.h"
#include "zeb/filesystem/File.h"
#include "zeb/stream/StringStream.h"

#include <climits>
#include <cstdio>
#include <sys/stat.h>

namespace Probe {

namespace {

using FileSystem::Device;
using FileSystem::DeviceList;

Result RunPath(std::string const& input, Options const&) {
    String path;
    if (!FileSystem::File::GetCanonicalPath(CString(input.c_str()), path, true)) return {REFUSED, ""};
    return {ACCEPTED, Quoted(View(path))};
}

char const* const PTS_WORDS[] = {"skip", "create", nullptr};

char const* CheckDevices(Options const& options) {
    return IndexOf(options.words[0], PTS_WORDS) < 0 ? "PTS is skip or create" : nullptr;
}

// Writes down what it is asked to make.
class Notes final : public DeviceList::Maker {
public:
    bool MakeDirectory(CString const& name) override {
        text += std::string(View(name)) + "/ ";
        return true;
    }
    void MakeNode(CString const& name, unsigned int mode, unsigned int major, unsigned int minor) override {
        char node[64];
        char const type = S_ISCHR(mode) ? 'c' : S_ISBLK(mode) ? 'b' : 's';
        snprintf(node, sizeof node, "(%c%o,%u:%u) ", type, (mode & 0777) | 0600, major, minor);
        text += std::string(View(name)) + node;
    }
    std::string text;
};

Result RunDevices(std::string const& input, Options const& options) {
    Io::StringStream list(input.data(), input.size(), Io::MODE_READ, Io::EOL_ANY_LF,
                          Io::StringStream::DEFAULT_BUFFER_SIZE, LONG_MAX);
    Notes notes;
    bool const isSkipped = options.words[0] == PTS_WORDS[0];
    ReturnT const code =
        DeviceList(notes, isSkipped ? Device::DEV_PTS_SKIP : Device::DEV_PTS_CREATE).Run(list);
    if (!notes.text.empty()) notes.text.pop_back();
    return {code.Code(), notes.text};
}

} // namespace

VerbsT const& PathVerbs() {
    static VerbsT const verbs = {
        {"path", "", "a path without \".\", \"..\" and double slashes", CheckNothing, RunPath},
        {"devices", "PTS", "what a list of device nodes makes; --log tells its faults", CheckDevices,
         RunDevices},
    };
    return verbs;
}

} // namespace Probe
