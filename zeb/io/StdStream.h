#pragma once

// The standard streams of the process. None owns its descriptor. Transfers wait without limit unless a
// time-out is set (see Pollable). Io::Endl flushes the output streams, and so does their destructor.

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

class ZEB_PUBLIC StdOut : public OStream, public Pollable {
public:
    static constexpr char const IDENT[] = "Io::StdOut";

    StdOut();
    ~StdOut() override;

private:
    static constexpr unsigned long BLOCK_SIZE = 1024;

    Log::VerboseT verbose_ = Log::VERBOSE_ON;
    ModeT mode_ = MODE_WRITE;
    int fd_ = 1;
    FdBase base_;
    PollableBase pollableBase_;
    Buffer buffer_;
    EndOfLineT eol_ = EOL_ANY_LF;
    char block_[BLOCK_SIZE];
};

class ZEB_PUBLIC StdErr : public OStream, public Pollable {
public:
    static constexpr char const IDENT[] = "Io::StdErr";

    StdErr();
    ~StdErr() override;

private:
    static constexpr unsigned long BLOCK_SIZE = 1024;

    Log::VerboseT verbose_ = Log::VERBOSE_ON;
    ModeT mode_ = MODE_WRITE;
    int fd_ = 2;
    FdBase base_;
    PollableBase pollableBase_;
    Buffer buffer_;
    EndOfLineT eol_ = EOL_ANY_LF;
    char block_[BLOCK_SIZE];
};

} // namespace Io
