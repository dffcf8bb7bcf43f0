#include "workbench/LoopDisk.h"

#include "workbench/Workbench.h"

#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <linux/loop.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace {

constexpr int TRIES = 100; // others may take the free one first

int FreeNumber() {
    int const control = open("/dev/loop-control", O_RDWR | O_CLOEXEC);
    int const number = ioctl(control, LOOP_CTL_GET_FREE);
    close(control);
    return number;
}

} // namespace

char const* LoopDisk::WhyNot() {
    Workbench::Own const own;
    return FreeNumber() >= 0 ? nullptr : "needs root and loop devices";
}

LoopDisk::LoopDisk(unsigned long bytes, unsigned long blockSize)
    : size_(bytes)
    , blockSize_(blockSize) {
    Workbench::Own const own;
    memory_ = memfd_create("LoopDisk", MFD_CLOEXEC);
    if (!Step(ftruncate(memory_, static_cast<off_t>(bytes)) == 0, "memory")) return;
    for (int tries = 0; tries < TRIES; ++tries) {
        path_ = "/dev/loop" + std::to_string(FreeNumber());
        device_ = open(path_.c_str(), O_RDWR | O_CLOEXEC);
        if (device_ >= 0 && ioctl(device_, LOOP_SET_FD, memory_) == 0) break;
        close(device_);
        device_ = -1;
        if (errno != EBUSY) break;
    }
    if (Step(device_ >= 0, "attach"))
        Step(ioctl(device_, LOOP_SET_BLOCK_SIZE, blockSize) == 0, "set the block size of");
}

LoopDisk::~LoopDisk() {
    Workbench::Own const own;
    if (device_ >= 0) Step(ioctl(device_, LOOP_CLR_FD) == 0, "detach");
    close(device_);
    close(memory_);
}

bool LoopDisk::Step(bool done, char const* what) const {
    if (done) return true;
    ADD_FAILURE() << "LoopDisk: " << what << " " << path_ << ": " << strerror(errno);
    return false;
}

bool LoopDisk::Node(std::string const& path) const {
    Workbench::Own const own;
    struct stat info = {};
    fstat(device_, &info);
    return Step(mknod(path.c_str(), S_IFBLK | 0600, info.st_rdev) == 0, "make another node of");
}

std::string LoopDisk::Read(unsigned long offset, unsigned long size) const {
    Workbench::Own const own;
    std::string data(size, '\0');
    ssize_t const count = pread(memory_, data.data(), size, static_cast<off_t>(offset));
    data.resize(count < 0 ? 0 : static_cast<size_t>(count));
    return data;
}

std::string LoopDisk::Blocks(unsigned long first, unsigned long count) const {
    std::string all;
    for (unsigned long i = first; i < first + count; ++i) {
        std::string const block = Read(i * blockSize_, blockSize_);
        bool const isFilled = block == std::string(blockSize_, block.front());
        all += !isFilled ? '?' : block.front() == '\0' ? '0' : block.front();
    }
    return all;
}

void LoopDisk::Fill(char c) const {
    Workbench::Own const own;
    std::string const data(size_, c);
    Step(pwrite(device_, data.data(), size_, 0) == static_cast<ssize_t>(size_) && fsync(device_) == 0,
         "fill");
}
