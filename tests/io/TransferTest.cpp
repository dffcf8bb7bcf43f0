#include "tests/io/Ends.h"
#include "tests/io/Interrupted.h"
#include "tests/support/Calls.h"
#include "tests/support/Child.h"
#include "tests/support/Clock.h"
#include "tests/support/TempDir.h"

#include <fcntl.h>
#include <openssl/err.h>
#include <openssl/ssl.h>

namespace {

using Io::Stateful;

class TransferTest : public EndsTest {
protected:
    void CheckMoves(Io::Base& base) {
        EXPECT_TRUE(base.SysWrite("hello", 5, done_));
        EXPECT_EQ(done_, 5u);
        EXPECT_EQ(read(pair_[1], data_, sizeof(data_)), 5);
        Send("ab");
        EXPECT_TRUE(base.SysRead(data_, 0, done_) && done_ == 0);
        EXPECT_TRUE(base.SysWrite(data_, 0, done_) && done_ == 0);
        EXPECT_TRUE(base.SysRead(data_, sizeof(data_), done_) && done_ == 2);
        ClosePeer();
        EXPECT_TRUE(base.SysRead(data_, sizeof(data_), done_) && done_ == 0);
        EXPECT_TRUE(end_.file.Eos() || end_.socket.Eos());
        EXPECT_FALSE(base.SysRead(data_, sizeof(data_), done_));
        EXPECT_EQ(end_.CurrentState(), Stateful::STATE_EOS);
        EXPECT_FALSE(base.SysWrite("x", 1, done_));
        EXPECT_EQ(log_.Take(), Lines());
    }

