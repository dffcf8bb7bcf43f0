#include "zeb/io/SocketBase.h"

#include "zeb/core/ErrorString.h"
#include "zeb/core/Log.h"
#include "zeb/io/DeadlineImpl.h"
#include "zeb/io/SysRetryImpl.h"
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
    return (mode_ & direction) != 0 || Fail_(Stateful::STATE_FAILED);
}

bool SocketBase::SysRead(void* data, unsigned long size, unsigned long& done) {
    done = 0;
    if (!State_().Ok()) return false;
    if (Eos()) return Fail_(Stateful::STATE_EOS);
    if (!Usable_(MODE_READ)) return false;
    if (size == 0) return true;
    return ssl_ ? ReadSsl_(data, size, done) : ReadPlain_(data, size, done);
}

bool SocketBase::ReadPlain_(void* data, unsigned long size, unsigned long& done) {
    SysRetry tries;
    for (;;) {
        ssize_t const count = recv(fd_, data, size, 0);
        if (count < 0) {
            if (DoRawRetry_(READ, tries, errno)) continue;
            return State_().Ok();
        }
        if (count == 0) SetEos();
        done = static_cast<unsigned long>(count);
        return true;
    }
}

bool SocketBase::ReadSsl_(void* data, unsigned long size, unsigned long& done) {
    SysRetry tries;
    for (;;) {
        ERR_clear_error();
        int const count = SSL_read(Ssl(ssl_), data, SslSize(size));
        int const error = errno;
        if (count >= 0) {
            if (count == 0) SetEos();
            done = static_cast<unsigned long>(count);
            return true;
        }
        if (DoSslRetry_(READ, tries, error, SSL_get_error(Ssl(ssl_), count)) != Retry_::AGAIN)
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
    SysRetry tries;
    for (;;) {
        ssize_t const count = send(fd_, data, size, 0);
        if (count > 0) {
            done = static_cast<unsigned long>(count);
            return true;
        }
        if (!DoRawRetry_(WRITE, tries, errno)) return State_().Ok();
    }
}

bool SocketBase::WriteSsl_(void const* data, unsigned long size, unsigned long& done) {
    SysRetry tries;
    for (;;) {
        ERR_clear_error();
        int const count = SSL_write(Ssl(ssl_), data, SslSize(size));
        int const error = errno;
        if (count > 0) {
            done = static_cast<unsigned long>(count);
            return true;
        }
        Retry_ const retry = DoSslRetry_(WRITE, tries, error, SSL_get_error(Ssl(ssl_), count));
        if (retry == Retry_::ENDED) State_().SetState(Stateful::STATE_RESET);
        if (retry != Retry_::AGAIN) return State_().Ok();
    }
}

bool SocketBase::SysFlush() { return State_().Ok(); }

bool SocketBase::DoRawRetry_(char const* operation, SysRetry& tries, int error) {
    SysRetry::VerdictT const verdict = tries.Take(error, State_());
    if (verdict == SysRetry::INTERRUPTED)
        Log(Log::ERROR, ident_, nullptr, "I/O operation interrupted by a system signal");
    if (verdict == SysRetry::FAILED) {
        Log(Log::ERROR, ident_, nullptr, "unable to %1 data: %2")
            << Log::L10n(operation) << ErrorString(error) << (error == EPERM ? Log::QUIET : Log::LOUD);
    }
    return verdict == SysRetry::AGAIN;
}

SocketBase::Retry_ SocketBase::DoSslRetry_(char const* operation, SysRetry& tries, int error, int sslError) {
    switch (sslError) {
    case SSL_ERROR_SYSCALL:
        return DoRawRetry_(operation, tries, SystemError(error)) ? Retry_::AGAIN : Retry_::FAILED;
    case SSL_ERROR_ZERO_RETURN:
        SetEos();
        return Retry_::ENDED;
    case SSL_ERROR_WANT_READ:
        return PollSsl_(operation, tries, POLLIN | POLLPRI);
    case SSL_ERROR_WANT_WRITE:
        return PollSsl_(operation, tries, POLLOUT);
    default:
        State_().SetState(Stateful::STATE_FAILED);
        Log(Log::ERROR, ident_, nullptr, "SSL %1 failed (0x%2)")
            << Log::L10n(operation) << Log::HEX << ERR_get_error();
        return Retry_::FAILED;
    }
}

// Waits for what the TLS connection wants of its descriptor.
SocketBase::Retry_ SocketBase::PollSsl_(char const* operation, SysRetry& tries, short events) {
    Deadline const deadline(sslTimeout_);
    for (;;) {
        if (Thread::SelfInterrupted()) {
            State_().SetState(Stateful::STATE_INTERRUPTED);
            return Retry_::FAILED;
        }
        int const left = deadline.Left();
        pollfd entry{fd_, events, 0};
        int const ready = poll(&entry, 1, Deadline::Slice(left));
        int const error = errno;
        if (ready > 0) return CheckSslPoll_(operation, entry.revents);
        if (ready < 0 && !DoRawRetry_(operation, tries, error)) return Retry_::FAILED;
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
