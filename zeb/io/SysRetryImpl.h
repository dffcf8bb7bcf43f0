#pragma once

// What every transport and socket does about a system call that failed. Not installed.
//
//   SysRetry retry;
//   while ((count = read(fd, data, size)) < 0)
//       if (retry.Take(errno, state) != SysRetry::AGAIN) ... the state is recorded; log, and give up

#include "zeb/core/Log.h"
#include "zeb/stream/Base.h"

namespace Io {

class SysRetry {
public:
    enum VerdictT {
        AGAIN,       // interrupted, or would block: the pause is over, try again
        RESET,       // the peer is gone
        INTERRUPTED, // the tries are used up
        FAILED,      // any other error
    };

    // What to do after `error`. Counts the tries, and pauses ahead of the next one.
    VerdictT Judge(int error);
    // The same, with the verdict recorded: STATE_RESET, or STATE_FAILED with the errno, which is EINTR when
    // the tries are used up.
    VerdictT Take(int error, Stateful const& state);

    // After a call that moved nothing, and has no error to tell: counts it as a try; whether one is left.
    bool AnotherTry() { return ++tries_ < Base::RETRY_COUNT; }

    static bool IsReset(int error);

private:
    int tries_ = 0;
};

// A backtrace behind a line that tells of an error, for those errors that are worth one.
inline Log::Backtrace BacktraceIf(bool wanted) { return Log::Backtrace(wanted ? 0UL : ~0UL); }

// The pending error of a socket (SO_ERROR), or the failing result of the query itself.
int SocketError(int fd);

} // namespace Io
