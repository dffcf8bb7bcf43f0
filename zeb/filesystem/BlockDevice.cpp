// What is done with a device that is open.

#include "zeb/filesystem/BlockDevice.h"

#include "zeb/core/ErrorString.h"
#include "zeb/runtime/Thread.h"

#include <cerrno>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace Io {

namespace {

constexpr unsigned long CHUNK = 1UL << 20; // bytes between two looks for an interruption

// In the order of BusT_.
constexpr char const* BUS_NAMES[] = {"unknown", "emmc", "usb-storage", "uas", "sata", "nvme"};

char const* YesNo_(bool yes) { return yes ? "yes" : "no"; }

} // namespace

BlockDevice::~BlockDevice() = default;

bool BlockDevice::Refuse_(char const* message, int error) const {
    Log(Log::ERROR, IDENT, nullptr, message) << path_ << ::ErrorString(error);
    SetSysError_(error);
    return false;
}

bool BlockDevice::SeekToBlock(long block) {
    long offset = 0;
    bool const fits = !__builtin_mul_overflow(block, static_cast<long>(blockSize_), &offset);
    return Seek(fits ? offset : -1); // which no device has
}

bool BlockDevice::Seek(long offset) {
    if (!Ok()) return false;
    return lseek(fd_, offset, SEEK_SET) >= 0 ||
           Refuse_("could not set current position for \"%1\": %2", errno);
}

// Moves all of it in pieces.
template<typename CallT, typename ByteT>
bool BlockDevice::Transfer_(CallT call, ByteT* data, unsigned long size, char const* message) const {
    while (size > 0) {
        ssize_t const count = call(fd_, data, size < CHUNK ? size : CHUNK);
        int const error = errno;
        if (Thread::SelfInterrupted() || (count < 0 && error == EINTR)) return Fail(STATE_INTERRUPTED);
        if (count < 0) return Refuse_(message, error);
        if (count == 0) return Fail(STATE_EOS);
        data += count;
        size -= static_cast<unsigned long>(count);
    }
    return true;
}

bool BlockDevice::ReadAll(void* data, unsigned long size) {
    return Ok() &&
           Transfer_(read, static_cast<char*>(data), size, "unable to read from the block device \"%1\": %2");
}

bool BlockDevice::WriteAll(void const* data, unsigned long size) {
    if (!Ok() || !Transfer_(write, static_cast<char const*>(data), size,
                            "unable to write to the block device \"%1\": %2"))
        return false;
    if (fsync(fd_) == 0) return true;
    int const error = errno;
    bool const isTolerated = error == EBUSY && (flags_ & SHARED_) != 0;
    return isTolerated || Refuse_("unable to sync to the block device \"%1\": %2", error);
}

// A request that takes a range of bytes. 0 or an error number.
int BlockDevice::Request_(unsigned long request, long block, unsigned long count) const {
    uint64_t range[2]; // offset and size
    bool const fits = block >= 0 && !__builtin_mul_overflow(block, blockSize_, &range[0]) &&
                      !__builtin_mul_overflow(count, blockSize_, &range[1]);
    if (!fits) return EINVAL;
    return ioctl(fd_, request, range) < 0 ? errno : 0;
}

bool BlockDevice::WriteZeros(long block, unsigned long count) {
    if (!Ok()) return false;
    int const error = Request_(BLKZEROOUT, block, count);
    return error == 0 || Refuse_("unable to erase data of the block device \"%1\": %2", error);
}

bool BlockDevice::Discard(long block, unsigned long count, int& error) {
    error = 0;
    if (!Ok()) return false;
    if (!IsDiscardSupported()) return true;
    error = Request_(BLKSECDISCARD, block, count);
    if (error == EOPNOTSUPP) error = Request_(BLKDISCARD, block, count);
    if (error == 0) return true;
    if (error != EOPNOTSUPP) return Refuse_("unable to discard data of the block device \"%1\": %2", error);
    Log(Log::INFO, IDENT, nullptr, "discard is not supported on the block device \"%1\"") << path_;
    return true;
}

bool BlockDevice::WipeArea(long block, unsigned long count) {
    int error = 0;
    bool const isGone = IsDiscardSupported() && Discard(block, count, error) && error == 0;
    return isGone || WriteZeros(block, count);
}

bool BlockDevice::RereadPartitions() {
    if (!Ok()) return false;
    return ioctl(fd_, BLKRRPART, nullptr) == 0 ||
           Refuse_("unable to reread partition table of the block device \"%1\": %2", errno);
}

bool BlockDevice::PrintInfo(CString const& ident) const {
    if (!Ok()) return false;
    char const* const name = ident.Empty() ? path_.Cstr() : ident.Cstr();
    if (master_ == path_) {
        Log(Log::INFO, IDENT, name, "bus \"%1\", size \"%2\", block \"%3\", blocks \"%4\"")
            << BUS_NAMES[bus_] << size_ << blockSize_ << blockCount_;
    } else {
        Log(Log::INFO, IDENT, name, "bus \"%1\", master \"%2\"") << BUS_NAMES[bus_] << master_;
        Log(Log::INFO, IDENT, name, "size \"%1\", block \"%2\", blocks \"%3\"")
            << size_ << blockSize_ << blockCount_;
    }
    Log(Log::INFO, IDENT, name, "erasesize \"%1\", discard \"%2\", zero discard \"%3\"")
        << eraseBlocks_ << YesNo_(IsDiscardSupported()) << YesNo_((flags_ & ZEROS_) != 0);
    return true;
}

} // namespace Io
