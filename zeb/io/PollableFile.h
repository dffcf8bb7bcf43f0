#pragma once

// A pollable file: a PollableFileStream with its storage, for FIFOs, terminals and files of the kernel that
// are waited for with MODE_PRIORITY. One block serves both directions: writing drops what was read ahead, so
// for a dialogue take Device, which has two.
//
//   Io::PollableFile requests("/run/requests", O_RDWR);   // a FIFO; open for both, so that it never ends
//   requests.SetTimeout(1000);
//   while (!StopRequested()) {
//       if (requests.NextLine(line)) Handle(line);
//       else if (requests.CurrentState() == Io::Stateful::STATE_TIMEOUT) requests.ClearState_();
//       else break;
//   }
//
// Owns       descriptor and block while open, and the path
// Threads    one
// Waits      each transfer, and Close(), which flushes, as long as SetTimeout says; an interruption of
//            the thread ends them. A write is cut at the block and at 4096 bytes, which a pipe that is
//            ready takes without blocking. Open() of a FIFO for one direction waits for the peer, and
//            nothing interrupts that: open it for both, or with O_NONBLOCK
// Destroy    anywhere; what is open is flushed for a second at most (PollableBase::Finish) and closed.
//            Output that is lost is told in the log
// Failure    by state, and in the log with the path; a constructor that cannot open leaves STATE_BROKEN
// Memory     the path at construction, the block while open

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