    End end_{pair_[0]};
};

TEST_F(TransferTest, AFileMovesBytesAndMeetsTheEndOnce) { CheckMoves(end_.file); }

TEST_F(TransferTest, ASocketMovesBytesAndMeetsTheEndOnce) {
    EXPECT_TRUE(end_.waiting.SysFlush());
    CheckMoves(end_.waiting);
    EXPECT_FALSE(end_.socket.SysFlush());
}

TEST_F(TransferTest, NeedsAGoodStateAndItsDirection) {
    for (Io::Base* const base : {static_cast<Io::Base*>(&end_.file), static_cast<Io::Base*>(&end_.socket)}) {
        for (bool const writing : {false, true}) {
            end_.mode = writing ? Io::MODE_READ : Io::MODE_WRITE;
            EXPECT_FALSE(writing ? base->SysWrite("x", 1, done_) : base->SysRead(data_, 1, done_));
            EXPECT_EQ(end_.CurrentState(), Stateful::STATE_FAILED);
            EXPECT_FALSE(writing ? base->SysRead(data_, 1, done_) : base->SysWrite("x", 1, done_));
            end_.ClearState_();
        }
    }
    end_.mode = Io::MODE_READ_WRITE;
    end_.SetTimeout(0);
    EXPECT_FALSE(end_.waiting.SysRead(data_, 1, done_)) << "the wait fails first";
    EXPECT_EQ(end_.CurrentState(), Stateful::STATE_TIMEOUT);
    end_.ClearState_();
    EXPECT_FALSE(end_.file.SysFlush()) << "a socket has no disk";
    EXPECT_EQ(end_.SysError(), EINVAL);
    EXPECT_EQ(log_.Take(), Lines{"E Object: unable to flush buffered data: invalid argument."});
}

TEST_F(TransferTest, ErrorsOfASystemCallAreRetriedRecordedAndLogged) {
    struct {
        int error;
        unsigned long times;
        Stateful::StateT state;
        int sysError;
        std::string file, socket; // what is logged, with VERB for the operation
    } const rows[] = {
        {EINTR, 4, Stateful::STATE_OK, 0, "", ""},
        {EINTR, 5, Stateful::STATE_FAILED, EINTR, "VERB call interrupted.",
         "I/O operation interrupted by a system signal."},
        {EAGAIN, 5, Stateful::STATE_FAILED, EINTR, "VERB call interrupted.",
         "I/O operation interrupted by a system signal."},
        {EPIPE, 1, Stateful::STATE_RESET, 0, "", ""},
        {ECONNRESET, 1, Stateful::STATE_RESET, 0, "", ""},
        {EPERM, 1, Stateful::STATE_FAILED, EPERM, "unable to VERB data: operation not permitted.", ""},
        {EIO, 1, Stateful::STATE_FAILED, EIO, "unable to VERB data: input/output error.",
         "unable to VERB data: input/output error."},
    };
    enum { FILE_READ, FILE_WRITE, SILENT_READ, SILENT_WRITE, SOCKET_READ, SOCKET_WRITE, WAYS };
    SysCall const names[] = {SysCall::read,  SysCall::write, SysCall::read,
                             SysCall::write, SysCall::recv,  SysCall::send};
    for (auto const& row : rows) {
        for (int way = 0; way < WAYS; ++way) {
            SCOPED_TRACE(std::string(strerror(row.error)) + " on way " + std::to_string(way));
            Send("x");
            Clock const clock(Clock::ModeT::AUTO);
            Calls calls;
            calls.Script(names[way], {Calls::Fail(row.error)}, row.times);
            End end(pair_[0]);
            end.verbose = way / 2 == 1 ? Log::VERBOSE_OFF : Log::VERBOSE_ON;
            Io::Base& base = way >= SOCKET_READ ? static_cast<Io::Base&>(end.socket) : end.file;
            bool const reading = way % 2 == 0;
            bool const ok = reading ? base.SysRead(data_, 1, done_) : base.SysWrite("x", 1, done_);
            EXPECT_EQ(ok, row.state == Stateful::STATE_OK);
            EXPECT_EQ(done_, ok ? 1u : 0u);
            EXPECT_EQ(end.CurrentState(), row.state);
            EXPECT_EQ(end.SysError(), row.sysError);
            EXPECT_EQ(clock.Moved(), row.error == EINTR || row.error == EAGAIN ? 4 * 50000000L : 0);
            std::string line = way >= SOCKET_READ ? row.socket : row.file;
            if (line.find("VERB") != line.npos)
                line.replace(line.find("VERB"), 4, reading ? "read" : "write");
            EXPECT_EQ(log_.Take(), Lines(line.empty() || way / 2 == 1 ? 0 : 1, "E Object: " + line));
        }
    }
    Calls calls;
    Calls::Step const zero = Calls::Return(0);
    calls.Script(SysCall::write, {zero, zero, Calls::Fail(EAGAIN), zero});
    EXPECT_TRUE(end_.file.SysWrite("x", 1, done_));
    EXPECT_EQ(calls.Count(SysCall::nanosleep), 1u);
    calls.Script(SysCall::write, {zero}, 5);
    EXPECT_FALSE(end_.file.SysWrite("1234", 4, done_));
    EXPECT_EQ(end_.CurrentState(), Stateful::STATE_FAILED);
    EXPECT_EQ(log_.Take(), Lines{"E Object: wrote zero out of 4 bytes."});
}

// A TLS server on the other end of the pair, with a certificate that the openssl program made.
class TlsTest : public TransferTest {
protected:
    TlsTest() {
        TempDir const dir;
        Child const made = Child::Program({"openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt",
                                           "ec_paramgen_curve:prime256v1", "-nodes", "-subj", "/CN=test",
                                           "-days", "2", "-keyout", dir / "key", "-out", dir / "cert"});
        EXPECT_EQ(made.ExitCode(), 0) << made;
        EXPECT_EQ(SSL_use_certificate_file(server_, (dir / "cert").c_str(), SSL_FILETYPE_PEM), 1);
        EXPECT_EQ(SSL_use_PrivateKey_file(server_, (dir / "key").c_str(), SSL_FILETYPE_PEM), 1);
        SSL_set_fd(server_, pair_[1]);
        SSL_set_fd(client_, pair_[0]);
        end_.socket.SslSet(client_, true);
        end_.socket.SslSetTimeout(2000);
        for (int done = 0; done != 2;) // the two take turns
            done = (SSL_connect(client_) == 1 ? 1 : 0) + (SSL_accept(server_) == 1 ? 1 : 0);
        fcntl(pair_[1], F_SETFL, 0); // the server's end blocks: it may have a thread of its own
    }
    ~TlsTest() override {
        SSL_free(client_);
        SSL_free(server_);
        SSL_CTX_free(context_);
        ERR_clear_error();
    }
    void Encrypt(std::string const& text) {
        ASSERT_EQ(SSL_write(server_, text.data(), static_cast<int>(text.size())), ssize(text));
    }

