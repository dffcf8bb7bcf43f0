#include "zeb/io/Descriptor.h"
#include "tests/support/Calls.h"
#include "tests/support/Clock.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TempDir.h"
#include "zeb/core/TimeSpan.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

using Io::Descriptor;
using Lines = LogCapture::LinesT;

bool IsOpen(int fd) { return fcntl(fd, F_GETFD) >= 0; }
bool IsNonblocking(int fd) { return (fcntl(fd, F_GETFL) & O_NONBLOCK) != 0; }

TEST(Descriptor, OpensInTheModeThatIsAsked) {
    TempDir dir;
    std::string const path = dir.Write("file", "text");
    for (Descriptor::Mode const mode : {Descriptor::BLOCKING, Descriptor::NONBLOCKING}) {
        int err = 77;
        int fds[6] = {-1, -1, -1, -1, -1, -1};
        fds[0] = Descriptor::Open(path.c_str(), O_RDONLY, 0, "T", mode, Log::VERBOSE_ON, &err);
        fds[1] = Descriptor::Create(AF_UNIX, SOCK_STREAM, 0, "T", mode, Log::VERBOSE_ON, nullptr);
        EXPECT_TRUE(Descriptor::CreatePair(fds + 2, "T", SOCK_DGRAM, mode, Log::VERBOSE_ON, nullptr));
        EXPECT_TRUE(Descriptor::CreatePipe(fds + 4, "T", nullptr, Log::VERBOSE_ON, nullptr));
        EXPECT_EQ(err, 0);
        for (int& fd : fds) {
            EXPECT_TRUE(IsOpen(fd));
            EXPECT_NE(fcntl(fd, F_GETFD) & FD_CLOEXEC, 0);
            bool const pipeEnd = &fd >= fds + 4;
            EXPECT_EQ(IsNonblocking(fd), mode == Descriptor::NONBLOCKING && !pipeEnd);
            EXPECT_TRUE(!pipeEnd || Descriptor::SetNonblocked(fd, "T", Log::VERBOSE_ON, nullptr));
            EXPECT_TRUE(!pipeEnd || IsNonblocking(fd));
            int const number = fd;
            EXPECT_TRUE(Descriptor::Close(fd, "T", nullptr, Log::VERBOSE_ON, nullptr));
            EXPECT_EQ(fd, -1);
            EXPECT_FALSE(IsOpen(number));
        }
    }
}

TEST(Descriptor, FailuresGiveTheErrnoAndOneLineWhenLoud) {
    int pair[2];
    auto const bad = [&] { return pair[0] == -1 && pair[1] == -1; };
    struct Row {
        SysCall call;
        std::function<bool(Log::VerboseT, int*)> fails;
        char const* line;
    } const rows[] = {
        {SysCall::open,
         [](auto verbose, int* err) {
             return Descriptor::Open("/x", O_RDONLY, 0, "T", Descriptor::NONBLOCKING, verbose, err) == -1;
         },
         "E T: unable to open \"/x\": input/output error."},
        {SysCall::socket,
         [](auto verbose, int* err) {
             return Descriptor::Create(AF_UNIX, SOCK_STREAM, 0, "T", Descriptor::BLOCKING, verbose, err) ==
                    -1;
         },
         "E T: unable to create a socket: input/output error."},
        {SysCall::socketpair,
         [&](auto verbose, int* err) {
             return !Descriptor::CreatePair(pair, "T", SOCK_STREAM, Descriptor::BLOCKING, verbose, err) &&
                    bad();
         },
         "E T: unable to create a socket pair: input/output error."},
        {SysCall::pipe2,
         [&](auto verbose, int* err) {
             return !Descriptor::CreatePipe(pair, "T", "name", verbose, err) && bad();
         },
         "E T: \"name\": unable to create a pipe: input/output error."},
        {SysCall::shutdown,
         [](auto verbose, int* err) {
             return !Descriptor::Shutdown(1, Io::MODE_READ, "T", "name", verbose, err);
         },
         "E T: \"name\": unable to change I/O mode: input/output error."},
        {SysCall::fcntl,
         [](auto verbose, int* err) { return !Descriptor::SetNonblocked(1, "T", verbose, err); },
         "C T: unable to get descriptor flags: input/output error."},
        {SysCall::close,
         [](auto verbose, int* err) {
             int fd = 12345;
             return !Descriptor::Close(fd, "T", "name", verbose, err) && fd == -1;
         },
         "E T: \"name\": unable to close descriptor -1: input/output error."},
    };
    for (Row const& row : rows) {
        for (Log::VerboseT const verbose : {Log::VERBOSE_OFF, Log::VERBOSE_ON}) {
            Calls calls;
            LogCapture log;
            calls.Script(row.call, {Calls::Fail(EIO), Calls::Fail(EIO)});
            int err = 0;
            EXPECT_TRUE(row.fails(verbose, &err)) << row.line;
            EXPECT_TRUE(row.fails(verbose, nullptr));
            EXPECT_EQ(err, EIO);
            EXPECT_EQ(log.Take(), verbose == Log::VERBOSE_ON ? Lines({row.line, row.line}) : Lines());
        }
    }
}

