// The list of device nodes, as text, with nothing made: bytes of options and of a failing allocation, then
// the list. What it asks for is compared with a plain reading of the same lines.
#include "fuzz/FuzzHeap.h"
#include "fuzz/FuzzInput.h"

#include "zeb/core/String.h"
#include "zeb/filesystem/DeviceListImpl.h"
#include "zeb/stream/StringStream.h"

#include <charconv>
#include <climits>
#include <sstream>
#include <sys/stat.h>
#include <vector>

namespace {

using FileSystem::Device;
using FileSystem::DeviceList;

// Writes down what it is asked for. The directory "no" cannot be made.
struct Notes : DeviceList::Maker {
    bool MakeDirectory(CString const& name) override {
        text += std::string(name.Cstr()) + "/\n";
        return name != "no";
    }
    void MakeNode(CString const& name, unsigned mode, unsigned major, unsigned minor) override {
        std::ostringstream line;
        line << name.Cstr() << " " << mode << " " << major << " " << minor << "\n";
        text += line.str();
    }
    std::string text;
};

bool IsNumber(std::string word) {
    if (word.starts_with('+')) word.erase(0, 1);
    unsigned value;
    auto const [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
    return error == std::errc() && end == word.data() + word.size();
}

// True if the scan goes on.
bool ReadPlainly(std::string const& line, bool skipPts, std::string& out) {
    std::istringstream stream(line);
    std::vector<std::string> words;
    for (std::string word; stream >> word;)
        words.push_back(word);
    if (words.empty() || words[0][0] == '#') return true;
    if (skipPts && (words[0] == "pts" || words[0].starts_with("pts/"))) return true;
    if (words.size() == 2 && words[1] == "d") {
        out += words[0] + "/\n";
        return words[0] != "no";
    }
    if (words.size() != 4 && words.size() != 5) return true;
    unsigned mode = words[1] == "c" ? S_IFCHR : words[1] == "b" ? S_IFBLK : words[1] == "s" ? S_IFSOCK : 0;
    if (mode == 0 || !IsNumber(words[2]) || !IsNumber(words[3])) return true;
    if (words.size() == 5 && words[4] == "1") mode |= 0066;
    std::ostringstream node;
    node << words[0] << " " << mode << " " << std::stoul(words[2]) << " " << std::stoul(words[3]) << "\n";
    out += node.str();
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size) {
    FuzzInput input(data, size);
    bool const skipPts = input.Byte() % 2 == 0;
    unsigned long const failing = input.Failing();
    std::string_view const text = input.Rest();

    std::string expected;
    Io::StringStream lines(text.data(), text.size(), Io::MODE_READ, Io::EOL_ANY_LF, 64, LONG_MAX);
    String line;
    bool goesOn = true;
    while (goesOn && lines.NextLine(line, DeviceList::LINE_LIMIT))
        goesOn = ReadPlainly(line.Cstr(), skipPts, expected);

    Notes notes;
    Io::StringStream list(text.data(), text.size(), Io::MODE_READ, Io::EOL_ANY_LF, 64, LONG_MAX);
    FuzzHeap::Arm(failing);
    ReturnT const code = DeviceList(notes, skipPts ? Device::DEV_PTS_SKIP : Device::DEV_PTS_CREATE).Run(list);
    bool const fired = FuzzHeap::Disarm();
    FUZZ_CHECK(!fired || code.Failed());
    FUZZ_CHECK(expected.starts_with(notes.text));
    if (fired) return 0;
    FUZZ_CHECK(notes.text == expected);
    FUZZ_CHECK(code.Succeeded() == (goesOn && lines.Ok()));
    return 0;
}
