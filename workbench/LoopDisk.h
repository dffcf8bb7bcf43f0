// A disk of the kernel whose blocks lie in memory, for what formats, wipes and mounts. It can be met under
// other names, too: with a /sys of the test's own (Namespace::SmallDisk) it is any disk.
//
//     if (char const* const why = LoopDisk::WhyNot()) GTEST_SKIP() << why;
//     LoopDisk const disk(1 << 20);
//     Namespace space;
//     space.PrivateDev();
//     disk.Node("/dev/mmcblk0");
//     ... erase /dev/mmcblk0
//     EXPECT_EQ(disk.Read(0, 512), std::string(512, '\0'));
//
// Owns       the disk and its content; both end with it, or when nobody has it open any more
// Order      made ahead of a private /dev, in which its own node is not found
// Failure    what cannot be made fails the test
#pragma once

#include <string>

class LoopDisk {
public:
    // Null when this machine can have one, else the reason.
    static char const* WhyNot();

    // `blockSize` is what a program is told: 512, 1024, 2048 or 4096.
    explicit LoopDisk(unsigned long bytes, unsigned long blockSize = 512);
    ~LoopDisk();
    LoopDisk(LoopDisk const&) = delete;
    LoopDisk& operator=(LoopDisk const&) = delete;

    std::string const& Path() const { return path_; } // /dev/loop0 or so

    // Makes a node of the disk there.
    bool Node(std::string const& path) const;

    // What lies on it, as it is without the cache of the kernel; of the blocks one character each: the one
    // that fills it, 0 for zeros, ? for anything else.
    std::string Read(unsigned long offset, unsigned long size) const;

    std::string Blocks(unsigned long first, unsigned long count) const;

    // Fills the whole of it.
    void Fill(char c) const;

private:
    bool Step(bool done, char const* what) const;

    unsigned long const size_;
    unsigned long const blockSize_;
    int memory_ = -1;
    int device_ = -1;
    std::string path_;
};
