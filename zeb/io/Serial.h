#pragma once

// A serial port as a stream: raw, 8 data bits, no parity, 1 stop bit, no flow control, at a fixed speed. It
// is set up when it is opened, and what the driver made of that is read back. For a terminal that is to keep
// its settings take Device.
//
//   Io::Serial modem("/dev/ttyS1", Io::MODE_READ_WRITE, Io::EOL_ANY_CRLF, B115200);
//   modem.SetTimeout(2000);
//   modem << "AT" << Io::Endl;
//   if (modem.Flush() && modem.ReadLine(answer)) ...
//
// Owns       descriptor and blocks while open, and the path
// Threads    one
// Waits      construction for the driver, with a line of its own for the carrier, and nothing interrupts
// that.
//            Each transfer, and Close(), which flushes, as long as SetTimeout says; an interruption of the
//            thread ends them. Where the driver knows of it, the kernel gives up output that the line does
//            not take one second after the end of the port, and closing waits no longer than that
// Destroy    anywhere; what is open is flushed for a second at most (PollableBase::Finish) and closed.
//            Output that is lost is told in the log: Close() ahead of it where the answer counts
// Failure    STATE_BROKEN, and a line in the log with the path, when the port could not be opened and set up
//            to the last bit; later by state
// Memory     taken at construction: STATE_BROKEN without it

#include "zeb/core/String.h"
#include "zeb/io/FdBase.h"
#include "zeb/io/PollableBase.h"
#include "zeb/io/PollableStream.h"
#include "zeb/stream/Memory.h"

#include <termios.h>

namespace Io {

class ZEB_PUBLIC Serial : public PollableStream {
public:
    static constexpr char const IDENT[] = "Io::Serial";

    // The system's constants, such as B9600 and B115200.
    using SpeedT = speed_t;

    Serial(CString const& path, ModeT mode, EndOfLineT eol, SpeedT speed);
    ~Serial() override;

    // Flushes and closes, also after a failure; true while the state is good. An alias closes its root; on
    // the root of another kind that fails with STATE_FAILED.
    bool Close();

    // Unread bytes in the input buffer.
    bool ObjIReady() const override;

private:
    bool Open_(CString const& path, SpeedT speed);
    bool SetUp_(SpeedT speed);
    bool LimitClosing_();
    bool Close_();
    bool Report_(char const* message);
    bool ReportFail_(char const* message, int error);

    Log::VerboseT verbose_ = Log::VERBOSE_ON;
    ModeT mode_;
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