TEST(Descriptor, WhatCannotBeMadeNonblockingIsClosedAgain) {
    Calls calls;
    LogCapture log;
    int pair[2];
    calls.Script(SysCall::fcntl,
                 {Calls::Real(), Calls::Fail(EPERM), Calls::Real(), Calls::Real(), Calls::Fail(EPERM)});
    int err = 0;
    EXPECT_EQ(Descriptor::Open("/dev/null", O_RDONLY, 0, "T", Descriptor::NONBLOCKING, Log::VERBOSE_ON, &err),
              -1);
    EXPECT_EQ(err, EPERM);
    EXPECT_FALSE(
        Descriptor::CreatePair(pair, "T", SOCK_STREAM, Descriptor::NONBLOCKING, Log::VERBOSE_ON, &err));
    EXPECT_EQ(pair[0], -1);
    EXPECT_EQ(pair[1], -1);
    EXPECT_EQ(calls.Count(SysCall::close), 3u);
    EXPECT_EQ(log.Take(), Lines({"C T: unable to set descriptor flags: operation not permitted.",
                                 "C T: unable to get descriptor flags: operation not permitted."}));
}

TEST(Descriptor, CloseCountsAnInterruptionAsDone) {
    LogCapture log;
    Calls calls;
    calls.Script(SysCall::close, {Calls::Fail(EINTR)});
    int fd = 12345, err = 7;
    EXPECT_TRUE(Descriptor::Close(fd, "T", nullptr, Log::VERBOSE_ON, &err));
    EXPECT_EQ(err, 0);
    EXPECT_EQ(calls.Count(SysCall::close), 1u); // never retried
    fd = -5;
    EXPECT_TRUE(Descriptor::Close(fd, "T", nullptr, Log::VERBOSE_ON, nullptr));
    EXPECT_EQ(fd, -1);
    EXPECT_EQ(calls.Count(SysCall::close), 1u);
    EXPECT_EQ(log.Take(), Lines());
}

TEST(Descriptor, ShutdownKeepsTheNamedDirection) {
    for (Io::ModeT const keep : {Io::MODE_READ_WRITE, Io::MODE_READ, Io::MODE_WRITE}) {
        int pair[2];
        ASSERT_TRUE(
            Descriptor::CreatePair(pair, "T", SOCK_STREAM, Descriptor::BLOCKING, Log::VERBOSE_ON, nullptr));
        Io::CloseGuard const a(pair[0], "T", nullptr), b(pair[1], "T", nullptr);
        EXPECT_TRUE(Descriptor::Shutdown(pair[0], keep, "T", nullptr, Log::VERBOSE_ON, nullptr));
        EXPECT_EQ(send(pair[0], "x", 1, MSG_NOSIGNAL) == 1, (keep & Io::MODE_WRITE) != 0);
        EXPECT_EQ(send(pair[1], "x", 1, MSG_NOSIGNAL) == 1, (keep & Io::MODE_READ) != 0);
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

TEST(CloseGuard, ClosesWhatWasNotReleased) {
    int fd = open("/dev/null", O_RDONLY);
    int const number = fd;
    {
        Io::CloseGuard guard(fd, "T", nullptr);
        EXPECT_TRUE(guard.FdValid());
        EXPECT_EQ(guard.Release(), number);
        EXPECT_EQ(guard.Release(), -1);
        EXPECT_FALSE(guard.FdValid());
    }
    EXPECT_TRUE(IsOpen(number));
    { Io::CloseGuard const guard(fd, "T", nullptr); }
    EXPECT_FALSE(IsOpen(number));
    EXPECT_EQ(fd, -1);
    LogCapture log;
    fd = number;
    { Io::CloseGuard const guard(fd, "T", "name"); }
    EXPECT_EQ(log.Take(), Lines({"E T: \"name\": unable to close descriptor -1: bad file descriptor."}));
}

} // namespace
