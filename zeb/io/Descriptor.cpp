#include "zeb/io/Descriptor.h"

#include "zeb/core/ErrorString.h"
#include "zeb/core/Time.h"
#include "zeb/core/TimeSpan.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace Io {

namespace {

// Where a result goes when nobody asked for it, and the loudness of a line.
class Outcome_ {
public:
    Outcome_(Log::VerboseT verbose, int* err)
        : err_(err != nullptr ? *err : own_)
        , verbose_(verbose) {
        err_ = 0;
    }

    // Reads errno: nothing may come between the failed call and this.
    int Take() { return err_ = errno; }
    void Forget() { err_ = 0; }
    Log::ControlT Volume() const { return Log::Control(verbose_); }

private:
    int own_ = 0;
    int& err_;
    Log::VerboseT verbose_;
};

} // namespace

int Descriptor::Open(char const* path, int flags, unsigned int permissions, char const* ident, Mode mode,
                     Log::VerboseT verbose, int* err) {
    Outcome_ outcome(verbose, err);
    int const fd = open(path, flags | O_CLOEXEC, permissions);
    if (fd >= 0) return Ready_(fd, mode, ident, path, verbose, err);
    int const error = outcome.Take();
    Log(Log::ERROR, ident, nullptr, "unable to open \"%1\": %2")
        << path << ErrorString(error) << outcome.Volume();
    return -1;
}

int Descriptor::Create(int domain, int type, int protocol, char const* ident, Mode mode,
                       Log::VerboseT verbose, int* err) {
    Outcome_ outcome(verbose, err);
    int const fd = socket(domain, type | SOCK_CLOEXEC, protocol);
    if (fd >= 0) return Ready_(fd, mode, ident, nullptr, verbose, err);
    int const error = outcome.Take();
    Log(Log::ERROR, ident, nullptr, "unable to create a socket: %1")
        << ErrorString(error) << outcome.Volume();
    return -1;
}

// A new descriptor in its mode, or closed again.
int Descriptor::Ready_(int fd, Mode mode, char const* ident, char const* context, Log::VerboseT verbose,
                       int* err) {
    if (SetNonblocked_(fd, mode, ident, context, verbose, err)) return fd;
    // The error to tell is the one above.
    (void)Close(fd, ident, context, Log::VERBOSE_OFF, nullptr);
    return -1;
}

bool Descriptor::CreatePair(int* pair, char const* ident, int type, Mode mode, Log::VerboseT verbose,
                            int* err) {
    Outcome_ outcome(verbose, err);
    if (socketpair(AF_UNIX, type | SOCK_CLOEXEC, PF_UNIX, pair) != 0) {
        int const error = outcome.Take();
        pair[0] = pair[1] = -1;
        Log(Log::ERROR, ident, nullptr, "unable to create a socket pair: %1")
            << ErrorString(error) << outcome.Volume();
        return false;
    }
    if (SetNonblocked_(pair[0], mode, ident, nullptr, verbose, err) &&
        SetNonblocked_(pair[1], mode, ident, nullptr, verbose, err))
        return true;
    // The error to tell is the one above.
    (void)Close(pair[0], ident, nullptr, Log::VERBOSE_OFF, nullptr);
    (void)Close(pair[1], ident, nullptr, Log::VERBOSE_OFF, nullptr);
    return false;
}

bool Descriptor::CreatePipe(int* pair, char const* ident, char const* context, Log::VerboseT verbose,
                            int* err) {
    Outcome_ outcome(verbose, err);
    if (pipe2(pair, O_CLOEXEC) == 0) return true;
    int const error = outcome.Take();
    pair[0] = pair[1] = -1;
    Log(Log::ERROR, ident, context, "unable to create a pipe: %1") << ErrorString(error) << outcome.Volume();
    return false;
}

bool Descriptor::SetNonblocked(int fd, char const* ident, Log::VerboseT verbose, int* err) {
    return SetNonblocked_(fd, NONBLOCKING, ident, nullptr, verbose, err);
}

bool Descriptor::SetNonblocked_(int fd, Mode mode, char const* ident, char const* context,
                                Log::VerboseT verbose, int* err) {
    Outcome_ outcome(verbose, err);
    if (mode != NONBLOCKING) return true;
    int const flags = fcntl(fd, F_GETFL);
    if (flags < 0) {
        int const error = outcome.Take();
        Log(Log::CRITICAL, ident, context, "unable to get descriptor flags: %1")
            << ErrorString(error) << outcome.Volume();
        return false;
    }
    if (fcntl(fd, F_SETFL, flags | O_NONBLOCK) < 0) {
        int const error = outcome.Take();
        Log(Log::CRITICAL, ident, context, "unable to set descriptor flags: %1")
            << ErrorString(error) << outcome.Volume();
        return false;
    }
    return true;
}

bool Descriptor::Shutdown(int fd, ModeT keep, char const* ident, char const* context, Log::VerboseT verbose,
                          int* err) {
    Outcome_ outcome(verbose, err);
    if ((keep & MODE_READ_WRITE) == MODE_READ_WRITE) return true;
    if (shutdown(fd, (keep & MODE_WRITE) != 0 ? SHUT_RD : SHUT_WR) == 0) return true;
    int const error = outcome.Take();
    Log(Log::ERROR, ident, context, "unable to change I/O mode: %1")
        << ErrorString(error) << outcome.Volume();
    return false;
}

bool Descriptor::Close(int& fd, char const* ident, char const* context, Log::VerboseT verbose, int* err) {
    Outcome_ outcome(verbose, err);
    int const result = fd < 0 ? 0 : close(fd);
    int const error = result == 0 ? 0 : outcome.Take();
    fd = -1;
    if (error == EINTR) outcome.Forget();
    if (error == 0 || error == EINTR) return true;
    Log(Log::ERROR, ident, context, "unable to close descriptor %1: %2")
        << fd << ErrorString(error) << outcome.Volume();
    return false;
}

bool Descriptor::Wait(CString const& path, Time::Span const& timeout, int flags, char const* ident,
                      char const* context) {
    static Time::Span const WAIT_PERIOD(10);
    Time::Span const deadline = Time::Monotonic() + timeout;
    for (;;) {
        int fd = Open(path.Cstr(), flags, 0, ident, BLOCKING, Log::VERBOSE_OFF, nullptr);
        if (fd >= 0) {
            CloseGuard const guard(fd, ident, context);
            return true;
        }
        Time::Span const left = deadline - Time::Monotonic();
        if (left <= Time::Span::Zero()) return false;
        if (!Sleep(left < WAIT_PERIOD ? left : WAIT_PERIOD)) return false;
    }
}

int Descriptor::CloseGuard::Release() {
    if (released_) return -1;
    released_ = true;
    return fd_;
}

void Descriptor::CloseGuard::Reset() {
    // A failure is logged; there is nobody to tell.
    if (FdValid()) (void)Close(fd_, ident_, context_, Log::VERBOSE_ON, nullptr);
    released_ = true;
}

} // namespace Io