    SSL_CTX* context_ = SSL_CTX_new(TLS_method());
    SSL* server_ = SSL_new(context_);
    SSL* client_ = SSL_new(context_);
    std::string const large_ = std::string(4000000, 'z'); // more than the socket takes at once
};

TEST_F(TlsTest, MovesBytesAndKnowsWhatTheTlsLayerHolds) {
    EXPECT_TRUE(end_.waiting.SysWrite("hello", 5, done_) && done_ == 5);
    EXPECT_EQ(SSL_read(server_, data_, sizeof(data_)), 5);
    Encrypt("abcdef");
    EXPECT_TRUE(end_.waiting.SysRead(data_, 2, done_) && done_ == 2);
    EXPECT_TRUE(end_.socket.IReady()) << "four bytes of the record are left";
    {
        Calls const calls;
        EXPECT_TRUE(end_.waiting.SysRead(data_, 16, done_));
        EXPECT_EQ(std::string(data_, done_), "cdef");
        EXPECT_EQ(calls.Count(SysCall::poll), 0u);
    }
    std::thread reader([this] {
        std::string buffer(65536, 0);
        for (int total = 0, count = 1; count > 0 && total < ssize(large_); total += count)
            count = SSL_read(server_, buffer.data(), static_cast<int>(buffer.size()));
    });
    EXPECT_TRUE(end_.socket.SysWrite(large_.data(), large_.size(), done_)) << end_.ErrorString();
    EXPECT_EQ(done_, large_.size());
    reader.join();
    Encrypt("last");
    ASSERT_GE(SSL_shutdown(server_), 0);
    EXPECT_TRUE(end_.socket.SysRead(data_, 16, done_) && done_ == 4);
    EXPECT_TRUE(end_.socket.SysRead(data_, 16, done_) && done_ == 0 && end_.socket.Eos());
    EXPECT_FALSE(end_.socket.SysRead(data_, 16, done_));
    EXPECT_EQ(end_.CurrentState(), Stateful::STATE_EOS);
    end_.socket.SslSet(nullptr, false);
    EXPECT_FALSE(end_.socket.IReady());
}

TEST_F(TlsTest, WaitInsideATransferEndsByTimeHangUpOrPollFailure) {
    end_.socket.SslSetTimeout(700);
    {
        Clock const clock(Clock::ModeT::AUTO);
        EXPECT_FALSE(end_.socket.SysRead(data_, 16, done_));
        EXPECT_EQ(end_.CurrentState(), Stateful::STATE_TIMEOUT);
        EXPECT_NEAR(clock.Moved(), 700e6, 2e6);
        end_.ClearState_();
        Calls calls;
        calls.Script(SysCall::poll, {Calls::Fail(EINTR)}, 5);
        EXPECT_FALSE(end_.socket.SysRead(data_, 16, done_));
        EXPECT_EQ(end_.SysError(), EINTR);
        EXPECT_EQ(log_.Take(), Lines{"E Object: I/O operation interrupted by a system signal."});
        end_.ClearState_();
    }
    // A peer that goes while a write waits: the write cannot go on.
    std::thread closer([this] {
        usleep(50000);
        ClosePeer();
    });
    EXPECT_FALSE(end_.socket.SysWrite(large_.data(), large_.size(), done_));
    EXPECT_EQ(end_.CurrentState(), Stateful::STATE_RESET);
    closer.join();
}

TEST_F(TlsTest, InterruptionEndsTheWaitInsideATransfer) {
    Interrupted([this] { EXPECT_FALSE(end_.socket.SysRead(data_, 16, done_)); });
    EXPECT_EQ(end_.CurrentState(), Stateful::STATE_INTERRUPTED);
}

TEST_F(TlsTest, GarbageFails) {
    Send("this is not a record of any version");
    EXPECT_FALSE(end_.socket.SysRead(data_, 16, done_));
    EXPECT_EQ(end_.CurrentState(), Stateful::STATE_FAILED);
    EXPECT_EQ(log_.Count("E Object: SSL read failed (0x"), 1u);
}

TEST_F(TlsTest, ClosedDescriptorIsASystemError) {
    int const invalid = open("/dev/null", O_WRONLY | O_CLOEXEC);
    SSL_set_fd(client_, invalid);
    close(invalid);
    EXPECT_FALSE(end_.socket.SysRead(data_, 16, done_));
    EXPECT_EQ(end_.SysError(), EBADF);
    EXPECT_EQ(log_.Take(), Lines{"E Object: unable to read data: bad file descriptor."});
}

} // namespace
