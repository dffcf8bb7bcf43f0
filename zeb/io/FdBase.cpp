#include "zeb/io/FdBase.h"

#include "zeb/core/ErrorString.h"

#include <cerrno>
#include <unistd.h>

namespace Io {

namespace {

// Frames to leave out: with all of them none is printed.
constexpr unsigned long NO_BACKTRACE = ~0UL;

bool IsTransient(int error) { return error == EINTR || error == EAGAIN; }
bool IsReset(int error) { return error == EPIPE || error == ECONNRESET; }

} // namespace

bool FdBase::Fail_(Stateful::StateT state) {
    State_().SetState(state);
    return false;
}

// After a transient error: waits for the next try, or gives up behind the last.
bool FdBase::PauseAfter_(int tries, char const* interrupted) {
    if (tries < RETRY_COUNT) {
        RetryPause_();
        return true;
    }
    State_().SetSysError_(EINTR);
    Log(Log::ERROR, ident_, nullptr, interrupted) << Volume_();
    return false;
}

bool FdBase::SysRead(void* data, unsigned long size, unsigned long& done) {
    done = 0;
    if (!State_().Ok()) return false;
    if (Eos()) return Fail_(Stateful::STATE_EOS);
    if ((mode_ & MODE_READ) == 0) return Fail_(Stateful::STATE_FAILED);
    if (size == 0) return true;
    for (int tries = 1;; ++tries) {
        ssize_t const count = read(fd_, data, size);
        int const error = errno;
        if (count >= 0) {
            done = static_cast<unsigned long>(count);
            if (count == 0) SetEos();
            return true;
        }
        if (IsReset(error)) return Fail_(Stateful::STATE_RESET);
        if (!IsTransient(error)) {
            State_().SetSysError_(error);
            Log(Log::ERROR, ident_, nullptr, "unable to read data: %1") << ErrorString(error) << Volume_();
            return false;
        }
        if (!PauseAfter_(tries, "read call interrupted")) return false;
    }
}

bool FdBase::SysWrite(void const* data, unsigned long size, unsigned long& done) {
    done = 0;
    if (!State_().Ok()) return false;
    if ((mode_ & MODE_WRITE) == 0) return Fail_(Stateful::STATE_FAILED);
    if (size == 0) return true;
    for (int tries = 1;; ++tries) {
        ssize_t const count = write(fd_, data, size);
        int const error = errno;
        if (count > 0) {
            done = static_cast<unsigned long>(count);
            return true;
        }
        if (count == 0) {
            if (tries < RETRY_COUNT) continue;
            Log(Log::ERROR, ident_, nullptr, "wrote zero out of %1 bytes") << size << Volume_();
            return Fail_(Stateful::STATE_FAILED);
        }
        if (IsReset(error)) return Fail_(Stateful::STATE_RESET);
        if (!IsTransient(error)) {
            State_().SetSysError_(error);
            Log(Log::ERROR, ident_, nullptr, "unable to write data: %1")
                << ErrorString(error) << Log::Backtrace(error == EPERM ? 0 : NO_BACKTRACE) << Volume_();
            return false;
        }
        if (!PauseAfter_(tries, "write call interrupted")) return false;
    }
}

bool FdBase::SysFlush() {
    if (fsync(fd_) != 0) {
        int const error = errno;
        State_().SetSysError_(error);
        Log(Log::ERROR, ident_, nullptr, "unable to flush buffered data: %1")
            << ErrorString(error) << Volume_();
    }
    return State_().Ok();
}

} // namespace Io
