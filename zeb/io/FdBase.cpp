#include "zeb/io/FdBase.h"

#include "zeb/core/ErrorString.h"
#include "zeb/core/UnseenImpl.h"
#include "zeb/io/SysRetryImpl.h"

#include <cerrno>
#include <unistd.h>

namespace Io {

// Whether a transfer that failed is to be tried again; if not, the failure is recorded and logged.
ZEB_UNSEEN bool FdBase::Again_(SysRetry& retry, int error, ModeT direction) {
    bool const reading = direction == MODE_READ;
    SysRetry::VerdictT const verdict = retry.Take(error, State_());
    if (verdict == SysRetry::INTERRUPTED) {
        Log(Log::ERROR, ident_, Name_(), reading ? "read call interrupted" : "write call interrupted")
            << Volume_();
    }
    if (verdict == SysRetry::FAILED) {
        Log(Log::ERROR, ident_, Name_(), reading ? "unable to read data: %1" : "unable to write data: %1")
            << ErrorString(error) << BacktraceIf(!reading && error == EPERM) << Volume_();
    }
    return verdict == SysRetry::AGAIN;
}

bool FdBase::SysRead(void* data, unsigned long size, unsigned long& done) {
    done = 0;
    if (!State_().Ok()) return false;
    if (Eos()) return Fail_(Stateful::STATE_EOS);
    if ((mode_ & MODE_READ) == 0) return Fail_(Stateful::STATE_FAILED);
    if (size == 0) return true;
    SysRetry retry;
    ssize_t count;
    while ((count = read(fd_, data, size)) < 0) {
        if (!Again_(retry, errno, MODE_READ)) return false;
    }
    if (count == 0) SetEos();
    done = static_cast<unsigned long>(count);
    return true;
}

ZEB_UNSEEN bool FdBase::SysWrite(void const* data, unsigned long size, unsigned long& done) {
    done = 0;
    if (!State_().Ok()) return false;
    if ((mode_ & MODE_WRITE) == 0) return Fail_(Stateful::STATE_FAILED);
    if (size == 0) return true;
    SysRetry retry;
    ssize_t count;
    while ((count = write(fd_, data, size)) <= 0) {
        if (count < 0 ? Again_(retry, errno, MODE_WRITE) : retry.AnotherTry()) continue;
        if (count < 0) return false;
        Log(Log::ERROR, ident_, Name_(), "wrote zero out of %1 bytes") << size << Volume_();
        return Fail_(Stateful::STATE_FAILED);
    }
    done = static_cast<unsigned long>(count);
    return true;
}

bool FdBase::SysFlush() {
    if (fsync(fd_) == 0) return State_().Ok();
    int const error = errno;
    State_().SetSysError_(error);
    Log(Log::ERROR, ident_, Name_(), "unable to flush buffered data: %1") << ErrorString(error) << Volume_();
    return false;
}

} // namespace Io
