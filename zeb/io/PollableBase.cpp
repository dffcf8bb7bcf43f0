#include "zeb/io/PollableBase.h"

#include "zeb/core/Log.h"
#include "zeb/io/DeadlineImpl.h"
#include "zeb/io/Pollable.h"
#include "zeb/runtime/Thread.h"

#include <linux/limits.h>
#include <unistd.h>

namespace Io {

static_assert(PollableBase::WRITE_LIMIT <= PIPE_BUF);

namespace {

bool TakesOutput(int fd, int timeoutMs) {
    pollfd entry{fd, POLLOUT, 0};
    return poll(&entry, 1, timeoutMs) > 0;
}

} // namespace

PollableBase::PollableBase(Base& transport, Pollable& owner, char const* ident, unsigned long writeLimit)
    : Base(transport)
    , transport_(transport)
    , owner_(owner)
    , ident_(ident)
    , writeLimit_(writeLimit) {}

bool PollableBase::IReady() const { return transport_.IReady(); }

bool PollableBase::Wait_(ModeT request) {
    Pollable* object = &owner_;
    pollfd fd;
    return owner_.SetPollState(Pollable::Wait(&object, &request, &fd, 1, owner_.Timeout(), ident_));
}

bool PollableBase::SysRead(void* data, unsigned long size, unsigned long& done) {
    done = 0;
    if (!transport_.IReady() && !Wait_(MODE_READ)) return false;
    if (transport_.SysRead(data, size, done)) owner_.ClearInputReady_();
    return owner_.Ok();
}

bool PollableBase::SysWrite(void const* data, unsigned long size, unsigned long& done) {
    done = 0;
    if (!Wait_(MODE_WRITE)) return false;
    if (transport_.SysWrite(data, Limited_(size), done)) owner_.ClearOutputReady_();
    return owner_.Ok();
}

bool PollableBase::SysFlush() { return transport_.SysFlush(); }

void PollableBase::Finish(Buffer& output, char const* name) {
    int const own = owner_.Timeout();
    Deadline const deadline(own >= 0 && own < FINISH_TIMEOUT ? own : FINISH_TIMEOUT);
    unsigned long rest = output.PCount();
    char const* pos = output.PPos() - rest;
    while (rest > 0 && owner_.Ok() && AwaitOutput_(deadline)) {
        unsigned long done = 0;
        // A failure is a state, which ends the loop.
        (void)transport_.SysWrite(pos, Limited_(rest), done);
        pos += done;
        rest -= done;
    }
    if (rest > 0) ReportLoss_(rest, name);
    // Cannot fail: there is at least as much.
    (void)output.PTruncate(0);
}

bool PollableBase::AwaitOutput_(Deadline const& deadline) {
    for (;;) {
        bool const interrupted = Thread::SelfInterrupted();
        int const left = interrupted ? 0 : deadline.Left();
        if (TakesOutput(owner_.Fd_(), Deadline::Slice(left))) return true;
        if (left == 0)
            return owner_.Fail(interrupted ? Stateful::STATE_INTERRUPTED : Stateful::STATE_TIMEOUT);
    }
}

void PollableBase::ReportLoss_(unsigned long size, char const* name) const {
    // A line for a console that is stuck itself would hang in its turn.
    if (Log::IsConsole() && !TakesOutput(STDOUT_FILENO, 0)) return;
    Log(Log::ERROR, ident_, name, "%1 bytes of pending output are lost: %2") << size << owner_.ErrorString();
}

} // namespace Io
