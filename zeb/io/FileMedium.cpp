#include "zeb/io/FileMediumImpl.h"

#include "zeb/core/ErrorString.h"
#include "zeb/io/Descriptor.h"

#include <cerrno>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Io {

namespace {

constexpr unsigned int PERMISSIONS = 0644;

} // namespace

bool FileMedium::Fail_(int error, char const* message, bool loud) const {
    state_.SetSysError_(error);
    Log(Log::ERROR, source_, nullptr, message)
        << path_ << ErrorString(error) << (loud ? Log::LOUD : Log::QUIET);
    return false;
}

bool FileMedium::Open(int flags) {
    if (!state_.Ok() || fd_ != -1) return false;
    if (!memory_.Allocate()) {
        Log(Log::ERROR, source_, path_.Cstr(), "no memory to allocate a buffer") << Log::Control(verbose_);
        state_.SetState_(Stateful::STATE_NO_MEMORY);
        return false;
    }
    int error = 0;
    fd_ = Descriptor::Open(path_.Cstr(), flags, PERMISSIONS, ident_, Descriptor::BLOCKING, verbose_, &error);
    if (fd_ < 0) {
        state_.SetSysError_(error);
        memory_.Free();
        return false;
    }
    buffer_.ClearEos();
    return true;
}

bool FileMedium::Close() {
    // What the flush gives is in the state, which is the result; the rest is released all the same.
    (void)buffer_.Flush();
    memory_.Free();
    int error = 0;
    if (!Descriptor::Close(fd_, ident_, path_.Cstr(), verbose_, &error)) state_.SetSysError_(error);
    return state_.Ok();
}

bool FileMedium::Seek(long offset) {
    if (!buffer_.Flush()) return false;
    if (lseek(fd_, offset, SEEK_SET) < 0)
        return Fail_(errno, "could not set current file position for \"%1\": %2");
    buffer_.ClearEos();
    return true;
}

bool FileMedium::Tell(long& out) const {
    out = 0;
    if (fd_ == -1) return state_.Ok();
    off_t const position = lseek(fd_, 0, SEEK_CUR);
    if (position < 0) return Fail_(errno, "could not get current file position for \"%1\": %2");
    out = position + static_cast<long>(buffer_.PCount()) - static_cast<long>(buffer_.GCount());
    return state_.Ok();
}

bool FileMedium::Truncate(long length) {
    // The position that the caller sees does not move: what was read ahead is read again.
    long const unread = static_cast<long>(buffer_.GCount());
    if (!buffer_.Flush()) return false;
    bool const back = unread == 0 || lseek(fd_, -unread, SEEK_CUR) >= 0;
    if (!back || ftruncate(fd_, length) != 0) return Fail_(errno, "unable to truncate \"%1\": %2");
    buffer_.ClearEos();
    return true;
}

bool FileMedium::Size(long& out) const {
    constexpr char const* MESSAGE = "unable to get a stream size for \"%1\": %2";
    out = 0;
    struct stat info;
    if (stat(path_.Cstr(), &info) != 0) return Fail_(errno, MESSAGE);
    out = info.st_size;
    if (buffer_.PCount() == 0) return state_.Ok();
    off_t const position = lseek(fd_, 0, SEEK_CUR);
    if (position < 0) {
        out = 0;
        return Fail_(errno, MESSAGE);
    }
    long const end = position + static_cast<long>(buffer_.PCount());
    if (end > out) out = end;
    return state_.Ok();
}

bool FileMedium::Ioctl(int request, void* argument, Log::VerboseT verbose) {
    if (ioctl(fd_, static_cast<unsigned int>(request), argument) >= 0) return state_.Ok();
    return Fail_(errno, "ioctl error for \"%1\": %2",
                 verbose_ != Log::VERBOSE_OFF && verbose != Log::VERBOSE_OFF);
}

} // namespace Io
