#pragma once

// A character device or other special file without a position, waited for in both directions (see Pollable):
// input and output have blocks of their own, so that a question may be written while answers lie unread. For
// a regular file take File; for one that is seeked in and waited for, PollableFile.
//
//   Io::Device port("/dev/ttyS1", O_RDWR | O_NOCTTY, Io::EOL_ANY_CRLF);
//   port.SetTimeout(2000);
//   port << "AT" << Io::Endl;
//   if (port.Flush() && port.ReadLine(answer)) ...
//
// Owns       descriptor and blocks while open, and the path
// Threads    one
// Waits      each transfer, and Close(), which flushes, as long as SetTimeout says; an interruption of
//            the thread ends them. A write to a terminal that stops its output midway is held by the
//            kernel: open with O_NONBLOCK where that may happen. Open() of a FIFO for one direction, or
//            of a line without carrier, waits for the peer, and nothing interrupts that: add O_NONBLOCK
// Destroy    anywhere; what is open is flushed for a second at most (PollableBase::Finish) and closed.
//            Output that is lost is told in the log: Close() ahead of it where the answer counts
// Alias      Attach() makes all operations work on the root. On the root of another kind Open() and
//            Close() fail with STATE_FAILED, and there is no path
// Failure    by state, and in the log with the path
// Memory     the blocks are taken by Open(), the path at construction

#include "zeb/core/Log.h"
#include "zeb/core/String.h"
#include "zeb/io/FdBase.h"
#include "zeb/io/PollableBase.h"
#include "zeb/io/PollableStream.h"
#include "zeb/stream/Memory.h"

namespace Io {

class ZEB_PUBLIC Device : public PollableStream {
public:
    static constexpr char const IDENT[] = "Io::Device";
    static constexpr unsigned long DEFAULT_BUFFER_SIZE = 4096;

    // Closed. STATE_BROKEN when there is no memory for the path.
    explicit Device(CString const& path, EndOfLineT eol = EOL_ANY_LF,
                    unsigned long bufferSize = DEFAULT_BUFFER_SIZE);
    // Opened; STATE_BROKEN when that fails.
    Device(CString const& path, int flags, EndOfLineT eol = EOL_ANY_LF,
           unsigned long bufferSize = DEFAULT_BUFFER_SIZE);
    ~Device() override;

    // False, with the state left good, when the device is open already. A direction that the flags leave out
    // has no block: using it fails with STATE_FAILED.
    [[nodiscard]] bool Open(int flags);
    // Flushes and closes, also after a failure; true while the state is good.
    bool Close();

    bool IsOpened() const { return Fd_() != -1; }
    CString const& PathName() const;

    // Takes the mode from open flags.
    void SetMode_(int flags);

    // Unread bytes in the input buffer.
    bool ObjIReady() const override;

private:
    Device* DeviceRoot_() const; // null when the root is of another kind
    bool Open_(int flags);
    bool Close_();

    Log::VerboseT verbose_ = Log::VERBOSE_ON;
    ModeT mode_ = MODE_READ_WRITE;
    int fd_ = -1;
    FdBase base_;
    PollableBase pollableBase_;
    EndOfLineT eol_;
    Buffer input_;
    Buffer output_;
    Memory memory_;
    String path_;
};

} // namespace Io
