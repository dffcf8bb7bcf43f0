#include "zeb/io/SocketBase.h"

#include "zeb/core/ErrorString.h"
#include "zeb/core/Log.h"
#include "zeb/core/Time.h"
#include "zeb/core/TimeSpan.h"
#include "zeb/io/Pollable.h"
#include "zeb/io/SocketError.h"
#include "zeb/runtime/Thread.h"

#include <cerrno>
#include <climits>
#include <openssl/err.h>
#include <openssl/ssl.h>
#include <sys/socket.h>

namespace {

constexpr char const* READ = "read";
constexpr char const* WRITE = "write";

SSL* Ssl(void* ssl) { return static_cast<SSL*>(ssl); }

// The TLS library counts in int; a larger transfer is cut, as a short transfer is.
int SslSize(unsigned long size) { return size < INT_MAX ? static_cast<int>(size) : INT_MAX; }

// The system error behind a failed TLS transfer: what the error queue says, else `error`.
int SystemError(int error) {
    unsigned long const entry = ERR_get_error();
    if (ERR_GET_LIB(entry) != ERR_LIB_SYS || ERR_GET_REASON(entry) == 0) return error;
    return ERR_GET_REASON(entry);
}

} // namespace

namespace Io {

SocketBase::SocketBase(int const& fd, ModeT const& mode, char const* ident, Stateful& state)
    : Base(state)
    , fd_(fd)
    , mode_(mode)
    , ident_(ident) {}

void SocketBase::SslSet(void* ssl, bool readAhead) {
    ssl_ = ssl;
    if (ssl_) SSL_set_read_ahead(Ssl(ssl_), readAhead);
}

void SocketBase::SslSetTimeout(int timeoutMs) { sslTimeout_ = timeoutMs; }

bool SocketBase::IReady() const { return ssl_ && SSL_has_pending(Ssl(ssl_)) == 1; }

bool SocketBase::Usable_(ModeT direction) {
    if (!State_().Ok()) return false;
    if (mode_ & direction) return true;
    State_().SetState(Stateful::STATE_FAILED);
    return false;
}

bool SocketBase::SysRead(void* data, unsigned long size, unsigned long& done) {
    done = 0;
    if (!State_().Ok()) return false;
    if (Eos()) {
        State_().SetState(Stateful::STATE_EOS);
        return false;
    }
    if (!Usable_(MODE_READ)) return false;
    if (size == 0) return true;
    return ssl_ ? ReadSsl_(data, size, done) : ReadPlain_(data, size, done);
}

bool SocketBase::ReadPlain_(void* data, unsigned long size, unsigned long& done) {
    int counter = 0;
    for (;;) {
        ssize_t const count = recv(fd_, data, size, 0);
        if (count < 0) {
            if (DoRawRetry_(READ, counter, errno)) continue;
            return State_().Ok();
        }
        if (count == 0) SetEos();
        done = static_cast<unsigned long>(count);
        return true;
    }
}

bool SocketBase::ReadSsl_(void* data, unsigned long size, unsigned long& done) {
    int counter = 0;
    for (;;) {
        ERR_clear_error();
        int const count = SSL_read(Ssl(ssl_), data, SslSize(size));
        int const error = errno;
        if (count >= 0) {
            if (count == 0) SetEos();
            done = static_cast<unsigned long>(count);
            return true;
        }
        if (DoSslRetry_(READ, counter, error, SSL_get_error(Ssl(ssl_), count)) != Retry_::AGAIN)
            return State_().Ok();
    }
}

bool SocketBase::SysWrite(void const* data, unsigned long size, unsigned long& done) {
    done = 0;
    if (!Usable_(MODE_WRITE)) return false;
    if (size == 0) return true;
    return ssl_ ? WriteSsl_(data, size, done) : WritePlain_(data, size, done);
}

bool SocketBase::WritePlain_(void const* data, unsigned long size, unsigned long& done) {
    int counter = 0;
    for (;;) {
        ssize_t const count = send(fd_, data, size, 0);
        if (count > 0) {
            done = static_cast<unsigned long>(count);
            return true;
        }
        if (!DoRawRetry_(WRITE, counter, errno)) return State_().Ok();
    }
}

bool SocketBase::WriteSsl_(void const* data, unsigned long size, unsigned long& done) {
    int counter = 0;
    for (;;) {
        ERR_clear_error();
        int const count = SSL_write(Ssl(ssl_), data, SslSize(size));
        int const error = errno;
        if (count > 0) {
            done = static_cast<unsigned long>(count);
            return true;
        }
        Retry_ const retry = DoSslRetry_(WRITE, counter, error, SSL_get_error(Ssl(ssl_), count));
        if (retry == Retry_::ENDED) State_().SetState(Stateful::STATE_RESET);
        if (retry != Retry_::AGAIN) return State_().Ok();
    }
}

bool SocketBase::SysFlush() { return State_().Ok(); }

bool SocketBase::DoRawRetry_(char const* operation, int& counter, int error) {
    if (error == EPIPE || error == ECONNRESET) {
        State_().SetState(Stateful::STATE_RESET);
        return false;
    }
    if (error == EINTR || error == EAGAIN) {
        if (++counter < RETRY_COUNT) {
            RetryPause_();
            return true;
        }
        State_().SetSysError_(EINTR);
        Log(Log::ERROR, ident_, nullptr, "I/O operation interrupted by a system signal");
        return false;
    }
    State_().SetSysError_(error);
    Log(Log::ERROR, ident_, nullptr, "unable to %1 data: %2")
        << Log::L10n(operation) << ErrorString(error) << (error == EPERM ? Log::QUIET : Log::LOUD);
    return false;
}

SocketBase::Retry_ SocketBase::DoSslRetry_(char const* operation, int& counter, int error, int sslError) {
    switch (sslError) {
    case SSL_ERROR_SYSCALL:
        return DoRawRetry_(operation, counter, SystemError(error)) ? Retry_::AGAIN : Retry_::FAILED;
    case SSL_ERROR_ZERO_RETURN:
        SetEos();
        return Retry_::ENDED;
    case SSL_ERROR_WANT_READ:
        return PollSsl_(operation, counter, POLLIN | POLLPRI);
    case SSL_ERROR_WANT_WRITE:
        return PollSsl_(operation, counter, POLLOUT);
    default:
        State_().SetState(Stateful::STATE_FAILED);
        Log(Log::ERROR, ident_, nullptr, "SSL %1 failed (0x%2)")
            << Log::L10n(operation) << Log::HEX << ERR_get_error();
        return Retry_::FAILED;
    }
}

// Waits for what the TLS connection wants of its descriptor.
SocketBase::Retry_ SocketBase::PollSsl_(char const* operation, int& counter, short events) {
    bool const limited = sslTimeout_ >= 0;
    Time::Span const deadline = limited ? Time::Monotonic() + Time::Span(sslTimeout_) : Time::Span::Zero();
    for (;;) {
        if (Thread::SelfInterrupted()) {
            State_().SetState(Stateful::STATE_INTERRUPTED);
            return Retry_::FAILED;
        }
        int const left = limited ? Time::MillisecondsTo(deadline) : Pollable::POLL_PERIOD;
        pollfd entry{fd_, events, 0};
        int const ready = poll(&entry, 1, left < Pollable::POLL_PERIOD ? left : Pollable::POLL_PERIOD);
        int const error = errno;
        if (ready > 0) return CheckSslPoll_(operation, entry.revents);
        if (ready < 0 && !DoRawRetry_(operation, counter, error)) return Retry_::FAILED;
        if (ready == 0 && left == 0) {
            State_().SetState(Stateful::STATE_TIMEOUT);
            return Retry_::FAILED;
        }
    }
}

SocketBase::Retry_ SocketBase::CheckSslPoll_(char const* operation, short revents) {
    if (!(revents & (POLLOUT | POLLERR | POLLHUP))) return Retry_::AGAIN;
    int const error = SocketError(fd_);
    if (revents & POLLHUP) {
        SetEos();
        return Retry_::ENDED;
    }
    if (revents & POLLERR) {
        State_().SetSysError_(error);
        Log(Log::ERROR, ident_, nullptr, "SSL %1 poll failed") << Log::L10n(operation);
        return Retry_::FAILED;
    }
    if (revents & POLLNVAL) {
        State_().SetSysError_(EINVAL);
        Log(Log::ERROR, ident_, nullptr, "SSL %1 poll failed on an invalid descriptor")
            << Log::L10n(operation);
        return Retry_::FAILED;
    }
    return Retry_::AGAIN;
}

} // namespace Io
