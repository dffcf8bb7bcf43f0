#include "tools/zebprobe/Probe.h"

#include "zeb/runtime/KernelBacktrace.h"
#include "zeb/runtime/Mapper.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include <sys/mman.h>
#include <unistd.h>

namespace Probe {

namespace {

constexpr unsigned long TEXT_ROOM = 4096;

// The input as a file that a reader opens by its path.
class InputFile {
public:
    explicit InputFile(std::string const& input)
        : descriptor_(memfd_create("input", MFD_CLOEXEC))
        , path_("/proc/self/fd/" + std::to_string(descriptor_)) {
        isWritten_ = write(descriptor_, input.data(), input.size()) == static_cast<ssize_t>(input.size());
    }
    ~InputFile() { close(descriptor_); }
    InputFile(InputFile const&) = delete;
    InputFile& operator=(InputFile const&) = delete;

    bool IsWritten() const { return isWritten_; }
    char const* Path() const { return path_.c_str(); }

private:
    int const descriptor_;
    std::string path_;
    bool isWritten_;
};

template<class... T>
std::string Format(char const* format, T... arguments) {
    char text[200];
    snprintf(text, sizeof text, format, arguments...);
    return text;
}

Result Refused(int error) { return {REFUSED | static_cast<uint32_t>(error), ""}; }

// Asks for the address that each line begins with.
Result RunMaps(std::string const& input, Options const&) {
    InputFile const file(input);
    if (!file.IsWritten()) return Refused(EIO);
    Linux::AddressSpace::Mapper mapper(file.Path());
    std::string text;
    for (std::size_t line = 0; line < input.size();
         line = input.find('\n', line), line += line < input.size()) {
        char path[TEXT_ROOM];
        unsigned long base, size = sizeof path;
        auto const address = strtoul(input.c_str() + line, nullptr, 16);
        if (mapper.Get(reinterpret_cast<void const*>(address), base, path, &size) != 0) return Refused(errno);
        text += (text.empty() ? "" : " ") + Format("%lx:", base) + Quoted(path);
    }
    return {ACCEPTED, text};
}

Result RunKernelStack(std::string const& input, Options const& options) {
    InputFile const file(input);
    if (!file.IsWritten()) return Refused(EIO);
    std::string buffer(options.split == 0 ? TEXT_ROOM : options.split, '\0'), text;
    Linux::KernelBacktrace stack(file.Path(), buffer.data(), buffer.size());
    int result;
    while ((result = stack.Step()) > 0) {
        char name[TEXT_ROOM], module[TEXT_ROOM];
        unsigned long ip, offset, nameLength, moduleLength;
        result =
            stack.GetFrame(ip, name, sizeof name, nameLength, offset, module, sizeof module, moduleLength);
        if (result < 0) break;
        text += (text.empty() ? "" : " ") + Format("%lx:", ip) + Quoted(name) + Format("+%lx", offset);
        if (moduleLength > 1) text += "[" + Quoted(module) + "]";
    }
    return result < 0 ? Refused(-result) : Result{ACCEPTED, text};
}

} // namespace

VerbsT const& KernelVerbs() {
    static VerbsT const verbs = {
        {"maps", "", "/proc/<pid>/maps: base and file of each mapping", CheckNothing, RunMaps},
        {"kstack", "", "/proc/<tid>/stack: the frames", CheckNothing, RunKernelStack},
    };
    return verbs;
}

} // namespace Probe
