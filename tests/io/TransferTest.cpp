#include "tests/io/Ends.h"

#include <fcntl.h>
#include <openssl/err.h>
#include <openssl/ssl.h>

namespace {

struct TransferTest : EndsTest<SOCK_STREAM> {
    void CheckMoves(Io::Base& base) {
        EXPECT_TRUE(base.SysWrite("hello", 5, done_) && done_ == 5);
        EXPECT_EQ(read(pair_[1], data_, sizeof(data_)), 5);
        Send("ab");
        EXPECT_TRUE(base.SysRead(data_, 0, done_) && base.SysWrite(data_, 0, done_) && done_ == 0);
        EXPECT_TRUE(base.SysRead(data_, sizeof(data_), done_) && done_ == 2);
        ClosePeer();
        EXPECT_TRUE(base.SysRead(data_, sizeof(data_), done_) && done_ == 0); // the end once, then a failure
        EXPECT_FALSE(base.SysRead(data_, sizeof(data_), done_) || base.SysWrite("x", 1, done_));
        EXPECT_EQ(end_.CurrentState(), Stateful::STATE_EOS);
    }
};

TEST_F(TransferTest, AFileMovesBytesAndMeetsTheEndOnce) { CheckMoves(end_.file); }
TEST_F(TransferTest, ASocketMovesBytesWithinItsTimeAndMeetsTheEndOnce) {
    end_.SetTimeout(0);
    Send("x");
    EXPECT_TRUE(end_.waiting.SysRead(data_, 1, done_) && !end_.waiting.SysRead(data_, 1, done_));
    EXPECT_EQ(end_.CurrentState(), Stateful::STATE_TIMEOUT);
    end_.ClearState_();
    CheckMoves(end_.waiting);
}

TEST_F(TransferTest, ErrorsOfASystemCallAreRetriedRecordedAndLogged) {
    std::string const cut = " call interrupted.", signal = "I/O operation interrupted by a system signal.";
    std::string const no = " data: operation not permitted.";
    // how often it fails, what that leaves, and what is logged for each of these calls
    std::tuple<int, unsigned long, Stateful::StateT, int, std::array<std::string, 4>> const rows[] = {
        {EINTR, 4, Stateful::STATE_OK, 0, {}},
        {EAGAIN, 5, Stateful::STATE_FAILED, EINTR, {"read" + cut, "write" + cut, signal, signal}},
        {ECONNRESET, 1, Stateful::STATE_RESET, 0, {}},
        {EPERM, 1, Stateful::STATE_FAILED, EPERM, {"unable to read" + no, "unable to write" + no}}};
    SysCall const names[] = {SysCall::read, SysCall::write, SysCall::recv, SysCall::send};
    for (auto const& [error, times, state, sysError, lines] : rows)
        for (int way = 0; way < 4; ++way) {
            Send("x");
            Clock const clock(Clock::ModeT::AUTO);
            Calls calls;
            calls.Script(names[way], {Calls::Fail(error)}, times);
            End end(pair_[0]);
            Io::Base& base = way < 2 ? static_cast<Io::Base&>(end.file) : end.socket;
            auto const move = [&] { return way % 2 == 0 ? base.SysRead(data_, 1, done_) : base.SysWrite("x", 1, done_); };
            EXPECT_EQ(move(), state == Stateful::STATE_OK) << strerror(error) << " on way " << way;
            EXPECT_EQ(std::pair(end.CurrentState(), end.SysError()), std::pair(state, sysError));
            EXPECT_EQ(clock.Moved(), times > 1 ? 4 * 50000000L : 0);
            EXPECT_EQ(log_.Take(), Lines(lines[way].empty() ? 0 : 1, "E Object: " + lines[way]));
            end.ClearState_();
            end.mode = way % 2 == 0 ? Io::MODE_WRITE : Io::MODE_READ;
            EXPECT_FALSE(move() || end.Ok()); // not open for it
        }
    Calls calls;
    calls.Script(SysCall::write, {Calls::Return(0)}, 5);
    calls.Script(SysCall::recv, {Calls::Fail(EIO)});
    calls.Script(SysCall::send, {Calls::Return(0)});
    errno = EINTR; // what counts behind a send of nothing
    EXPECT_TRUE(end_.socket.SysWrite("x", 1, done_) && done_ == 1);
    EXPECT_FALSE(end_.file.SysWrite("1234", 4, done_) || end_.file.SysFlush()); // a socket has no disk
    end_.ClearState_();
    EXPECT_FALSE(end_.waiting.SysRead(data_, 1, done_) || end_.waiting.SysFlush());
    EXPECT_EQ(log_.Take(),
              (Lines{"E Object: wrote zero out of 4 bytes.", "E Object: unable to flush buffered data: invalid argument.",
                     "E Object: unable to read data: input/output error."}));
}

// A TLS server on the other end of the pair.
struct TlsTest : TransferTest {
    TlsTest() {
        for (SSL* const ssl : {server_, client_}) { // without certificates
            EXPECT_TRUE(SSL_set_max_proto_version(ssl, TLS1_2_VERSION) && SSL_set_cipher_list(ssl, "aNULL:@SECLEVEL=0"));
            SSL_set_fd(ssl, pair_[ssl == server_]);
        }
        end_.socket.SslSet(client_, true);
        end_.socket.SslSetTimeout(2000);
        for (int done = 0, i = 0; done != 2 && i < 100; ++i) // the two take turns
            done = (SSL_connect(client_) == 1 ? 1 : 0) + (SSL_accept(server_) == 1 ? 1 : 0);
        fcntl(pair_[1], F_SETFL, 0); // the server's end blocks: it may have a thread of its own
    }
    ~TlsTest() override { SSL_free(client_), SSL_free(server_), SSL_CTX_free(context_); }

