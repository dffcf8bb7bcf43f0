#include "zeb/io/PollableFileStream.h"

#include "zeb/io/FileMediumImpl.h"
#include "zeb/io/PollableBase.h"

namespace Io {

PollableFileStream::PollableFileStream(PollableFileStream& parent, CString const& path, EndOfLineT const& eol,
                                       Log::VerboseT const& verbose, char const* ident, ModeT& mode,
                                       Buffer& buffer, Memory& memory, int& fd)
    : Stateful(&parent == this ? nullptr : static_cast<Stateful*>(&parent))
    , Stream(&parent == this ? nullptr : static_cast<Stream*>(&parent), buffer, buffer, eol, mode)
    , PollableStream(parent, ident, fd, mode, buffer, buffer, eol)
    , SeekableStream(parent, buffer, buffer, eol, mode, MAX_SIZE_UNLIMITED)
    , parent_(&parent)
    , path_(path)
    , verbose_(verbose)
    , ident_(ident)
    , mode_(mode)
    , buffer_(buffer)
    , memory_(memory)
    , fd_(fd) {}

PollableFileStream::~PollableFileStream() = default;

void PollableFileStream::Attach(PollableFileStream* parent) {
    parent_ = parent;
    PollableStream::Attach(parent);
    SeekableStream::Attach(parent);
}

// Of this object: operations ask the root for its own.
FileMedium PollableFileStream::Medium_() const {
    return FileMedium(*this, path_, verbose_, IDENT, ident_, buffer_, memory_, fd_);
}

bool PollableFileStream::Open(int flags) {
    PollableFileStream& root = *PollableFileRoot_();
    if (!root.Medium_().Open(flags)) return false;
    root.mode_ = ModeOfFlags(flags);
    return true;
}

bool PollableFileStream::Close_() {
    bool const closed = Medium_().Close();
    ClearReady_();
    buffer_.ClearEos();
    return closed;
}

bool PollableFileStream::Close() { return PollableFileRoot_()->Close_(); }

bool PollableFileStream::Seek(long offset) { return PollableFileRoot_()->Medium_().Seek(offset); }

bool PollableFileStream::Tell(long& out) const { return PollableFileRoot_()->Medium_().Tell(out); }

bool PollableFileStream::Truncate(long length) { return PollableFileRoot_()->Medium_().Truncate(length); }

bool PollableFileStream::GetStreamSize(long& out) const { return PollableFileRoot_()->Medium_().Size(out); }

bool PollableFileStream::Ioctl(int request, void* argument, Log::VerboseT verbose) {
    return PollableFileRoot_()->Medium_().Ioctl(request, argument, verbose);
}

bool PollableFileStream::ObjIReady() const { return InBuffer().GCount() > 0; }

void PollableFileStream::CloseOwn_(PollableBase& transport) {
    if (fd_ == -1) return;
    // What this object was attached to may be gone.
    Attach(this);
    transport.Finish(buffer_, path_.Cstr());
    // The object ends; a failure was logged.
    (void)Close_();
}

} // namespace Io
