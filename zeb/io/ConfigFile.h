#pragma once

// Replaces a file as a whole: what is written goes to a temporary file beside it (the path with "~" behind
// it), and Close() renames that onto the target. A reader sees the old content or the new, never a part.
// Without Close() the destructor throws the work away and the target was never touched.
//
// Runs once: construction, writes, Close. A temporary file that another writer left, or still writes, makes
// the construction fail: STATE_BROKEN.

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
    bool Close();

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
