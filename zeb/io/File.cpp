#include "zeb/io/File.h"

namespace Io {

File::File(CString const& path, EndOfLineT eol, unsigned long bufferSize, Log::VerboseT verbose)
    : Stream(buffer_, buffer_, eol_, mode_)
    , FileStream(*this, path_, verbose_, IDENT, eol_, mode_, buffer_, memory_, fd_)
    , eol_(eol)
    , verbose_(verbose)
    , base_(fd_, mode_, verbose_, IDENT, *this, &path_)
    , buffer_(base_, *this)
    , memory_(bufferSize, mode_, *this, buffer_, buffer_) {
    if (path_.Assign(path)) return;
    Log(Log::CRITICAL, IDENT, path.Cstr(), "").Oom(ReturnT::Oom());
    SetState_(STATE_BROKEN);
}

File::File(CString const& path, int flags, EndOfLineT eol, unsigned long bufferSize, Log::VerboseT verbose)
    : File(path, eol, bufferSize, verbose) {
    if (!Ok() || FileStream::Open(flags)) return;
    Break_();
}

File::~File() { CloseOwn_(); }

} // namespace Io
