#pragma once

// The transport over a file descriptor: read, write, fsync.
//
// Owns       nothing: descriptor, mode, loudness and path live in the concrete stream, which must
//            outlive this
// Threads    one
// Waits      in the system call, which nothing but a signal ends while the descriptor blocks: what must
//            end by time or interruption stands behind a PollableBase. Interrupted, or on a descriptor
//            that would block, a call is tried 5 times, 50 ms apart
// Failure    EPIPE and ECONNRESET become STATE_RESET; any other error STATE_FAILED with its errno, and
//            a line in the log with the path
// Memory     none is taken

#include "zeb/core/CString.h"
#include "zeb/core/Log.h"
#include "zeb/stream/Base.h"
#include "zeb/stream/Mode.h"

namespace Io {

class SysRetry;

class ZEB_PUBLIC FdBase : public Base {
public:
    // `path` is the name of what is open, for the log; null when it has none.
    FdBase(int const& fd, ModeT const& mode, Log::VerboseT const& verbose, char const* ident, Stateful& state,
           CString const* path = nullptr)
        : Base(state)
        , fd_(fd)
        , mode_(mode)
        , verbose_(verbose)
        , ident_(ident)
        , path_(path) {}

    bool SysRead(void* data, unsigned long size, unsigned long& done) override;
    bool SysWrite(void const* data, unsigned long size, unsigned long& done) override;
    // To the medium.
    bool SysFlush() override;

private:
    Log::ControlT Volume_() const { return Log::Control(verbose_); }
    char const* Name_() const { return path_ != nullptr ? path_->Cstr() : nullptr; }
    bool Again_(SysRetry& retry, int error, ModeT direction);

    int const& fd_;
    ModeT const& mode_;
    Log::VerboseT const& verbose_;
    char const* ident_;
    CString const* path_;
};

} // namespace Io
