#include "zeb/io/SocketBase.h"

#include "tests/io/Interrupted.h"
#include "tests/support/Calls.h"
#include "tests/support/Child.h"
#include "tests/support/Clock.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TempDir.h"
#include "zeb/io/Pollable.h"
#include "zeb/io/PollableBase.h"

#include <gtest/gtest.h>
#include <openssl/err.h>
#include <openssl/ssl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <csignal>
#include <fcntl.h>
#include <string>
#include <thread>

namespace {

using Io::Stateful;

// A socket with its transports, on one end of a pair.
struct Socket : Io::Pollable {
    explicit Socket(int descriptor, Io::ModeT wanted = Io::MODE_READ_WRITE)
        : Pollable(*this, "Socket", fd, mode)
        , fd(descriptor)
        , mode(wanted)
        , base(fd, mode, "Socket", *this)
        , waiting(base, *this, "Socket") {}

    int fd;
    Io::ModeT mode;
    Io::SocketBase base;
    Io::PollableBase waiting;
};

class SocketBaseTest : public testing::Test {
protected:
    SocketBaseTest() {
        signal(SIGPIPE, SIG_IGN);
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK, 0, pair_), 0);
    }
    ~SocketBaseTest() override {
        ClosePeer();
        close(pair_[0]);
    }
    void ClosePeer() {
        if (pair_[1] >= 0) close(pair_[1]);
        pair_[1] = -1;
    }

    int pair_[2];
    char data_[16] = {};
    unsigned long done_ = 99;
    LogCapture log_;
};

TEST_F(SocketBaseTest, MovesBytesAndMeetsTheEndOnce) {
    Socket socket(pair_[0]);
    EXPECT_TRUE(socket.waiting.SysWrite("hello", 5, done_));
    EXPECT_EQ(done_, 5u);
    EXPECT_EQ(read(pair_[1], data_, sizeof(data_)), 5);
    ASSERT_EQ(write(pair_[1], "ab", 2), 2);
    EXPECT_TRUE(socket.waiting.SysRead(data_, 0, done_));
    EXPECT_EQ(done_, 0u);
    EXPECT_TRUE(socket.waiting.SysRead(data_, sizeof(data_), done_));
    EXPECT_EQ(done_, 2u);
    ClosePeer();
    EXPECT_TRUE(socket.waiting.SysRead(data_, sizeof(data_), done_));
    EXPECT_EQ(done_, 0u);
    EXPECT_TRUE(socket.base.Eos());
    EXPECT_TRUE(socket.waiting.SysFlush());
    EXPECT_FALSE(socket.waiting.SysRead(data_, sizeof(data_), done_));
    EXPECT_EQ(socket.CurrentState(), Stateful::STATE_EOS);
    EXPECT_FALSE(socket.base.SysWrite("x", 1, done_));
    EXPECT_FALSE(socket.base.SysFlush());
    EXPECT_TRUE(log_.Lines().empty());
}

TEST_F(SocketBaseTest, DirectionOutsideTheModeFails) {
    Socket reader(pair_[0], Io::MODE_READ);
    EXPECT_FALSE(reader.base.SysWrite("x", 1, done_));
    EXPECT_EQ(reader.CurrentState(), Stateful::STATE_FAILED);
    Socket writer(pair_[0], Io::MODE_WRITE);
    EXPECT_FALSE(writer.base.SysRead(data_, 1, done_));
    EXPECT_EQ(writer.CurrentState(), Stateful::STATE_FAILED);
    Socket slow(pair_[0]);
    slow.SetTimeout(0);
    EXPECT_FALSE(slow.waiting.SysRead(data_, 1, done_)) << "the wait fails first";
    EXPECT_EQ(slow.CurrentState(), Stateful::STATE_TIMEOUT);
}

