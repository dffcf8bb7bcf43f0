#pragma once

// The transport over a file descriptor: read, write, fsync. Descriptor, mode and loudness live in the
// concrete stream, which must outlive this; nothing is owned.
//
// A transfer that is interrupted or would block is tried 5 times, 50 ms apart. EPIPE and ECONNRESET become
// STATE_RESET; any other error becomes STATE_FAILED with its errno, and a line in the log.

#include "zeb/core/Log.h"
#include "zeb/stream/Base.h"
#include "zeb/stream/Mode.h"

namespace Io {

class ZEB_PUBLIC FdBase : public Base {
public:
    FdBase(int const& fd, ModeT const& mode, Log::VerboseT const& verbose, char const* ident, Stateful& state)
        : Base(state)
        , fd_(fd)
        , mode_(mode)
        , verbose_(verbose)
        , ident_(ident) {}

    bool SysRead(void* data, unsigned long size, unsigned long& done) override;
    bool SysWrite(void const* data, unsigned long size, unsigned long& done) override;
    // To the medium.
    bool SysFlush() override;

private:
    bool Fail_(Stateful::StateT state);
    Log::ControlT Volume_() const { return Log::Control(verbose_); }
    bool PauseAfter_(int tries, char const* interrupted);

    int const& fd_;
    ModeT const& mode_;
    Log::VerboseT const& verbose_;
    char const* ident_;
};

} // namespace Io
