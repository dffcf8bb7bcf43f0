#include "workbench/MemoryGroup.h"

#include "workbench/Workbench.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <utility>

#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

MemoryGroup::MemoryGroup(unsigned long limit) {
    Workbench::Own const own;
    std::ofstream("/sys/fs/cgroup/cgroup.subtree_control") << "+memory";
    for (auto const& [parent, file] :
         {std::pair{"/sys/fs/cgroup/memory", "/memory.limit_in_bytes"}, {"/sys/fs/cgroup", "/memory.max"}}) {
        std::string const made = parent + ("/zeb-group-" + std::to_string(getpid()));
        if (mkdir(made.c_str(), 0755) != 0) continue;
        if (std::ofstream(made + file) << limit << std::flush) path_ = made;
        if (!path_.empty()) return;
        rmdir(made.c_str());
    }
}

MemoryGroup::~MemoryGroup() {
    Workbench::Own const own;
    if (!path_.empty() && rmdir(path_.c_str()) != 0)
        ADD_FAILURE() << "MemoryGroup: " << path_ << ": " << strerror(errno);
}

char const* MemoryGroup::WhyNot() const {
    if (char const* const why = WhyNothingIsOnOffer()) return why;
#ifdef __SANITIZE_THREAD__
    return "the shadow memory of the sanitizer counts for the limit, and is larger than it";
#else
    return path_.empty() ? "no group can be made here that limits memory" : nullptr;
#endif
}

void MemoryGroup::Join() const {
    Workbench::Own const own;
    std::ofstream(path_ + "/cgroup.procs") << getpid() << std::flush;
}

char const* WhyNothingIsOnOffer() {
    return getenv("ZEB_EMULATED") ? "the emulator of the processor drops madvise, and needs memory of its own"
                                  : nullptr;
}

unsigned long SmapsBytes(std::string const& name) {
    Workbench::Own const own;
    std::ifstream smaps("/proc/self/smaps");
    unsigned long bytes = 0;
    for (std::string line; std::getline(smaps, line);)
        if (line.starts_with(name + ":")) bytes += std::stoul(line.substr(name.size() + 1)) * 1024;
    return bytes;
}
