#pragma once

// The transport that waits: wraps another transport and calls Pollable::Wait before each transfer. Shares the
// end of stream flag of what it wraps.
//
// Owns       nothing; the wrapped transport and the owner must outlive it
// Threads    one
// Waits      each transfer no longer than Timeout() of the owner; an interruption of the thread ends
//            it, too. Both hold only if the transfer itself cannot block: a descriptor that is not
//            O_NONBLOCK takes a limit
// Failure    by the state of the owner
// Memory     none is taken

#include "zeb/stream/Base.h"
#include "zeb/stream/Buffer.h"
#include "zeb/stream/Mode.h"

namespace Io {

class Deadline;
class Pollable;

class ZEB_PUBLIC PollableBase : public Base {
public:
    // What a pipe, once it is ready for output, takes without blocking (PIPE_BUF).
    static constexpr unsigned long WRITE_LIMIT = 4096;
    static constexpr unsigned long UNLIMITED = ~0UL;

    // How long Finish() waits in all, in milliseconds.
    static constexpr int FINISH_TIMEOUT = 1000;

    // `writeLimit` is the most that one write may move: BlockLimit() for a descriptor that may block.
    PollableBase(Base& transport, Pollable& owner, char const* ident, unsigned long writeLimit = UNLIMITED);

    // A block's worth, and no more than WRITE_LIMIT.
    static constexpr unsigned long BlockLimit(unsigned long blockSize) {
        return blockSize < WRITE_LIMIT ? blockSize : WRITE_LIMIT;
    }

    bool IReady() const override;
    // Waits only when the wrapped transport has nothing ready.
    bool SysRead(void* data, unsigned long size, unsigned long& done) override;
    // Always waits.
    bool SysWrite(void const* data, unsigned long size, unsigned long& done) override;
    bool SysFlush() override;

    // For the destructor of the owner, which must not hang: hands pending output out, for FINISH_TIMEOUT at
    // most, or the time-out of the owner where that is shorter; when the thread is interrupted, what goes
    // without waiting. What is left then is dropped, and a line in the log says how much, and why; `name` is
    // the object's, or null.
    void Finish(Buffer& output, char const* name);

private:
    bool Wait_(ModeT request);
    bool AwaitOutput_(Deadline const& deadline);
    void ReportLoss_(unsigned long size, char const* name) const;
    unsigned long Limited_(unsigned long size) const { return size < writeLimit_ ? size : writeLimit_; }

    Base& transport_;
    Pollable& owner_;
    char const* ident_;
    unsigned long const writeLimit_;
};

} // namespace Io
