#include "zeb/io/PollableDgram.h"

#include "zeb/core/ErrorString.h"
#include "zeb/core/UnseenImpl.h"
#include "zeb/io/SysRetryImpl.h"

#include <cerrno>
#include <sys/socket.h>

namespace Io {

PollableDgram::PollableDgram(char const* ident, int const& fd, ModeT const& mode, PollableBase& base)
    : Pollable(*this, ident, fd, mode)
    , ident_(ident)
    , fd_(fd)
    , base_(base) {}

PollableDgram::~PollableDgram() = default;

ZEB_UNSEEN bool PollableDgram::GetBytesAvailable(unsigned long& size) {
    if (!Ok()) return false;
    Pollable* object = this;
    ModeT request = MODE_READ;
    pollfd entry;
    if (!SetPollState(Wait(&object, &request, &entry, 1, Timeout(), ident_))) return false;
    char byte;
    ssize_t const count = recv(fd_, &byte, 1, MSG_PEEK | MSG_TRUNC);
    int const error = errno;
    if (count > 0) {
        size = static_cast<unsigned long>(count);
        return true;
    }
    if (SysRetry::IsReset(error)) return Fail(STATE_RESET);
    SetSysError_(error);
    Log(Log::ERROR, ident_, nullptr, "unable to get an available data size: %1")
        << ::ErrorString(error) << BacktraceIf(error == ENOBUFS);
    return false;
}

} // namespace Io
