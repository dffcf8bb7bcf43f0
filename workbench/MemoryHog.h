// A process that waits for memory, so that the whole machine reports pressure (/proc/pressure/memory): it
// takes far more than the group of its own may have at ease, and the kernel holds it up each time.
//
//     if (char const* const why = MemoryHog::WhyNot()) GTEST_SKIP() << why;
//     MemoryHog const hog;
//     ... the watchers of pressure hear of it within a second
//
// Owns       the process and its group, a folder of /sys/fs/cgroup; both end with it
// Cost       64 MiB of memory at most; the rest of the machine goes on undisturbed
// Failure    what cannot be made fails the test
#pragma once

#include <string>

class MemoryHog {
public:
    // Null when a group can be made that limits memory (control groups of version 2, and root), else the
    // reason.
    static char const* WhyNot();

    // Null when the kernel accounts for pressure, as those of devices do (CONFIG_PSI), else the reason.
    static char const* WhyNoPressure();

    MemoryHog();
    ~MemoryHog();
    MemoryHog(MemoryHog const&) = delete;
    MemoryHog& operator=(MemoryHog const&) = delete;

private:
    std::string const group_;
    int child_ = -1;
};
