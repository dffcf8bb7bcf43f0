#pragma once

// A pollable file: a PollableFileStream with its storage. One buffer serves both directions. The destructor
// flushes and closes what is open.

#include "zeb/core/String.h"
#include "zeb/io/FdBase.h"
#include "zeb/io/PollableBase.h"
#include "zeb/io/PollableFileStream.h"

namespace Io {

class ZEB_PUBLIC PollableFile : public PollableFileStream {
public:
    static constexpr char const IDENT[] = "Io::PollableFile";
    static constexpr unsigned long DEFAULT_BUFFER_SIZE = 4096;

    // Closed. STATE_BROKEN when there is no memory for the path.
    explicit PollableFile(CString const& path, EndOfLineT eol = EOL_ANY_LF,
                          unsigned long bufferSize = DEFAULT_BUFFER_SIZE,
                          Log::VerboseT verbose = Log::VERBOSE_ON);
    // Opened; STATE_BROKEN when that fails.
    PollableFile(CString const& path, int flags, EndOfLineT eol = EOL_ANY_LF,
                 unsigned long bufferSize = DEFAULT_BUFFER_SIZE, Log::VerboseT verbose = Log::VERBOSE_ON);
    ~PollableFile() override;

private:
    Log::VerboseT verbose_;
    ModeT mode_ = MODE_READ_WRITE;
    int fd_ = -1;
    EndOfLineT eol_;
    FdBase base_;
    PollableBase pollableBase_;
    Buffer buffer_;
    Memory memory_;
    String path_;
};

} // namespace Io
