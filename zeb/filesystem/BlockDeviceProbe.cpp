// How a device is opened, and what /sys tells of it.

#include "zeb/core/ErrorString.h"
#include "zeb/core/Integer.h"
#include "zeb/core/RString.h"
#include "zeb/core/StringVector.h"
#include "zeb/filesystem/BlockDevice.h"
#include "zeb/filesystem/Directory.h"
#include "zeb/filesystem/Symlink.h"
#include "zeb/io/File.h"
#include "zeb/runtime/Status.h"
#include "zeb/runtime/StatusLog.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>

namespace Io {

using FileSystem::Directory;
using FileT = FileSystem::File;

namespace {

constexpr unsigned int PERMISSIONS = 0644;
constexpr int BLOCK_SIZE_MAX = 4096;
constexpr unsigned long NUMBER_BLOCK = 64; // holds what stands in a file of a number

// From here on a limit of discarding is taken for a boast of the bus.
constexpr unsigned long BOAST = 0x7FFFFFFF; // bytes

constexpr char const USB_DEVICES[] = "/sys/bus/usb/devices";
constexpr char const NO_USB[] = "unable to search the USB devices: %1";

// Holds five names of at most 255 bytes, and what stands between them.
using PathT_ = RString<1536>;

String Copy_(CString const& text) {
    String copy;
    (void)copy.Assign(text.Cstr(), text.Size()); // or it is empty, which the constructor sees
    return copy;
}

int OpenFlags_(BlockDevice::ModeT mode) {
    if (mode == BlockDevice::READ_ONLY) return O_RDONLY;
    return mode == BlockDevice::SHARED ? O_RDWR : O_RDWR | O_EXCL;
}

char const* BaseName_(CString const& path) {
    unsigned long const slash = path.FindLast('/');
    return path.Cstr() + (slash < path.Size() ? slash + 1 : 0);
}

template<unsigned long N>
bool Begins_(char const* text, char const (&prefix)[N]) {
    return strncmp(text, prefix, N - 1) == 0;
}

bool Ends_(CString const& text, CString const& suffix) {
    return text.Size() >= suffix.Size() && suffix == text.Cstr() + (text.Size() - suffix.Size());
}

// The levels from a USB device down to a unit that has a disk.
constexpr bool (*LEVELS[])(CString const& name) = {
    [](CString const& name) { return Begins_(name.Cstr(), "host"); },
    [](CString const& name) { return Begins_(name.Cstr(), "target"); },
    [](CString const& name) { return name[0] != '.'; },
};
constexpr unsigned long LEVEL_COUNT = sizeof(LEVELS) / sizeof(LEVELS[0]);

bool IsAbsent_(int error) { return error == ENOENT || error == ENOTDIR; }

} // namespace

// A file of a disk that holds a number, and the words of what fails.
struct BlockDevice::Number_ {
    char const* file;
    char const* notFound;
    char const* notRead;
    char const* notParsed;
};

BlockDevice::BlockDevice(CString const& path, ModeT mode, Log::VerboseT verbose)
    : verbose_(verbose)
    , path_(Copy_(path))
    , guard_(fd_, IDENT, path_.Cstr())
    , flags_(mode == SHARED ? SHARED_ : 0U) {
    // What fails is in the state.
    (void)((path_.Size() == path.Size() || FailOom_()) && Open_(mode) && Measure_() && DetectMaster_() &&
           DetectBus_() && DetectDiscard_() && DetectEraseSize_());
}

template<typename T>
bool BlockDevice::FailOn_(char const* message, T const& argument, int error, Log::VerboseT verbose) const {
    ReturnT const code = StatusLog(ReturnT::Fail(), Log::ERROR, IDENT, path_.Cstr(), message)
                         << argument << Log::Control(verbose);
    SetObjState_(STATE_BROKEN, code, error, Status::UNDEFINED);
    return false;
}

bool BlockDevice::Fail_(char const* message, int error, Log::VerboseT verbose) const {
    return FailOn_(message, ::ErrorString(error), error, verbose);
}

bool BlockDevice::FailOom_() const {
    ReturnT const code = StatusLog(ReturnT::Oom(), Log::CRITICAL, IDENT, path_.Cstr(), "").SetOom();
    SetObjState_(STATE_BROKEN, code, ENOMEM, Status::UNDEFINED);
    return false;
}

bool BlockDevice::Open_(ModeT mode) {
    int error = 0;
    fd_ = Descriptor::Open(path_.Cstr(), OpenFlags_(mode), PERMISSIONS, IDENT, Descriptor::BLOCKING,
                           Log::VERBOSE_OFF, &error);
    return fd_ >= 0 || Fail_("unable to open the block device: %1", error, verbose_);
}

bool BlockDevice::Measure_() {
    if (ioctl(fd_, BLKGETSIZE64, &size_) < 0)
        return Fail_("unable to get a size of the block device: %1", errno);
    int blockSize = 0;
    int const error = ioctl(fd_, BLKSSZGET, &blockSize) < 0 ? errno : 0;
    if (blockSize <= 0) {
        return Fail_("unable to get a blocksize of the block device: %1", error != 0 ? error : EINVAL);
    }
    if (blockSize > BLOCK_SIZE_MAX)
        return FailOn_("unsupported block size of the block device: %1", blockSize, EINVAL);
    blockSize_ = static_cast<unsigned long>(blockSize);
    blockCount_ = size_ / blockSize_;
    return true;
}

bool BlockDevice::SetMaster_(unsigned long size) { return master_.Assign(path_.Cstr(), size) || FailOom_(); }

bool BlockDevice::DetectMaster_() {
    char const* const name = BaseName_(path_);
    unsigned long const size = strlen(name);
    FileT::Attributes kind = FileT::OTHER;
    int error = 0;
    PathT_ control;
    control.Assignf("/sys/block/%s", name);
    if (size != 0 && FileT::GetAttrs(control, kind, &error)) return SetMaster_(path_.Size());
    if (error != 0 && error != ENOENT) return Fail_("unable to find a block control file: %1", error);
    // A partition is named after its disk.
    for (unsigned long cut = 1; cut < size; ++cut) {
        control.Assignf("/sys/block/%.*s/%s/dev", static_cast<int>(size - cut), name, name);
        bool const isThere = FileT::GetAttrs(control, kind, &error);
        if (isThere && kind == FileT::REGULAR) return SetMaster_(path_.Size() - cut);
        if (!isThere && error != ENOENT) return Fail_("unable to find a partition control file: %1", error);
    }
    return Fail_("unable to find a master device: %1", ENODEV);
}

bool BlockDevice::DetectBus_() {
    char const* const disk = BaseName_(master_);
    if (Begins_(disk, "mmcblk")) {
        bus_ = EMMC_;
    } else if (Begins_(disk, "nvme")) {
        bus_ = NVME_;
    } else {
        return FindUsb_(disk);
    }
    return true;
}

bool BlockDevice::FindUsb_(char const* disk) {
    StringVector devices;
    if (!List_(USB_DEVICES, LEVELS[LEVEL_COUNT - 1], devices)) return false;
    for (String const& device : devices) {
        PathT_ path;
        path.Assignf("%s/%s/driver/module", USB_DEVICES, device.Cstr());
        String module;
        int error = 0;
        bool const isLink = FileSystem::Symlink::GetFile(path, module, &error);
        if (!isLink && !IsAbsent_(error) && error != EINVAL) return Fail_(NO_USB, error);
        BusT_ const bus = Ends_(module, "usb_storage") ? USB_STORAGE_
                          : Ends_(module, "uas")       ? UAS_
                                                       : UNKNOWN_;
        if (bus == UNKNOWN_) continue;
        path.Assignf("%s/%s", USB_DEVICES, device.Cstr());
        bool isFound = false;
        if (!FindBelow_(path, 0, disk, isFound)) return false;
        if (!isFound) continue;
        bus_ = bus;
        return true;
    }
    return true;
}

// Whether the disk belongs to a unit that lies that many levels below a USB device.
bool BlockDevice::FindBelow_(CString const& folder, unsigned long level, char const* disk,
                             bool& isFound) const {
    PathT_ path;
    if (level == LEVEL_COUNT) {
        path.Assignf("%s/block/%s", folder.Cstr(), disk);
        FileT::Attributes kind = FileT::OTHER;
        int error = 0;
        isFound = FileT::GetAttrs(path, kind, &error);
        return isFound || IsAbsent_(error) || Fail_(NO_USB, error);
    }
    StringVector names;
    if (!List_(folder, LEVELS[level], names)) return false;
    for (String const& name : names) {
        path.Assignf("%s/%s", folder.Cstr(), name.Cstr());
        if (!FindBelow_(path, level + 1, disk, isFound)) return false;
        if (isFound) return true;
    }
    return true;
}

// Names in a folder; none of what is absent, or no folder.
bool BlockDevice::List_(CString const& folder, bool (*filter)(CString const&), StringVector& names) const {
    FileT::Attributes kind = FileT::OTHER;
    int error = 0;
    if (!FileT::GetAttrs(folder, kind, &error)) return IsAbsent_(error) || Fail_(NO_USB, error);
    if (kind != FileT::DIRECTORY) return true;
    ReturnT const code = Directory::GetNameList(folder, names, filter);
    return code.Succeeded() || Fail_(NO_USB, code == Directory::OUT_OF_MEMORY ? ENOMEM : EIO);
}

bool BlockDevice::ReadNumber_(Number_ const& number, bool& isThere, unsigned long& value) const {
    PathT_ path;
    path.Assignf("/sys/block/%s/%s", BaseName_(path_), number.file);
    FileT::Attributes kind = FileT::OTHER;
    int error = 0;
    isThere = FileT::GetAttrs(path, kind, &error);
    if (!isThere) return error == ENOENT || Fail_(number.notFound, error);
    File file(path, O_RDONLY, EOL_ANY_LF, NUMBER_BLOCK, Log::VERBOSE_OFF);
    String line;
    if (!file.NextLine(line) && !file.Ok()) {
        error = file.SysError();
        return FailOn_(number.notRead, error != 0 ? ::ErrorString(error) : file.ErrorString(), error);
    }
    return Integer::Parse(line.Strip(), value) || FailOn_(number.notParsed, line, EINVAL);
}

bool BlockDevice::DetectDiscard_() {
    static constexpr Number_ LIMIT = {
        "queue/discard_max_hw_bytes", "unable to find a discard control file: %1",
        "unable to read discard value: %1", "unable to parse discard value \"%1\""};
    unsigned int zeros = 0;
    if (ioctl(fd_, BLKDISCARDZEROES, &zeros) == 0 && zeros != 0) {
        flags_ |= DISCARD_ | ZEROS_;
        return true;
    }
    bool isThere = false;
    unsigned long limit = 0;
    if (!ReadNumber_(LIMIT, isThere, limit)) return false;
    bool const isBelieved = (bus_ != UNKNOWN_ && bus_ != USB_STORAGE_) || limit < BOAST;
    if (limit > 0 && isBelieved) flags_ |= DISCARD_;
    return true;
}

bool BlockDevice::DetectEraseSize_() {
    static constexpr Number_ SIZE = {
        "device/preferred_erase_size", "unable to find a erase size control file: %1",
        "unable to read erase size value: %1", "unable to parse erase size value \"%1\""};
    bool isThere = false;
    unsigned long size = 0;
    if (!ReadNumber_(SIZE, isThere, size)) return false;
    if (size > 0 && size % blockSize_ == 0) {
        eraseBlocks_ = size / blockSize_;
    } else if (isThere) {
        Log(Log::INFO, IDENT, path_.Cstr(), "invalid erasesize %1, ignored") << size;
    }
    return true;
}

} // namespace Io
