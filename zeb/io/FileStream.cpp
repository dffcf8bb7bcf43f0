#include "zeb/io/FileStream.h"

#include "zeb/io/FileMediumImpl.h"

namespace Io {

FileStream::FileStream(FileStream& parent, CString const& path, Log::VerboseT const& verbose,
                       char const* ident, EndOfLineT const& eol, ModeT& mode, Buffer& buffer, Memory& memory,
                       int& fd)
    : Stateful(&parent == this ? nullptr : static_cast<Stateful*>(&parent))
    , Stream(&parent == this ? nullptr : static_cast<Stream*>(&parent), buffer, buffer, eol, mode)
    , SeekableStream(parent, buffer, buffer, eol, mode, MAX_SIZE_UNLIMITED)
    , parent_(&parent)
    , path_(path)
    , verbose_(verbose)
    , ident_(ident)
    , mode_(mode)
    , buffer_(buffer)
    , memory_(memory)
    , fd_(fd) {}

FileStream::~FileStream() = default;

void FileStream::Attach(FileStream* parent) {
    parent_ = parent;
    SeekableStream::Attach(parent);
}

// Of this object: operations ask the root for its own.
FileMedium FileStream::Medium_() const {
    return FileMedium(*this, path_, verbose_, IDENT, ident_, buffer_, memory_, fd_);
}

bool FileStream::Open(int flags) {
    FileStream& root = *FileRoot_();
    if (!root.Ok() || root.fd_ != -1) return false;
    root.mode_ = ModeOfFlags(flags);
    return root.Medium_().Open(flags);
}

bool FileStream::Ioctl(int request, void* argument, Log::VerboseT verbose) {
    return FileRoot_()->Medium_().Ioctl(request, argument, verbose);
}

bool FileStream::Seek(long offset) { return FileRoot_()->Medium_().Seek(offset); }

bool FileStream::Tell(long& out) const { return FileRoot_()->Medium_().Tell(out); }

bool FileStream::Truncate(long length) { return FileRoot_()->Medium_().Truncate(length); }

bool FileStream::GetStreamSize(long& out) const { return FileRoot_()->Medium_().Size(out); }

bool FileStream::Close() { return FileRoot_()->Medium_().Close(); }

void FileStream::CloseOwn_() {
    if (fd_ == -1) return;
    // What this object was attached to may be gone.
    Attach(this);
    // The object ends; a failure was logged.
    (void)Medium_().Close();
}

} // namespace Io
