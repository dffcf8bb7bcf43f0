#include "zeb/filesystem/Device.h"

#include "zeb/core/ErrorString.h"
#include "zeb/core/Log.h"
#include "zeb/core/RString.h"
#include "zeb/filesystem/DeviceListImpl.h"
#include "zeb/filesystem/Directory.h"
#include "zeb/filesystem/ErrnoImpl.h"
#include "zeb/io/File.h"
#include "zeb/runtime/Mutex.h"

#include <climits>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

namespace FileSystem {

namespace {

constexpr unsigned int MODE_OWNER = 0600;

using PathT = RString<PATH_MAX>;

// Guards the umask: of two threads that change it at a time the later one would keep 0.
constinit Mutex const lock_(Mutex::ULTIMATE);

bool MakePath_(CString const& name, PathT& path) {
    return path.Assignf("%s/%s", Device::DIRECTORY, name.Cstr());
}

// These give 0 or an error number.
int MakeNode_(CString const& name, unsigned int mode, dev_t device, PathT& path) {
    if (!MakePath_(name, path)) return ENAMETOOLONG;
    Mutex::Guard const guard(lock_);
    mode_t const before = umask(0);
    int const error = mknod(path.Cstr(), mode | MODE_OWNER, device) == 0 ? 0 : errno;
    umask(before);
    return error;
}

int RemoveNode_(CString const& name, PathT& path) {
    if (!MakePath_(name, path)) return ENAMETOOLONG;
    return unlink(path.Cstr()) == 0 ? 0 : errno;
}

int MakeDirectory_(CString const& name, PathT& path) {
    if (!MakePath_(name, path)) return ENAMETOOLONG;
    int error = 0;
    bool const isThere = Directory::Create(path, Directory::RECURSIVE, &error) || error == EEXIST;
    return isThere ? 0 : error;
}

bool IsType_(struct stat const& info, unsigned int mode) { return ((info.st_mode ^ mode) & S_IFMT) == 0; }

// A socket has no numbers.
bool IsNumber_(struct stat const& info, dev_t device) {
    return info.st_rdev == device || !(S_ISCHR(info.st_mode) || S_ISBLK(info.st_mode));
}

char const* TypeWords_(unsigned int mode) {
    switch (mode) {
    case S_IFCHR:
        return "character device";
    case S_IFBLK:
        return "block device";
    case S_IFSOCK:
        return "socket";
    default:
        return "requested filetype"; // one that all may use: the mode has more than the type
    }
}

void Complain_(char const* message, PathT const& path, int error) {
    Log(Log::ERROR, Device::IDENT, nullptr, message) << path << ErrorString(error);
}

// What is said of a node that is there already.
void Compare_(PathT const& path, unsigned int mode, dev_t device) {
    struct stat info;
    if (stat(path.Cstr(), &info) != 0) {
        Complain_("failed to get attributes of existing \"%1\": %2", path, errno);
    } else if (!IsType_(info, mode)) {
        Log(Log::ERROR, Device::IDENT, nullptr, "existing \"%1\" is not a %2") << path << TypeWords_(mode);
    } else if (!IsNumber_(info, device)) {
        Log(Log::ERROR, Device::IDENT, nullptr, "existing \"%1\" (%2 %3) device is not (%4 %5)")
            << path << major(info.st_rdev) << minor(info.st_rdev) << major(device) << minor(device);
    }
}

// Makes in /dev what the list asks for.
class Maker_ final : public DeviceList::Maker {
public:
    bool MakeDirectory(CString const& name) override;
    void MakeNode(CString const& name, unsigned int mode, unsigned int major, unsigned int minor) override;
};

bool Maker_::MakeDirectory(CString const& name) {
    PathT path;
    int const error = MakeDirectory_(name, path);
    if (error == 0) return true;
    Complain_("failed to create \"%1\" directory: %2", path, error);
    return false;
}

void Maker_::MakeNode(CString const& name, unsigned int mode, unsigned int major, unsigned int minor) {
    PathT path;
    dev_t const device = makedev(major, minor);
    int const error = MakeNode_(name, mode, device, path);
    if (error == EEXIST) return Compare_(path, mode, device);
    if (error != 0) Complain_("failed to create \"%1\": %2", path, error);
}

} // namespace

bool Device::Create(CString const& name, unsigned int mode, unsigned int major, unsigned int minor,
                    int* error) {
    PathT path;
    int const failure = MakeNode_(name, mode, makedev(major, minor), path);
    Store(failure, error);
    if (failure != 0 && !error) Complain_("failed to create \"%1\": %2", path, failure);
    return failure == 0;
}

bool Device::Exists(CString const& name, unsigned int mode, unsigned int major, unsigned int minor) {
    PathT path;
    struct stat info;
    return MakePath_(name, path) && stat(path.Cstr(), &info) == 0 && IsType_(info, mode) &&
           IsNumber_(info, makedev(major, minor));
}

bool Device::Remove(CString const& name, int* error) {
    PathT path;
    int const failure = RemoveNode_(name, path);
    Store(failure, error);
    if (failure != 0 && !error) Complain_("failed to remove \"%1\": %2", path, failure);
    return failure == 0;
}

ReturnT Device::CreateDevices(DevPtsCreateT pts) {
    Io::File list(LIST, O_RDONLY);
    Maker_ maker;
    return DeviceList(maker, pts).Run(list);
}

} // namespace FileSystem
