#include "zeb/io/SysRetryImpl.h"

#include <cerrno>
#include <ctime>
#include <sys/socket.h>

namespace Io {

bool SysRetry::IsReset(int error) { return error == EPIPE || error == ECONNRESET; }

SysRetry::VerdictT SysRetry::Judge(int error) {
    if (IsReset(error)) return RESET;
    if (error != EINTR && error != EAGAIN) return FAILED;
    if (!AnotherTry()) return INTERRUPTED;
    timespec const pause{0, Base::RETRY_TIMEOUT_NS};
    // A pause cut short by a signal is long enough.
    (void)nanosleep(&pause, nullptr);
    return AGAIN;
}

SysRetry::VerdictT SysRetry::Take(int error, Stateful const& state) {
    VerdictT const verdict = Judge(error);
    if (verdict == RESET) state.SetState(Stateful::STATE_RESET);
    if (verdict == INTERRUPTED) state.SetSysError_(EINTR);
    if (verdict == FAILED) state.SetSysError_(error);
    return verdict;
}

int SocketError(int fd) {
    int error = 0;
    socklen_t length = sizeof(error);
    if (int const result = getsockopt(fd, SOL_SOCKET, SO_ERROR, &error, &length)) return result;
    return error;
}

} // namespace Io
