#include "workbench/MemoryHog.h"

#include "workbench/Workbench.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fstream>

#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace {

std::string const ROOT = "/sys/fs/cgroup/";
constexpr unsigned long AT_EASE = 4 << 20; // bytes, beyond which the process is held up
constexpr unsigned long ALL = 64 << 20;
constexpr unsigned long STEP = 256 << 10;

bool WriteTo(std::string const& path, std::string const& text) {
    return static_cast<bool>(std::ofstream(path) << text << std::flush);
}

[[noreturn]] void TakeAll() {
    for (unsigned long taken = 0; taken < ALL; taken += STEP)
        memset(mmap(nullptr, STEP, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0), 1, STEP);
    for (;;)
        pause();
}

} // namespace

char const* MemoryHog::WhyNot() {
    Workbench::Own const own;
    if (access((ROOT + "cgroup.controllers").c_str(), F_OK) != 0) return "needs control groups of version 2";
    bool const can = WriteTo(ROOT + "cgroup.subtree_control", "+memory");
    return can ? nullptr : "no group can be made here that limits memory";
}

char const* MemoryHog::WhyNoPressure() {
    Workbench::Own const own;
    return access("/proc/pressure/memory", F_OK) == 0 ? nullptr : "this kernel does not account for pressure";
}

MemoryHog::MemoryHog()
    : group_(ROOT + "zeb-hog-" + std::to_string(getpid())) {
    Workbench::Own const own;
    if (mkdir(group_.c_str(), 0755) != 0 || !WriteTo(group_ + "/memory.high", std::to_string(AT_EASE)))
        ADD_FAILURE() << "MemoryHog: " << group_ << ": " << strerror(errno);
    child_ = fork();
    if (child_ != 0) return;
    WriteTo(group_ + "/cgroup.procs", std::to_string(getpid()));
    TakeAll();
}

MemoryHog::~MemoryHog() {
    Workbench::Own const own;
    if (child_ > 0) {
        kill(child_, SIGKILL);
        waitpid(child_, nullptr, 0);
    }
    if (rmdir(group_.c_str()) != 0) ADD_FAILURE() << "MemoryHog: " << group_ << ": " << strerror(errno);
}
