#pragma once

// A stream over a file, of references to what the concrete class holds: File, or one of your own. Take it as
// a parameter where any file will do.
//
// Owns       nothing. A closed file has no descriptor and no block, and so costs no memory
// Threads    one
// Waits      for the disk alone. On a FIFO or a terminal it waits without end, and no interruption is
//            seen: take PollableFile for those
// Destroy    the derived class closes, by CloseOwn_(): what it holds is gone when the destructor of
//            this class runs
// Failure    STATE_FAILED with the errno, and in the log with the path. Close and Open may alternate;
//            they do not clear the state, so a failed object stays failed
// Memory     the block is taken by Open(): STATE_NO_MEMORY without it

#include "zeb/core/Log.h"
#include "zeb/stream/Memory.h"
#include "zeb/stream/SeekableStream.h"

namespace Io {

class FileMedium;

class ZEB_PUBLIC FileStream : public SeekableStream {
public:
    static constexpr char const IDENT[] = "Io::FileStream";

    // Attached to `parent`, which may be this object itself. `ident` is that of the concrete class, for the
    // lines about its descriptor.
    FileStream(FileStream& parent, CString const& path, Log::VerboseT const& verbose, char const* ident,
               EndOfLineT const& eol, ModeT& mode, Buffer& buffer, Memory& memory, int& fd);
    ~FileStream() override;

    // False, with the state left good, when the stream is open already. New files get the permissions 0644.
    [[nodiscard]] virtual bool Open(int flags);
    // Quiet unless both the stream and the argument are loud.
    virtual bool Ioctl(int request, void* argument, Log::VerboseT verbose);

    bool Seek(long offset) override;
    // 0 while closed.
    [[nodiscard]] bool Tell(long& out) const override;
    bool Truncate(long length) override;
    // Of the path, which need not be open; pending output counts.
    [[nodiscard]] bool GetStreamSize(long& out) const override;
    // Flushes and closes, also after a failure; true while the state is good.
    bool Close() override;

    bool IsOpened() const { return FileRoot_()->fd_ != -1; }
    CString const& PathName() const { return FileRoot_()->path_; }

    // Takes the mode from open flags.
    void SetMode_(int flags) { FileRoot_()->mode_ = ModeOfFlags(flags); }

    // Makes this object an alias of another stream.
    void Attach(FileStream* parent);

protected:
    // Closes this object itself, whatever it is attached to: for the destructor of the concrete class.
    void CloseOwn_();

private:
    FileStream* FileRoot_() const {
        FileStream const* root = this;
        while (root->parent_ != root)
            root = root->parent_;
        return const_cast<FileStream*>(root);
    }
    FileMedium Medium_() const;

    FileStream* parent_;
    CString const& path_;
    Log::VerboseT const& verbose_;
    char const* ident_;
    ModeT& mode_;
    Buffer& buffer_;
    Memory& memory_;
    int& fd_;
};

} // namespace Io
