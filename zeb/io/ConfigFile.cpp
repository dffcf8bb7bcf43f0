#include "zeb/io/ConfigFile.h"

#include "zeb/core/ErrorString.h"
#include "zeb/io/Descriptor.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <new>
#include <unistd.h>

namespace Io {

namespace {

constexpr unsigned int PERMISSIONS = 0644;
constexpr char const* CANNOT_REMOVE = "unable to remove \"%1\": %2";

bool MakeTempPath(String& out, CString const& path) { return out.Assign(path) && out.Append("~"); }

void Report(char const* message, CString const& path, int error, Log::VerboseT verbose) {
    Log(Log::CRITICAL, ConfigFile::IDENT, nullptr, message)
        << path << ErrorString(error) << Log::Control(verbose);
}

} // namespace

ConfigFile::ConfigFile(CString const& path, EndOfLineT eol, unsigned long bufferSize, Log::VerboseT verbose)
    : OStream(buffer_, eol_)
    , verbose_(verbose)
    , base_(fd_, mode_, verbose_, IDENT, *this, &tempPath_)
    , buffer_(base_, *this)
    , eol_(eol) {
    if (!Prepare_(path, bufferSize)) {
        Log(Log::CRITICAL, IDENT, path.Cstr(), "").Oom(ReturnT::Oom());
        SetState_(STATE_BROKEN);
        return;
    }
    int error = 0;
    fd_ = Descriptor::Open(tempPath_.Cstr(), O_WRONLY | O_CREAT | O_EXCL | O_TRUNC, PERMISSIONS, IDENT,
                           Descriptor::BLOCKING, Log::VERBOSE_OFF, &error);
    if (fd_ >= 0) return;
    Fail_("unable to open \"%1\": %2", tempPath_, error);
    Break_();
}

// What needs memory.
bool ConfigFile::Prepare_(CString const& path, unsigned long bufferSize) {
    if (!path_.Assign(path) || !MakeTempPath(tempPath_, path)) return false;
    if (bufferSize > INLINE_SIZE) {
        heapBlock_ = new (std::nothrow) char[bufferSize];
        if (heapBlock_ == nullptr) return false;
    }
    buffer_.Set(heapBlock_ != nullptr ? heapBlock_ : block_, bufferSize);
    return true;
}

ConfigFile::~ConfigFile() {
    if (fd_ >= 0) {
        // The work is thrown away; a failure is in the log.
        (void)Descriptor::Close(fd_, IDENT, tempPath_.Cstr(), verbose_, nullptr);
        Remove_();
    }
    delete[] heapBlock_;
}

bool ConfigFile::Close() {
    if (fd_ < 0) {
        SetState(STATE_FAILED);
        return false;
    }
    if (!buffer_.Flush()) return false;
    int error = 0;
    if (!Descriptor::Close(fd_, IDENT, nullptr, Log::VERBOSE_OFF, &error)) {
        Fail_("unable to close \"%1\": %2", tempPath_, error);
    } else if (rename(tempPath_.Cstr(), path_.Cstr()) == 0) {
        return true;
    } else {
        Fail_("unable to replace \"%1\": %2", path_, errno);
    }
    Remove_();
    return false;
}

void ConfigFile::Fail_(char const* message, CString const& path, int error) {
    SetSysError_(error);
    Report(message, path, error, verbose_);
}

void ConfigFile::Remove_() {
    int const error = unlink(tempPath_.Cstr()) == 0 ? 0 : errno;
    if (error != 0 && error != ENOENT) Fail_(CANNOT_REMOVE, tempPath_, error);
}

bool ConfigFile::RemoveStale(CString const& path, Log::VerboseT verbose) {
    String stale;
    if (!MakeTempPath(stale, path)) {
        Log(Log::CRITICAL, IDENT, path.Cstr(), "").Oom(ReturnT::Oom()) << Log::Control(verbose);
        return false;
    }
    int const error = unlink(stale.Cstr()) == 0 ? 0 : errno;
    if (error == ENOENT) return true;
    if (error != 0) {
        Report(CANNOT_REMOVE, stale, error, verbose);
        return false;
    }
    Log(Log::WARNING, IDENT, nullptr, "removed \"%1\", which an earlier writer left")
        << stale << Log::Control(verbose);
    return true;
}

} // namespace Io
