#include "zeb/io/PollableFile.h"

namespace Io {

PollableFile::PollableFile(CString const& path, EndOfLineT eol, unsigned long bufferSize,
                           Log::VerboseT verbose)
    : Stream(buffer_, buffer_, eol_, mode_)
    , PollableFileStream(*this, path_, eol_, verbose_, IDENT, mode_, buffer_, memory_, fd_)
    , verbose_(verbose)
    , eol_(eol)
    , base_(fd_, mode_, verbose_, IDENT, *this, &path_)
    , pollableBase_(base_, *this, IDENT, PollableBase::BlockLimit(bufferSize))
    , buffer_(pollableBase_, *this)
    , memory_(bufferSize, mode_, *this, buffer_, buffer_) {
    if (path_.Assign(path)) return;
    Log(Log::CRITICAL, IDENT, path.Cstr(), "").Oom(ReturnT::Oom());
    SetState_(STATE_BROKEN);
}

PollableFile::PollableFile(CString const& path, int flags, EndOfLineT eol, unsigned long bufferSize,
                           Log::VerboseT verbose)
    : PollableFile(path, eol, bufferSize, verbose) {
    if (Ok() && !PollableFileStream::Open(flags)) Break_();
}

PollableFile::~PollableFile() { CloseOwn_(pollableBase_); }

} // namespace Io
