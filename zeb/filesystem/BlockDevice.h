#pragma once

// Io::BlockDevice: a raw disk or partition, for tools that format, wipe and write storage. For what lies in a
// file system take Io::File.
//
//   Io::BlockDevice disk("/dev/sda", Io::BlockDevice::EXCLUSIVE, Log::VERBOSE_ON);
//   if (!disk.Ok() || !disk.WipeArea(0, disk.BlockCount())) return false;
//   if (!disk.SeekToBlock(IMAGE_BLOCK) || !disk.WriteAll(image, size)) return false;
//   return disk.RereadPartitions();
//
// What it is stands in /sys: the disk that a partition belongs to, the bus of that disk, whether it can
// discard blocks, in what pieces it likes to erase them. The bus "sata" is never told.
//
// Owns       the descriptor, and copies of the paths. Exclusive means that nobody mounts it, and nobody else
//            opens it so, meanwhile (EBUSY); others may still write
// Threads    one at a time
// Waits      for the device. ReadAll() and WriteAll() see an interruption of the thread behind each MiB and
//            end with STATE_INTERRUPTED, with a part done; discarding and zeroing end with the device alone
// Destroy    anywhere. Nothing is pending: what WriteAll() has taken is on the device
// Failure    by state (see Stateful): all operations return false from the first failure on; SysError() has
//            the errno, and a line of the log the words. Of a constructor that failed STATE_BROKEN stays, of
//            an operation STATE_FAILED, or what it says
// Memory     for the paths and what is read in /sys, at construction; STATE_BROKEN without. Operations take
//            none

#include "zeb/core/Log.h"
#include "zeb/core/String.h"
#include "zeb/io/Descriptor.h"
#include "zeb/stream/Stateful.h"

class StringVector;

namespace Io {

class ZEB_PUBLIC BlockDevice : public Stateful {
public:
    static constexpr char const IDENT[] = "Io::BlockDevice";

    enum ModeT : unsigned {
        EXCLUSIVE = 0, // reading and writing
        SHARED = 1,    // the same beside others, a mounted file system too
        READ_ONLY = 2,
    };

    // Opens the device and looks it up by the name behind the last "/": a link of another name is not found.
    // With VERBOSE_OFF a device that cannot be opened is not logged; what fails later is.
    BlockDevice(CString const& path, ModeT mode, Log::VerboseT verbose);
    ~BlockDevice() override;

    unsigned long Size() const { return size_; }             // bytes
    unsigned long BlockSize() const { return blockSize_; }   // bytes, at most 4096
    unsigned long BlockCount() const { return blockCount_; } // whole blocks
    // The blocks that the device erases at once, 1 if it does not tell.
    unsigned long BlockEraseSize() const { return eraseBlocks_; }
    // A device on an unknown bus, or behind usb-storage, must name a limit below 2 GiB to be believed. A
    // partition is asked under its own name, where the kernel has nothing to tell.
    bool IsDiscardSupported() const { return (flags_ & DISCARD_) != 0; }

    // The position that reading and writing go on from; 0 at first.
    [[nodiscard]] bool SeekToBlock(long block);
    [[nodiscard]] bool Seek(long offset);

    // All of it, or false: the end of the device is STATE_EOS for a read, ENOSPC for a write. Writing returns
    // when the device has it.
    [[nodiscard]] bool ReadAll(void* data, unsigned long size);
    [[nodiscard]] bool WriteAll(void const* data, unsigned long size);

    // Ranges of blocks; the position stays. None may be empty or reach past the end (EINVAL).
    [[nodiscard]] bool WriteZeros(long block, unsigned long count);
    // The content is no longer needed: erased for good where the device can, else given back to it, and then
    // what is read there may be anything. True also where nothing was done: without support, and, with
    // `error` set, where the device refused. 0 otherwise, or the error of the failure.
    [[nodiscard]] bool Discard(long block, unsigned long count, int& error);
    // By Discard(), or by zeros where that does nothing.
    [[nodiscard]] bool WipeArea(long block, unsigned long count);

    // EBUSY while a partition is in use; EINVAL of what can have none.
    [[nodiscard]] bool RereadPartitions();

    // Two or three lines of the log about the device, under `ident` or the path.
    bool PrintInfo(CString const& ident) const;

private:
    enum BusT_ : unsigned { UNKNOWN_, EMMC_, USB_STORAGE_, UAS_, SATA_, NVME_ };
    enum FlagsT_ : unsigned { SHARED_ = 1, DISCARD_ = 2, ZEROS_ = 4 };

    struct Number_;

    // Opening, in this order. What fails is logged, and makes the object broken.
    bool Open_(ModeT mode);
    bool Measure_();
    bool DetectMaster_();
    bool DetectBus_();
    bool DetectDiscard_();
    bool DetectEraseSize_();

    bool SetMaster_(unsigned long size);
    bool FindUsb_(char const* disk);
    bool FindBelow_(CString const& folder, unsigned long level, char const* disk, bool& isFound) const;
    bool List_(CString const& folder, bool (*filter)(CString const&), StringVector& names) const;
    bool ReadNumber_(Number_ const& number, bool& isThere, unsigned long& value) const;
    template<typename T>
    bool FailOn_(char const* message, T const& argument, int error,
                 Log::VerboseT verbose = Log::VERBOSE_ON) const;
    bool Fail_(char const* message, int error, Log::VerboseT verbose = Log::VERBOSE_ON) const;
    bool FailOom_() const;

    // Operations.
    bool Refuse_(char const* message, int error) const;
    template<typename CallT, typename ByteT>
    bool Transfer_(CallT call, ByteT* data, unsigned long size, char const* message) const;
    int Request_(unsigned long request, long block, unsigned long count) const;

    Log::VerboseT verbose_;
    BusT_ bus_ = UNKNOWN_;
    String master_; // the path of the whole disk
    String path_;
    int fd_ = -1;
    CloseGuard guard_;
    unsigned long size_ = 0;
    unsigned long blockSize_ = 0;
    unsigned long blockCount_ = 0;
    unsigned long eraseBlocks_ = 1;
    unsigned flags_;
};

} // namespace Io
