#include "zeb/io/Descriptor.h"
#include "tests/support/Calls.h"
#include "tests/support/Clock.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TempDir.h"
#include "zeb/core/TimeSpan.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/socket.h>

namespace {

using Io::Descriptor;
using Lines = LogCapture::LinesT;
using VerboseT = Log::VerboseT;

constexpr VerboseT LOUD = Log::VERBOSE_ON;
constexpr Descriptor::Mode STILL = Descriptor::BLOCKING, NONBLOCKING = Descriptor::NONBLOCKING;

TEST(Descriptor, OpensInTheModeThatIsAskedAndCloses) {
    for (Descriptor::Mode const mode : {STILL, NONBLOCKING}) {
        int err = 77, fds[6];
        fds[0] = Descriptor::Open("/dev/null", O_RDONLY, 0, "T", mode, LOUD, &err);
        fds[1] = Descriptor::Create(AF_UNIX, SOCK_STREAM, 0, "T", mode, LOUD, nullptr);
        EXPECT_TRUE(Descriptor::CreatePair(fds + 2, "T", SOCK_DGRAM, mode, LOUD, nullptr));
        EXPECT_TRUE(Descriptor::CreatePipe(fds + 4, "T", nullptr, LOUD, nullptr));
        EXPECT_EQ(err, 0);
        for (int& fd : fds) {
            bool const nonblocking = mode == NONBLOCKING;
            EXPECT_NE(fcntl(fd, F_GETFD) & FD_CLOEXEC, 0);
            EXPECT_EQ((fcntl(fd, F_GETFL) & O_NONBLOCK) != 0, nonblocking && &fd < fds + 4);
            EXPECT_TRUE(!nonblocking || Descriptor::SetNonblocked(fd, "T", LOUD, nullptr));
            EXPECT_EQ((fcntl(fd, F_GETFL) & O_NONBLOCK) != 0, nonblocking);
            int const number = fd;
            EXPECT_TRUE(Descriptor::Close(fd, "T", nullptr, LOUD, nullptr));
            EXPECT_EQ(fd, -1);
            EXPECT_LT(fcntl(number, F_GETFD), 0);
        }
    }
}

TEST(Descriptor, FailuresGiveTheErrnoAndOneLineWhenLoud) {
    using V = VerboseT;
    using D = Descriptor;
    int pair[2], fd = 0;
    struct {
        SysCall call;
        std::function<bool(V, int*)> works;
        char const* line;
    } const rows[] = {
        {SysCall::open, [](V v, int* e) { return D::Open("/x", 0, 0, "T", STILL, v, e) >= 0; },
         "E T: unable to open \"/x\""},
        {SysCall::socket, [](V v, int* e) { return D::Create(1, 1, 0, "T", STILL, v, e) >= 0; },
         "E T: unable to create a socket"},
        {SysCall::socketpair, [&](V v, int* e) { return D::CreatePair(pair, "T", 1, STILL, v, e); },
         "E T: unable to create a socket pair"},
        {SysCall::pipe2, [&](V v, int* e) { return D::CreatePipe(pair, "T", "name", v, e); },
         "E T: \"name\": unable to create a pipe"},
        {SysCall::shutdown, [&](V v, int* e) { return D::Shutdown(1, Io::MODE_READ, "T", "name", v, e); },
         "E T: \"name\": unable to change I/O mode"},
        {SysCall::fcntl, [](V v, int* e) { return D::SetNonblocked(1, "T", v, e); },
         "C T: unable to get descriptor flags"},
        {SysCall::close, [&](V v, int* e) { return D::Close(fd = 12345, "T", "name", v, e); },
         "E T: \"name\": unable to close descriptor -1"},
    };
    Calls calls;
    LogCapture log;
    for (auto const& row : rows) {
        for (VerboseT const verbose : {Log::VERBOSE_OFF, Log::VERBOSE_ON}) {
            pair[0] = pair[1] = fd = -1;
            calls.Script(row.call, {Calls::Fail(EIO)}, 2);
            int err = 0;
            EXPECT_FALSE(row.works(verbose, &err) || row.works(verbose, nullptr)) << row.line;
            EXPECT_EQ(err, EIO);
            EXPECT_EQ(pair[0] + pair[1] + fd, -3);
            std::string const line = row.line + std::string(": input/output error.");
            EXPECT_EQ(log.Take(), verbose == LOUD ? Lines({line, line}) : Lines());
        }
    }
    unsigned long const closed = calls.Count(SysCall::close); // what cannot be made nonblocking is closed
    calls.Script(SysCall::fcntl,
                 {Calls::Real(), Calls::Fail(EPERM), Calls::Real(), Calls::Real(), Calls::Fail(EPERM)});
    EXPECT_EQ(D::Open("/dev/null", O_RDONLY, 0, "T", NONBLOCKING, LOUD, nullptr), -1);
    EXPECT_FALSE(D::CreatePair(pair, "T", SOCK_STREAM, NONBLOCKING, LOUD, nullptr));
    EXPECT_EQ(pair[0] + pair[1], -2);
    EXPECT_EQ(calls.Count(SysCall::close) - closed, 3u);
    EXPECT_EQ(log.Take(), Lines({"C T: unable to set descriptor flags: operation not permitted.",
                                 "C T: unable to get descriptor flags: operation not permitted."}));
    // An interrupted close is done: never tried again; a negative descriptor is not closed at all.
    calls.Script(SysCall::close, {Calls::Fail(EINTR)});
    int negative = -5, err = 7;
    EXPECT_TRUE(D::Close(fd = 12345, "T", nullptr, LOUD, &err) &&
                D::Close(negative, "T", nullptr, LOUD, &err));
    EXPECT_EQ(calls.Count(SysCall::close) - closed, 4u);
    EXPECT_TRUE(err == 0 && fd == -1 && negative == -1);
}

TEST(Descriptor, ShutdownKeepsTheNamedDirectionAndAGuardClosesWhatWasNotReleased) {
    for (Io::ModeT const keep : {Io::MODE_READ_WRITE, Io::MODE_READ, Io::MODE_WRITE}) {
        int pair[2];
        ASSERT_TRUE(Descriptor::CreatePair(pair, "T", SOCK_STREAM, STILL, LOUD, nullptr));
        int const number = pair[0];
        {
            Io::CloseGuard const a(pair[0], "T", nullptr);
            Io::CloseGuard b(pair[1], "T", nullptr);
            EXPECT_TRUE(Descriptor::Shutdown(pair[0], keep, "T", nullptr, LOUD, nullptr));
            EXPECT_EQ(send(pair[0], "x", 1, MSG_NOSIGNAL) == 1, (keep & Io::MODE_WRITE) != 0);
            EXPECT_EQ(send(pair[1], "x", 1, MSG_NOSIGNAL) == 1, (keep & Io::MODE_READ) != 0);
            EXPECT_TRUE(b.FdValid() && b.Release() == pair[1] && b.Release() == -1);
        }
        EXPECT_LT(fcntl(number, F_GETFD), 0);
        EXPECT_TRUE(Descriptor::Close(pair[1], "T", nullptr, LOUD, nullptr)); // still open
    }
}

TEST(Descriptor, WaitsForAPathWithinItsTime) {
    TempDir dir;
    LogCapture log;
    std::string const path = dir / "late";
    Clock clock(Clock::ModeT::AUTO);
    Calls calls;
    EXPECT_FALSE(Descriptor::Wait(path.c_str(), Time::Span(95), O_RDONLY, "T", nullptr));
    EXPECT_EQ(calls.Count(SysCall::open), 11u); // each 10 ms, and at the end
    calls.Script(SysCall::open, {Calls::Real(), Calls::Do([&] { dir.Write("late", ""); })});
    EXPECT_TRUE(Descriptor::Wait(path.c_str(), Time::Span(1000), O_RDONLY, "T", nullptr));
    EXPECT_EQ(log.Take(), Lines());
}

} // namespace
