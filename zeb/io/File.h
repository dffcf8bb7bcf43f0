#pragma once

// A file: a FileStream with its storage. One block serves both directions: reading writes pending output out,
// writing drops what was read ahead, and the position is always the one that the caller sees. To replace a
// file as a whole take ConfigFile; for a FIFO or a terminal PollableFile, for a device Device.
//
//   Io::File file(path, O_WRONLY | O_CREAT | O_APPEND);
//   file << record << Io::Endl;
//   if (!file.Close()) ...             // from here on the end of the program loses nothing of it
//
// Owns       descriptor and block while open, and the path
// Threads    one
// Waits      for the disk alone
// Destroy    anywhere; what is open is flushed and closed, with a failure in the log alone: Close()
//            ahead of it where the answer counts. OutBuffer().SysFlush() waits until the disk has the
//            data
// Failure    by state, and in the log with the path; a constructor that cannot open leaves STATE_BROKEN
// Memory     the path at construction, the block while open

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
