#include "zeb/filesystem/File.h"

#include "zeb/core/TimeStamp.h"
#include "zeb/filesystem/ErrnoImpl.h"
#include "zeb/io/File.h"

#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace FileSystem {

namespace {

constexpr unsigned int MODE_EXECUTABLE = 0111;
constexpr unsigned long COPY_BLOCK = 65536;

using InfoT = struct stat;

bool HasType_(CString const& path, mode_t type) {
    InfoT info;
    return stat(path.Cstr(), &info) == 0 && (info.st_mode & S_IFMT) == type;
}

bool IsSameFile_(CString const& a, CString const& b) {
    InfoT first, second;
    return stat(a.Cstr(), &first) == 0 && stat(b.Cstr(), &second) == 0 && first.st_ino == second.st_ino &&
           first.st_dev == second.st_dev;
}

File::Attributes Kind_(InfoT const& info) {
    switch (info.st_mode & S_IFMT) {
    case S_IFREG:
        return File::REGULAR;
    case S_IFDIR:
        return File::DIRECTORY;
    case S_IFLNK:
        return File::SYMLINK;
    default:
        return File::OTHER;
    }
}

template<int (*ASK)(char const*, InfoT*)>
bool GetAttrs_(CString const& path, File::Attributes& attributes, int* error) {
    InfoT info{};
    errno = 0;
    bool const isDone = Tell(ASK(path.Cstr(), &info) == 0 || errno == 0, error);
    if (isDone) attributes = Kind_(info);
    return isDone;
}

} // namespace

bool File::DoDelete() { return initialized_ && Delete(path_); }

bool File::GetBaseName(String& name) const {
    unsigned long const slash = path_.FindLast('/');
    return initialized_ && path_.Substr(name, slash == path_.Size() ? 0 : slash + 1);
}

bool File::GetDirectoryName(String& name) const {
    unsigned long const slash = path_.FindLast('/');
    unsigned long const size = slash == 0 && IsAbsolute() ? 1 : slash;
    return initialized_ && path_.Substr(name, 0, slash == path_.Size() ? 0 : size);
}

bool File::GetCanonicalPath(String& path) const { return initialized_ && GetCanonicalPath(path_, path); }

bool File::Rename(CString const& to) {
    String next;
    if (!initialized_ || !next.Assign(to) || !Rename(path_, to)) return false;
    path_.Swap(next);
    return true;
}

bool File::IsReadable(CString const& path) { return access(path.Cstr(), R_OK) == 0; }

bool File::IsWritable(CString const& path) { return access(path.Cstr(), W_OK) == 0; }

bool File::IsExecutable(CString const& path) { return access(path.Cstr(), X_OK) == 0; }

bool File::Exists(CString const& path) { return access(path.Cstr(), F_OK) == 0; }

bool File::IsDirectory(CString const& path) { return HasType_(path, S_IFDIR); }

bool File::IsRegular(CString const& path) { return HasType_(path, S_IFREG); }

bool File::IsCharacterDevice(CString const& path) { return HasType_(path, S_IFCHR); }

bool File::IsBlockDevice(CString const& path) { return HasType_(path, S_IFBLK); }

bool File::IsSocket(CString const& path) { return HasType_(path, S_IFSOCK); }

bool File::IsSymlink(CString const& path) {
    InfoT info;
    return lstat(path.Cstr(), &info) == 0 && S_ISLNK(info.st_mode);
}

bool File::GetSize(CString const& path, unsigned long long& size) {
    InfoT info;
    if (stat(path.Cstr(), &info) != 0) return false;
    size = static_cast<unsigned long long>(info.st_size);
    return true;
}

bool File::GetLastModified(CString const& path, Time::Stamp& time) {
    InfoT info;
    if (stat(path.Cstr(), &info) != 0) return false;
    time = Time::Stamp(info.st_mtim);
    return true;
}

bool File::GetAttrs(CString const& path, Attributes& attributes, int* error) {
    return GetAttrs_<stat>(path, attributes, error);
}

bool File::GetLAttrs(CString const& path, Attributes& attributes, int* error) {
    return GetAttrs_<lstat>(path, attributes, error);
}

bool File::CheckExistence(CString const& path, bool& exists) {
    InfoT info;
    bool const isThere = stat(path.Cstr(), &info) == 0 || errno == EOVERFLOW;
    if (!isThere && errno != ENOENT) return false;
    exists = isThere;
    return true;
}

bool File::Rename(CString const& from, CString const& to) { return rename(from.Cstr(), to.Cstr()) == 0; }

bool File::SetMode(CString const& path, unsigned int mode) { return chmod(path.Cstr(), mode) == 0; }

bool File::Delete(CString const& path, int* error) { return Tell(unlink(path.Cstr()) == 0, error); }

bool File::Link(CString const& existing, CString const& link, int* error) {
    return Tell(::link(existing.Cstr(), link.Cstr()) == 0, error);
}

bool File::Symlink(CString const& target, CString const& link, int* error) {
    return Tell(symlink(target.Cstr(), link.Cstr()) == 0, error);
}

bool File::Copy(CString const& from, CString const& to) {
    if (IsSameFile_(from, to)) return true;
    Io::File source(from, O_RDONLY, Io::EOL_ANY_LF, COPY_BLOCK);
    if (!source.Ok()) return false;
    Io::File target(to, O_WRONLY | O_CREAT, Io::EOL_ANY_LF, COPY_BLOCK);
    if (!target.Ok()) return false;
    bool const isCopied = target.CopyFrom(source);
    bool const isRead = source.Close(), isWritten = target.Close();
    if (!isCopied || !isRead || !isWritten) return false;
    // The bytes are there, which is what was asked for.
    if (IsExecutable(from)) (void)SetMode(to, MODE_EXECUTABLE);
    return true;
}

} // namespace FileSystem
