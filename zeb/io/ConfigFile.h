#pragma once

// Replaces a file as a whole: what is written goes to a temporary file beside it (the path with "~" behind
// it), and Close() renames that onto the target. A reader sees the old content or the new, never a part. For
// a file that is changed in place, or grows, take File.
//
// Owns       both paths, descriptor and block; runs once: construction, writes, Close()
// Threads    one
// Waits      for the disk alone, like a File; nothing interrupts that
// Destroy    anywhere; without Close(), or after a failed write, the work is thrown away
// Failure    by state, and in the log; an end of memory, or a temporary file that stands there already,
//            makes the construction fail: STATE_BROKEN. The target is touched by the rename alone
//
// File       The new file has the permissions 0644 less the umask, whatever the old one had, and
//            belongs to the process; a symbolic link at the path is replaced by it.
// Killed     A writer that is killed leaves its temporary file, and every later construction fails with
//            EEXIST. Call RemoveStale() once at the start of the one program that writes the file,
//            ahead of its first writer; never while another may be at work.
// Power      Close() does not wait for the disk. After a loss of power a file system may show the new
//            name with none or a part of the new content. Where that matters, call
//            OutBuffer().SysFlush() ahead of Close(): then the target has the old content or the new.

#include "zeb/core/Log.h"
#include "zeb/core/String.h"
#include "zeb/io/FdBase.h"
#include "zeb/stream/OStream.h"

namespace Io {

class ZEB_PUBLIC ConfigFile : public OStream {
public:
    static constexpr char const IDENT[] = "Io::ConfigFile";
    // Held in the object; a larger one is allocated.
    static constexpr unsigned long INLINE_SIZE = 1024;

    explicit ConfigFile(CString const& path, EndOfLineT eol = EOL_LF, unsigned long bufferSize = INLINE_SIZE,
                        Log::VerboseT verbose = Log::VERBOSE_ON);
    ~ConfigFile() override;

    // Commits. After a failure to write, the temporary file stays for the destructor; after a failure to
    // close or to rename it is removed.
    [[nodiscard]] bool Close();

    // Removes the temporary file that a killed writer of `path` left, and says so in the log. True when none
    // stands in the way, false with a line in the log otherwise.
    static bool RemoveStale(CString const& path, Log::VerboseT verbose = Log::VERBOSE_ON);

    CString const& PathName() const { return path_; }

private:
    bool Prepare_(CString const& path, unsigned long bufferSize);
    void Fail_(char const* message, CString const& path, int error);
    void Remove_();

    Log::VerboseT verbose_;
    int fd_ = -1;
    ModeT mode_ = MODE_WRITE;
    FdBase base_;
    Buffer buffer_;
    EndOfLineT eol_;
    char block_[INLINE_SIZE];
    char* heapBlock_ = nullptr;
    String path_;
    String tempPath_;
};

} // namespace Io
