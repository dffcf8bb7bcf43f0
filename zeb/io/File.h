#pragma once

// A file: a FileStream with its storage. One buffer serves both directions. The destructor flushes and closes
// what is open.

#include "zeb/core/String.h"
#include "zeb/io/FdBase.h"
#include "zeb/io/FileStream.h"

namespace Io {

class ZEB_PUBLIC File : public FileStream {
public:
    static constexpr char const IDENT[] = "Io::File";
    static constexpr unsigned long DEFAULT_BUFFER_SIZE = 4096;

    // Closed. STATE_BROKEN when there is no memory for the path.
    explicit File(CString const& path, EndOfLineT eol = EOL_ANY_LF,
                  unsigned long bufferSize = DEFAULT_BUFFER_SIZE, Log::VerboseT verbose = Log::VERBOSE_ON);
    // Opened; STATE_BROKEN when that fails.
    File(CString const& path, int flags, EndOfLineT eol = EOL_ANY_LF,
         unsigned long bufferSize = DEFAULT_BUFFER_SIZE, Log::VerboseT verbose = Log::VERBOSE_ON);
    ~File() override;

private:
    String path_;
    EndOfLineT eol_;
    Log::VerboseT verbose_;
    ModeT mode_ = MODE_READ_WRITE;
    int fd_ = -1;
    FdBase base_;
    Buffer buffer_;
    Memory memory_;
};

} // namespace Io