TEST_F(SocketBaseTest, ErrorsOfASystemCallAreRetriedRecordedAndLogged) {
    std::string const interrupted = "E Socket: I/O operation interrupted by a system signal.";
    struct {
        int error;
        unsigned long times;
        Stateful::StateT state;
        int sysError;
        std::string line; // with VERB for the operation
    } const rows[] = {
        {EINTR, 4, Stateful::STATE_OK, 0, ""},
        {EINTR, 5, Stateful::STATE_FAILED, EINTR, interrupted},
        {EAGAIN, 5, Stateful::STATE_FAILED, EINTR, interrupted},
        {EPIPE, 1, Stateful::STATE_RESET, 0, ""},
        {ECONNRESET, 1, Stateful::STATE_RESET, 0, ""},
        {EPERM, 1, Stateful::STATE_FAILED, EPERM, ""},
        {EIO, 1, Stateful::STATE_FAILED, EIO, "E Socket: unable to VERB data: input/output error."},
    };
    for (auto const& row : rows) {
        for (bool const reading : {true, false}) {
            SCOPED_TRACE(std::string(strerror(row.error)) + (reading ? " read" : " write"));
            Clock const clock(Clock::ModeT::AUTO);
            Calls calls;
            calls.Script(reading ? SysCall::recv : SysCall::send, {Calls::Fail(row.error)}, row.times);
            Socket socket(pair_[0]);
            ASSERT_EQ(write(pair_[1], "x", 1), 1);
            bool const ok =
                reading ? socket.base.SysRead(data_, 1, done_) : socket.base.SysWrite("x", 1, done_);
            EXPECT_EQ(ok, row.state == Stateful::STATE_OK);
            EXPECT_EQ(done_, ok ? 1u : 0u);
            EXPECT_EQ(socket.CurrentState(), row.state);
            EXPECT_EQ(socket.SysError(), row.sysError);
            EXPECT_EQ(clock.Moved(), row.error == EINTR || row.error == EAGAIN ? 4 * 50000000L : 0);
            std::string line = row.line;
            if (line.find("VERB") != line.npos)
                line.replace(line.find("VERB"), 4, reading ? "read" : "write");
            EXPECT_EQ(log_.Take(), line.empty() ? LogCapture::LinesT() : LogCapture::LinesT{line});
        }
    }
}

// A TLS server on the other end of the pair, with a certificate that the openssl program made.
class TlsTest : public SocketBaseTest {
protected:
    TlsTest() {
        Child const made = Child::Program({"openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt",
                                           "ec_paramgen_curve:prime256v1", "-nodes", "-subj", "/CN=test",
                                           "-days", "2", "-keyout", dir_ / "key", "-out", dir_ / "cert"});
        EXPECT_EQ(made.ExitCode(), 0) << made;
        serverContext_ = SSL_CTX_new(TLS_server_method());
        EXPECT_EQ(SSL_CTX_use_certificate_file(serverContext_, (dir_ / "cert").c_str(), SSL_FILETYPE_PEM), 1);
        EXPECT_EQ(SSL_CTX_use_PrivateKey_file(serverContext_, (dir_ / "key").c_str(), SSL_FILETYPE_PEM), 1);
        clientContext_ = SSL_CTX_new(TLS_client_method());
        server_ = SSL_new(serverContext_);
        client_ = SSL_new(clientContext_);
        // The server's end blocks, as it has a thread of its own.
        fcntl(pair_[1], F_SETFL, 0);
        SSL_set_fd(server_, pair_[1]);
        SSL_set_fd(client_, pair_[0]);
        socket_.base.SslSet(client_, true);
        socket_.base.SslSetTimeout(2000);
        std::thread accept([this] { EXPECT_EQ(SSL_accept(server_), 1); });
        fcntl(pair_[0], F_SETFL, 0);
        EXPECT_EQ(SSL_connect(client_), 1);
        accept.join();
        fcntl(pair_[0], F_SETFL, O_NONBLOCK);
    }
    ~TlsTest() override {
        SSL_free(client_);
        SSL_free(server_);
        SSL_CTX_free(clientContext_);
        SSL_CTX_free(serverContext_);
        ERR_clear_error();
    }
    void Send(std::string const& text) {
        ASSERT_EQ(SSL_write(server_, text.data(), static_cast<int>(text.size())),
                  static_cast<int>(text.size()));
    }

    TempDir dir_;
    SSL_CTX* serverContext_;
    SSL_CTX* clientContext_;
    SSL* server_;
    SSL* client_;
    Socket socket_{pair_[0]};
};

TEST_F(TlsTest, MovesBytesAndKnowsWhatTheTlsLayerHolds) {
    EXPECT_TRUE(socket_.waiting.SysWrite("hello", 5, done_));
    EXPECT_EQ(done_, 5u);
    EXPECT_EQ(SSL_read(server_, data_, sizeof(data_)), 5);
    Send("abcdef");
    EXPECT_TRUE(socket_.waiting.SysRead(data_, 2, done_));
    EXPECT_EQ(done_, 2u);
    EXPECT_TRUE(socket_.base.IReady()) << "four bytes of the record are left";
    Calls const calls;
    EXPECT_TRUE(socket_.waiting.SysRead(data_, 16, done_));
    EXPECT_EQ(std::string(data_, done_), "cdef");
    EXPECT_EQ(calls.Count(SysCall::poll), 0u);
    socket_.base.SslSet(nullptr, false);
    EXPECT_FALSE(socket_.base.IReady());
}