    SSL_CTX* context_ = SSL_CTX_new(TLS_method());
    SSL* server_ = SSL_new(context_);
    SSL* client_ = SSL_new(context_);
};

TEST_F(TlsTest, MovesBytesUntilThePeerGoes) {
    EXPECT_TRUE(end_.waiting.SysWrite("hello", 5, done_) && done_ == 5 && SSL_get_read_ahead(client_));
    EXPECT_EQ(SSL_read(server_, data_, sizeof(data_)), 5);
    EXPECT_EQ(SSL_write(server_, "abcdef", 6), 6);
    EXPECT_TRUE(end_.waiting.SysRead(data_, 2, done_) && done_ == 2);
    end_.SetTimeout(0); // four bytes of the record are left: no wait for them
    EXPECT_TRUE(end_.waiting.SysRead(data_, 16, done_) && done_ == 4);
    std::string const large(4000000, 'z'); // more than the socket takes at once
    std::thread peer([&] {
        std::string buffer(65536, 0);
        for (int total = 0, count = 1; count > 0 && total < ssize(large); total += count)
            count = SSL_read(server_, buffer.data(), static_cast<int>(buffer.size()));
        Clock::RealPause(50);
        ClosePeer();
    });
    EXPECT_TRUE(end_.socket.SysWrite(large.data(), large.size(), done_) && done_ == large.size() && end_.Ok());
    EXPECT_FALSE(end_.socket.SysWrite(large.data(), large.size(), done_)); // waits, and cannot go on
    EXPECT_EQ(end_.CurrentState(), Stateful::STATE_RESET);
    peer.join();
}

TEST_F(TlsTest, WaitInsideATransferEndsByInterruptionTimeOrTheEndOfTheStream) {
    ExpectInterrupted([this] { EXPECT_FALSE(end_.socket.SysRead(data_, 16, done_)); });
    EXPECT_EQ(end_.CurrentState(), Stateful::STATE_INTERRUPTED);
    end_.ClearState_();
    Clock const clock(Clock::ModeT::AUTO);
    end_.socket.SslSetTimeout(700);
    Calls calls;
    calls.Script(SysCall::poll, {Calls::Fail(EINTR)});
    EXPECT_FALSE(end_.socket.SysRead(data_, 16, done_));
    EXPECT_EQ(end_.CurrentState(), Stateful::STATE_TIMEOUT);
    EXPECT_NEAR(clock.Moved(), 700e6, 2e6);
    end_.ClearState_();
    EXPECT_TRUE(SSL_shutdown(server_) >= 0 && end_.socket.SysRead(data_, 16, done_) && end_.socket.Eos());
}

TEST_F(TlsTest, GarbageFailsAndASystemErrorOfTheQueueCounts) {
    Send("this is not a record of any version");
    EXPECT_FALSE(end_.socket.SysRead(data_, 16, done_));
    EXPECT_EQ(log_.Count("E Object: SSL read failed (0x"), 1u);
    static int queued; // what a transport below the TLS layer puts there, beside its errno
    BIO_METHOD* const method = BIO_meth_new(BIO_TYPE_SOURCE_SINK, "failing");
    BIO_meth_set_read(method, [](BIO*, char*, int) {
        if (queued != 0) ERR_raise(ERR_LIB_SYS, queued);
        return errno = EIO, -1;
    });
    BIO_meth_set_ctrl(method, [](BIO*, int, long, void*) { return 0L; });
    for (int const error : {0, EPERM, ECONNRESET}) {
        End end(pair_[0]);
        SSL* const ssl = SSL_new(context_);
        SSL_set_connect_state(ssl);
        SSL_set_bio(ssl, BIO_new(method), BIO_new(BIO_s_null()));
        BIO_set_init(SSL_get_rbio(ssl), 1);
        end.socket.SslSet(ssl, false);
        queued = error;
        EXPECT_FALSE(end.socket.SysRead(data_, 16, done_));
        EXPECT_EQ(end.CurrentState(), error == ECONNRESET ? Stateful::STATE_RESET : Stateful::STATE_FAILED);
        EXPECT_EQ(end.SysError(), error == ECONNRESET ? 0 : error == 0 ? EIO : error);
        SSL_free(ssl);
    }
    BIO_meth_free(method);
}

} // namespace
