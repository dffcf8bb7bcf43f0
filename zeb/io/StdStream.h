#pragma once

// The standard streams of the process: formatted output that ends by time or interruption, where printf would
// hang on a reader that is stuck. Io::Endl flushes the output streams.
//
// Owns       nothing of the process: descriptors 0, 1 and 2 stay open. Each object has a block of its
//            own; make one StdOut and keep it, since the texts of two, or of printf, mix as their
//            blocks go out
// Threads    one
// Waits      each transfer without limit unless SetTimeout is called (see Pollable); an interruption of
//            the thread ends it. A terminal that stops its output midway may hold a write of a block
// Destroy    anywhere; an output stream hands out what is pending for a second at most
//            (PollableBase::Finish). What is lost is told in the log
// Failure    by state: STATE_RESET when the reader is gone, and with the signal SIGPIPE unless it is
//            ignored, as the frame of a program does (see Main)
// Memory     none is taken

#include "zeb/core/Log.h"
#include "zeb/io/FdBase.h"
#include "zeb/io/Pollable.h"
#include "zeb/io/PollableBase.h"
#include "zeb/stream/IStream.h"
#include "zeb/stream/OStream.h"

namespace Io {

class ZEB_PUBLIC StdIn : public IStream, public Pollable {
public:
    static constexpr char const IDENT[] = "Io::StdIn";

    StdIn();
    ~StdIn() override;

    // Unread bytes in the buffer.
    bool ObjIReady() const override;

private:
    static constexpr unsigned long BLOCK_SIZE = 128;

    Log::VerboseT verbose_ = Log::VERBOSE_ON;
    ModeT mode_ = MODE_READ;
    int fd_ = 0;
    FdBase base_;
    PollableBase pollableBase_;
    Buffer buffer_;
    EndOfLineT eol_ = EOL_ANY_LF;
    char block_[BLOCK_SIZE];
};

// What an output stream of the process is made of.
struct ZEB_PUBLIC StdOutput {
    static constexpr unsigned long BLOCK_SIZE = 1024;

    StdOutput(int descriptor, char const* ident, Pollable& owner);

    Log::VerboseT verbose = Log::VERBOSE_ON;
    ModeT mode = MODE_WRITE;
    int fd;
    FdBase base;
    PollableBase pollableBase;
    Buffer buffer;
    EndOfLineT eol = EOL_ANY_LF;
    char block[BLOCK_SIZE];
};

class ZEB_PUBLIC StdOut : public OStream, public Pollable {
public:
    static constexpr char const IDENT[] = "Io::StdOut";

    StdOut();
    ~StdOut() override;

private:
    StdOutput parts_;
};

class ZEB_PUBLIC StdErr : public OStream, public Pollable {
public:
    static constexpr char const IDENT[] = "Io::StdErr";

    StdErr();
    ~StdErr() override;

private:
    StdOutput parts_;
};

} // namespace Io