TEST_F(TlsTest, WritesMoreThanTheSocketTakesAtOnce) {
    constexpr unsigned long SIZE = 4000000;
    std::string const text(SIZE, 'z');
    std::thread reader([this] {
        std::string buffer(65536, 0);
        for (unsigned long total = 0; total < SIZE;) {
            int const count = SSL_read(server_, buffer.data(), static_cast<int>(buffer.size()));
            ASSERT_GT(count, 0);
            total += static_cast<unsigned long>(count);
        }
    });
    EXPECT_TRUE(socket_.base.SysWrite(text.data(), SIZE, done_)) << socket_.ErrorString();
    EXPECT_EQ(done_, SIZE);
    reader.join();
}

TEST_F(TlsTest, OrderlyEndIsTheEndOfTheStream) {
    Send("last");
    ASSERT_GE(SSL_shutdown(server_), 0);
    EXPECT_TRUE(socket_.base.SysRead(data_, 16, done_));
    EXPECT_EQ(done_, 4u);
    EXPECT_TRUE(socket_.base.SysRead(data_, 16, done_));
    EXPECT_EQ(done_, 0u);
    EXPECT_TRUE(socket_.base.Eos());
    EXPECT_FALSE(socket_.base.SysRead(data_, 16, done_));
    EXPECT_EQ(socket_.CurrentState(), Stateful::STATE_EOS);
}

TEST_F(TlsTest, WaitInsideATransferEndsByTimeHangUpOrPollFailure) {
    {
        Clock const clock(Clock::ModeT::AUTO);
        Socket socket(pair_[0]);
        socket.base.SslSet(client_, true);
        socket.base.SslSetTimeout(700);
        EXPECT_FALSE(socket.base.SysRead(data_, 16, done_));
        EXPECT_EQ(socket.CurrentState(), Stateful::STATE_TIMEOUT);
        EXPECT_NEAR(clock.Moved(), 700e6, 2e6);
    }
    {
        Clock const clock(Clock::ModeT::AUTO);
        Calls calls;
        calls.Script(SysCall::poll, {Calls::Fail(EINTR)}, 5);
        Socket socket(pair_[0]);
        socket.base.SslSet(client_, true);
        EXPECT_FALSE(socket.base.SysRead(data_, 16, done_));
        EXPECT_EQ(socket.SysError(), EINTR);
        EXPECT_EQ(log_.Take(), LogCapture::LinesT{"E Socket: I/O operation interrupted by a system signal."});
    }
    // A peer that goes while a write waits: the write cannot go on.
    std::string const text(4000000, 'z');
    Socket socket(pair_[0]);
    socket.base.SslSet(client_, true);
    std::thread closer([this] {
        usleep(50000);
        ClosePeer();
    });
    EXPECT_FALSE(socket.base.SysWrite(text.data(), text.size(), done_));
    EXPECT_EQ(socket.CurrentState(), Stateful::STATE_RESET);
    closer.join();
}

TEST_F(TlsTest, InterruptionEndsTheWaitInsideATransfer) {
    Interrupted([this] {
        EXPECT_FALSE(socket_.base.SysRead(data_, 16, done_));
        EXPECT_EQ(socket_.CurrentState(), Stateful::STATE_INTERRUPTED);
    });
}

TEST_F(TlsTest, GarbageFails) {
    ASSERT_EQ(write(pair_[1], "this is not a record of any version", 35), 35);
    EXPECT_FALSE(socket_.base.SysRead(data_, 16, done_));
    EXPECT_EQ(socket_.CurrentState(), Stateful::STATE_FAILED);
    LogCapture::LinesT const lines = log_.Take();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].find("E Socket: SSL read failed (0x"), 0u) << lines[0];
}

TEST_F(TlsTest, ClosedDescriptorIsASystemError) {
    int const invalid = open("/dev/null", O_WRONLY | O_CLOEXEC);
    SSL_set_fd(client_, invalid);
    close(invalid);
    EXPECT_FALSE(socket_.base.SysRead(data_, 16, done_));
    EXPECT_EQ(socket_.CurrentState(), Stateful::STATE_FAILED);
    EXPECT_EQ(socket_.SysError(), EBADF);
    EXPECT_EQ(log_.Take(), LogCapture::LinesT{"E Socket: unable to read data: bad file descriptor."});
}

} // namespace
