#pragma once

// A stream over what is opened by a path and waited for before each transfer (see Pollable), of references to
// what the concrete class (PollableFile) holds. It has the operations of FileStream, and is none: a function
// that takes any file takes a SeekableStream. All operations work on the root of the chain of parents.
//
// Owns       nothing
// Threads    one
// Waits      each transfer, and Close(), which flushes, as long as SetTimeout says; an interruption of
//            the thread ends them
// Destroy    the derived class closes, by CloseOwn_(): what it holds is gone when the destructor of
//            this class runs
// Failure    as FileStream: STATE_FAILED with the errno, and in the log with the path. What has no
//            position (a FIFO, a terminal) fails Seek(), Tell() and Truncate() so
// Memory     the block is taken by Open(): STATE_NO_MEMORY without it

#include "zeb/core/Log.h"
#include "zeb/io/PollableStream.h"
#include "zeb/stream/Memory.h"
#include "zeb/stream/SeekableStream.h"

namespace Io {

class FileMedium;
class PollableBase;

class ZEB_PUBLIC PollableFileStream : public PollableStream, public SeekableStream {
public:
    static constexpr char const IDENT[] = "Io::PollableFileStream";

    // Attached to `parent`, which may be this object itself. `ident` is that of the concrete class, for the
    // lines about its descriptor.
    PollableFileStream(PollableFileStream& parent, CString const& path, EndOfLineT const& eol,
                       Log::VerboseT const& verbose, char const* ident, ModeT& mode, Buffer& buffer,
                       Memory& memory, int& fd);
    ~PollableFileStream() override;

    // False, with the state left good, when the stream is open already. New files get the permissions 0644.
    // The mode is taken from the flags once the file is open.
    [[nodiscard]] bool Open(int flags);
    // Flushes and closes, also after a failure, and forgets what the last wait found; true while the state is
    // good.
    bool Close() override;
    bool Seek(long offset) override;
    // 0 while closed.
    [[nodiscard]] bool Tell(long& out) const override;
    bool Truncate(long length) override;
    // Of the path, which need not be open; pending output counts.
    [[nodiscard]] bool GetStreamSize(long& out) const override;
    // Quiet unless both the stream and the argument are loud.
    virtual bool Ioctl(int request, void* argument, Log::VerboseT verbose);

    // Unread bytes in the block.
    bool ObjIReady() const override;

    bool IsOpened() const { return PollableFileRoot_()->fd_ != -1; }
    CString const& PathName() const { return PollableFileRoot_()->path_; }

    // Takes the mode from open flags.
    void SetMode_(int flags) { PollableFileRoot_()->mode_ = ModeOfFlags(flags); }

    // Makes this object an alias of another stream.
    void Attach(PollableFileStream* parent);

protected:
    // Closes this object itself, whatever it is attached to: for the destructor of the concrete class.
    // Pending output goes out by `transport`, for no longer than PollableBase::Finish waits.
    void CloseOwn_(PollableBase& transport);

private:
    PollableFileStream* PollableFileRoot_() const {
        PollableFileStream const* root = this;
        while (root->parent_ != root)
            root = root->parent_;
        return const_cast<PollableFileStream*>(root);
    }
    FileMedium Medium_() const;
    bool Close_();

    PollableFileStream* parent_;
    CString const& path_;
    Log::VerboseT const& verbose_;
    char const* ident_;
    ModeT& mode_;
    Buffer& buffer_;
    Memory& memory_;
    int& fd_;
};

} // namespace Io
