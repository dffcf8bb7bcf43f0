#include "zeb/filesystem/DirectoryScanImpl.h"

#include "zeb/runtime/Mutex.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace FileSystem {

namespace {

constinit Mutex const lock_(Mutex::ULTIMATE);

} // namespace

Directory::Scan_::Scan_(CString const& path) {
    // Shows in Next().
    (void)Open(AT_FDCWD, path.Cstr(), FOLLOW);
}

bool Directory::Scan_::Open(int parent, char const* path, LinksT links) {
    error_ = 0;
    int const flags = O_RDONLY | O_DIRECTORY | O_CLOEXEC | (links == KEEP ? O_NOFOLLOW : 0);
    int const fd = openat(parent, path, flags, 0);
    if (fd >= 0 && (stream_ = fdopendir(fd)) != nullptr) return true;
    error_ = errno;
    // The error to tell is the one above.
    if (fd >= 0) (void)close(fd);
    return false;
}

void Directory::Scan_::Close() {
    // Nothing was written: there is nothing to lose.
    if (stream_) (void)closedir(stream_);
    stream_ = nullptr;
}

bool Directory::Scan_::Next() {
    if (error_ == 0) ReadDir_();
    return error_ == 0 && !name_.Empty();
}

// The next entry; an empty name is the end. Streams of several threads share nothing, so that a lock that
// could not be taken, which was logged, is no reason to stop.
void Directory::Scan_::ReadDir_() {
    Mutex::Guard const guard(lock_);
    errno = 0;
    dirent const* const entry = readdir(stream_);
    error_ = entry ? 0 : errno;
    name_.Assign(entry ? CString(entry->d_name) : CString::Nil());
    type_ = entry ? entry->d_type : static_cast<unsigned char>(DT_UNKNOWN);
}

bool Directory::Scan_::IsDirectory(LinksT links) const {
    bool const isTold = type_ != DT_UNKNOWN && (links == KEEP || type_ != DT_LNK);
    if (isTold) return type_ == DT_DIR;
    struct stat info;
    int const flags = links == KEEP ? AT_SYMLINK_NOFOLLOW : 0;
    return fstatat(Fd(), name_.Cstr(), &info, flags) == 0 && S_ISDIR(info.st_mode);
}

ReturnT Directory::Scan_::Code() const {
    switch (error_) {
    case 0:
        return DONE;
    case ENOTDIR:
        return NOT_A_DIRECTORY;
    case ENOMEM:
        return OUT_OF_MEMORY;
    default:
        return UNREADABLE;
    }
}

} // namespace FileSystem
