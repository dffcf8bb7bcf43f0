#include "zeb/io/Descriptor.h"
#include "workbench/Calls.h"
#include "workbench/Clock.h"
#include "workbench/LogCapture.h"
#include "zeb/core/TimeSpan.h"

#include <algorithm>
#include <fcntl.h>
#include <sys/socket.h>

namespace {

using D = Io::Descriptor;
using V = Log::VerboseT;
using Lines = LogCapture::LinesT;

constexpr V LOUD = Log::VERBOSE_ON;

TEST(Descriptor, OpensInTheModeThatIsAskedAndCloses) {
    for (D::Mode const mode : {D::BLOCKING, D::NONBLOCKING}) {
        int err = 77, fds[6];
        fds[0] = D::Open("/dev/null", O_RDONLY, 0, "T", mode, LOUD, &err);
        fds[1] = D::Create(AF_UNIX, SOCK_STREAM, 0, "T", mode, LOUD, nullptr);
        EXPECT_TRUE(D::CreatePair(fds + 2, "T", SOCK_DGRAM, mode, LOUD, nullptr));
        EXPECT_TRUE(D::CreatePipe(fds + 4, "T", nullptr, LOUD, nullptr));
        EXPECT_EQ(err, 0);
        for (int& fd : fds) {
            bool const nonblocking = mode == D::NONBLOCKING && &fd < fds + 4;
            EXPECT_NE(fcntl(fd, F_GETFD) & FD_CLOEXEC, 0);
            EXPECT_EQ((fcntl(fd, F_GETFL) & O_NONBLOCK) != 0, nonblocking);
            int const number = fd;
            EXPECT_TRUE(D::Close(fd, "T", nullptr, LOUD, nullptr) && fd == -1 && fcntl(number, F_GETFD) < 0);
        }
    }
}

TEST(Descriptor, FailuresGiveTheErrnoAndOneLineWhenLoud) {
    Calls calls;
    LogCapture log;
    for (SysCall const call :
         {SysCall::open, SysCall::socket, SysCall::socketpair, SysCall::pipe2, SysCall::shutdown, SysCall::fcntl, SysCall::close})
        calls.Script(call, {Calls::Fail(EIO)}, 2);
    int pair[4], fd = 12345;
    for (V const loud : {LOUD, Log::VERBOSE_OFF}) {
        int e[7] = {};
        EXPECT_LT(D::Open("/x", 0, 0, "T", D::BLOCKING, loud, e), 0);
        EXPECT_LT(D::Create(1, 1, 0, "T", D::BLOCKING, loud, e + 1), 0);
        EXPECT_FALSE(D::CreatePair(pair, "T", 1, D::BLOCKING, loud, e + 2));
        EXPECT_FALSE(D::CreatePipe(pair + 2, "T", "name", loud, e + 3));
        EXPECT_FALSE(D::Shutdown(1, Io::MODE_READ, "T", "name", loud, e + 4));
        EXPECT_FALSE(D::SetNonblocked(1, "T", loud, e + 5));
        EXPECT_FALSE(D::Close(fd = 12345, "T", "name", loud, e + 6));
        EXPECT_EQ(std::count(e, e + 7, EIO), 7);
        EXPECT_EQ(pair[0] + pair[1] + pair[2] + pair[3] + fd, -5);
    }
    EXPECT_EQ(log.Take(),
              (Lines{"E T: unable to open \"/x\": input/output error.", "E T: unable to create a socket: input/output error.",
                     "E T: unable to create a socket pair: input/output error.",
                     "E T: \"name\": unable to create a pipe: input/output error.",
                     "E T: \"name\": unable to change I/O mode: input/output error.",
                     "C T: unable to get descriptor flags: input/output error.",
                     "E T: \"name\": unable to close descriptor -1: input/output error."}));
    unsigned long const closed = calls.Count(SysCall::close); // what cannot be made nonblocking is closed
    calls.Script(SysCall::fcntl, {Calls::Fail(EPERM), Calls::Real(), Calls::Real(), Calls::Real(), Calls::Fail(EPERM)});
    EXPECT_LT(D::Open("/", 0, 0, "T", D::NONBLOCKING, LOUD, nullptr), 0);
    EXPECT_FALSE(D::CreatePair(pair, "T", SOCK_STREAM, D::NONBLOCKING, LOUD, nullptr));
    EXPECT_EQ(log.Take(), (Lines{"C T: \"/\": unable to get descriptor flags: operation not permitted.",
                                 "C T: unable to set descriptor flags: operation not permitted."}));
    calls.Script(SysCall::close, {Calls::Fail(EINTR)}); // done: never tried again
    int none = -5, err = 7;
    EXPECT_TRUE(D::Close(none, "T", nullptr, LOUD, nullptr) && D::Close(fd = 9999, "T", nullptr, LOUD, &err));
    EXPECT_TRUE(err == 0 && calls.Count(SysCall::close) - closed == 4);
}

TEST(Descriptor, ShutdownAndGuardLeaveOpenWhatTheyShouldAndWaitKeepsItsTime) {
    for (int const way : {0, 1}) {
        int pair[2];
        ASSERT_TRUE(D::CreatePair(pair, "T", SOCK_STREAM, D::BLOCKING, LOUD, nullptr));
        {
            Io::CloseGuard const a(pair[0], "T", nullptr);
            Io::CloseGuard b(pair[1], "T", nullptr);
            Io::ModeT const keep = way == 0 ? Io::MODE_READ : Io::MODE_WRITE;
            EXPECT_TRUE(D::Shutdown(pair[0], keep, "T", nullptr, LOUD, nullptr));
            EXPECT_EQ(send(pair[way], "x", 1, MSG_NOSIGNAL), -1);
            EXPECT_EQ(send(pair[1 - way], "x", 1, MSG_NOSIGNAL), 1);
            EXPECT_TRUE(b.Release() == pair[1] && b.Release() == -1);
        }
        EXPECT_EQ(send(pair[1], "x", 1, MSG_NOSIGNAL), -1);          // its peer is closed
        EXPECT_TRUE(D::Close(pair[1], "T", nullptr, LOUD, nullptr)); // still open
    }
    Clock clock(Clock::ModeT::AUTO);
    Calls calls;
    calls.Script(SysCall::open, {Calls::Fail(ENOENT)}, 11 + 3); // each 10 ms, and at the end
    EXPECT_FALSE(D::Wait("/dev/null", Time::Span(95), O_RDONLY, "T", nullptr));
    EXPECT_TRUE(D::Wait("/dev/null", Time::Span(95), O_RDONLY, "T", nullptr));
}

} // namespace
