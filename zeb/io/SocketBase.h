#pragma once

// The transport of stream sockets: recv and send, or a TLS connection over the same descriptor.
//
// Owns       neither descriptor nor connection
// Threads    one
// Waits      the owner waits for the descriptor (PollableBase), which is to be O_NONBLOCK. What a TLS
//            transfer must wait for in between is waited for here, in polls of at most 333 ms, with the
//            time-out of SslSetTimeout; an interruption of the thread ends it
// Failure    by state: STATE_RESET when the peer is gone, also for a write behind the end of a TLS
//            connection; any other error STATE_FAILED with its errno, and a line in the log
// Memory     none is taken here; the TLS library takes its own

#include "zeb/stream/Base.h"
#include "zeb/stream/Mode.h"

namespace Io {

class SysRetry;

class ZEB_PUBLIC SocketBase : public Base {
public:
    SocketBase(int const& fd, ModeT const& mode, char const* ident, Stateful& state);

    // Whether the TLS layer holds bytes that a read gives without the kernel.
    bool IReady() const override;
    bool SysRead(void* data, unsigned long size, unsigned long& done) override;
    bool SysWrite(void const* data, unsigned long size, unsigned long& done) override;
    bool SysFlush() override;

    // `ssl` is an SSL* that outlives its use here, or null for a plain socket.
    void SslSet(void* ssl, bool readAhead);
    // Milliseconds for each wait inside a TLS transfer; negative means no limit.
    void SslSetTimeout(int timeoutMs);

private:
    // What a failed transfer may do next: try again; give up, the state being set; give up since the peer
    // ended the connection, the end of stream being set.
    enum class Retry_ { AGAIN, FAILED, ENDED };

    bool Usable_(ModeT direction);
    bool ReadPlain_(void* data, unsigned long size, unsigned long& done);
    bool ReadSsl_(void* data, unsigned long size, unsigned long& done);
    bool WritePlain_(void const* data, unsigned long size, unsigned long& done);
    bool WriteSsl_(void const* data, unsigned long size, unsigned long& done);

    // True if the transfer may be tried again; otherwise the state is set.
    bool DoRawRetry_(char const* operation, SysRetry& tries, int error);
    Retry_ DoSslRetry_(char const* operation, SysRetry& tries, int error, int sslError);
    Retry_ PollSsl_(char const* operation, SysRetry& tries, short events);
    Retry_ CheckSslPoll_(char const* operation, short revents);

    int const& fd_;
    ModeT const& mode_;
    char const* ident_;
    void* ssl_ = nullptr;
    int sslTimeout_ = -2147483647 - 1;
};

} // namespace Io
