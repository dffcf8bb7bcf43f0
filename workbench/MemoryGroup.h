// A limit of memory for the processes that join it: beyond it the kernel takes back what is on offer
// (MADV_FREE) and what it can write to a disk, and then it kills.
//
//     MemoryGroup const group(40UL << 20);
//     if (char const* const why = group.WhyNot()) GTEST_SKIP() << why;
//     Child const child = Child::Run([&] {
//         group.Join();
//         ... what must do with 40 MiB
//     });
//     EXPECT_EQ(child.ExitCode(), 0) << child;
//
// Owns       a folder below /sys/fs/cgroup, of either version of control groups; it ends with the object
// Lifetime   what joined must have ended before, so only a child may join
// Failure    WhyNot() says why none could be made (no root, no control groups of memory), or why it would
// show
//            nothing (an emulated processor, ThreadSanitizer)
#pragma once

#include <string>

class MemoryGroup {
public:
    explicit MemoryGroup(unsigned long limit); // bytes
    ~MemoryGroup();
    MemoryGroup(MemoryGroup const&) = delete;
    MemoryGroup& operator=(MemoryGroup const&) = delete;

    // Null if the group exists and limits what the program takes.
    char const* WhyNot() const;

    // The calling process is in the group from now on: memory that it takes counts, but not what it has.
    void Join() const;

private:
    std::string path_;
};

// Null where MADV_FREE reaches the kernel.
char const* WhyNothingIsOnOffer();

// What /proc/self/smaps counts under that name, in bytes, over all areas of the process: "LazyFree" for what
// is on offer to the kernel, "Rss" for what is resident.
unsigned long SmapsBytes(std::string const& name);
