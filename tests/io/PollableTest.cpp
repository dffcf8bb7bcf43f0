#include "zeb/io/Pollable.h"

#include "tests/io/Interrupted.h"
#include "tests/support/Calls.h"
#include "tests/support/Clock.h"
#include "tests/support/Heap.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TempDir.h"
#include "zeb/io/PollableBase.h"
#include "zeb/io/PollableDgram.h"
#include "zeb/io/PollableFile.h"
#include "zeb/io/SocketBase.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using Io::MODE_PRIORITY, Io::MODE_READ, Io::MODE_READ_WRITE, Io::MODE_WRITE, Io::ModeT;
using Io::Pollable, Io::Stateful;
using Lines = LogCapture::LinesT;

struct Object : Pollable {
    explicit Object(int fd, ModeT mode = MODE_READ_WRITE)
        : Pollable(*this, "Object", own_, modeOfObject_)
        , own_(fd)
        , modeOfObject_(mode) {}

    bool ObjIReady() const override { return buffered; }
    void Forget() { ClearReady_(); }

    bool buffered = false;

private:
    int own_;
    ModeT modeOfObject_;
};

ReturnT WaitFor(Pollable& object, ModeT request, int timeoutMs, char const* ident = "Test") {
    Pollable* objects[] = {nullptr, &object};
    ModeT const requests[] = {MODE_READ, request};
    pollfd fds[2];
    return Pollable::Wait(objects, requests, fds, 2, timeoutMs, ident);
}

class PollableTest : public testing::Test {
protected:
    PollableTest() {
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, pair_), 0);
        EXPECT_EQ(pipe(pipe_), 0);
    }
    ~PollableTest() override {
        for (int const fd : {pair_[0], pair_[1], pipe_[0], pipe_[1]})
            close(fd);
    }
    void Fill() { ASSERT_EQ(write(pair_[1], "x", 1), 1); }

    int pair_[2];
    int pipe_[2];
    LogCapture log_;
};

TEST_F(PollableTest, RefusesObjectsThatCannotBeWaitedFor) {
    struct {
        int fd;
        ModeT mode, request;
    } const rows[] = {{-1, MODE_READ, MODE_READ},
                      {pair_[0], MODE_WRITE, MODE_READ},
                      {pair_[0], MODE_WRITE, MODE_PRIORITY},
                      {pair_[0], MODE_READ, MODE_WRITE},
                      {pair_[0], MODE_READ, MODE_READ_WRITE}};
    for (auto const& row : rows) {
        Object object(row.fd, row.mode);
        EXPECT_EQ(WaitFor(object, row.request, 0), 0x80320004u) << row.fd << row.mode << row.request;
    }
    Object good(pair_[0]), failed(pair_[0]);
    good.buffered = true;
    failed.SetState(Stateful::STATE_EOS);
    Pollable* objects[] = {&good, &failed};
    ModeT const requests[] = {MODE_READ, MODE_READ};
    pollfd fds[2];
    EXPECT_EQ(Pollable::Wait(objects, requests, fds, 2, -1, nullptr), 0x80320004u);
    EXPECT_TRUE(log_.Lines().empty());
}

TEST_F(PollableTest, TellsWhatIsReadyAndRemembersItUntilItIsUsed) {
    Object object(pair_[0]);
    EXPECT_EQ(WaitFor(object, MODE_READ, 0), 0x80320002u);
    Fill();
    EXPECT_EQ(WaitFor(object, MODE_READ, -1), 0x00320001u);
    {
        Calls const calls;
        EXPECT_EQ(WaitFor(object, MODE_READ, -1), 0x00320001u) << "the flag stands";
        object.Forget();
        object.buffered = true;
        EXPECT_EQ(WaitFor(object, MODE_READ_WRITE, -1), 0x00320001u) << "bytes are in a buffer";
        EXPECT_EQ(calls.Count(SysCall::poll), 0u);
        EXPECT_EQ(WaitFor(object, MODE_WRITE, 0), 0x00320001u);
        EXPECT_EQ(calls.Count(SysCall::poll), 1u);
        EXPECT_EQ(WaitFor(object, MODE_WRITE, 0), 0x00320001u) << "the flag stands";
        EXPECT_EQ(calls.Count(SysCall::poll), 1u);
    }
    object.Forget();
    object.buffered = false;
    EXPECT_EQ(WaitFor(object, MODE_PRIORITY, 0), 0x80320002u) << "plain data is no priority data";
}

TEST_F(PollableTest, AttachedObjectIsAnAliasOfItsRoot) {
    Object root(pair_[0], MODE_READ), alias(-1, MODE_WRITE);
    alias.Attach(&root);
    alias.SetTimeout(7);
    EXPECT_EQ(root.Timeout() + alias.Timeout(), 14);
    root.buffered = true;
    EXPECT_EQ(WaitFor(alias, MODE_READ, 0), 0x00320001u) << "bytes are in the buffer of the root";
    root.buffered = false;
    Fill();
    EXPECT_EQ(WaitFor(alias, MODE_READ, 0), 0x00320001u);
    EXPECT_FALSE(alias.SetPollState(0x80320001));
    EXPECT_EQ(root.CurrentState(), Stateful::STATE_INTERRUPTED);
}

TEST_F(PollableTest, SlicesTheTimeIntoPollsOfAThirdOfASecond) {
    Clock const clock(Clock::ModeT::AUTO);
    Calls const calls;
    Object object(pair_[0]);
    EXPECT_EQ(WaitFor(object, MODE_READ, 1000), 0x80320002u);
    EXPECT_GE(calls.Count(SysCall::poll), 4u);
    EXPECT_LE(calls.Count(SysCall::poll), 5u) << "333, 333, 333, what is left";
    EXPECT_NEAR(clock.Moved(), 1000e6, 2e6);
    EXPECT_EQ(Pollable::Wait(nullptr, nullptr, nullptr, 0, 500, nullptr), 0x80320002u);
    EXPECT_NEAR(clock.Moved(), 1500e6, 4e6);
}

TEST_F(PollableTest, FailedPollIsLoggedAndInterruptedPollIsRepeated) {
    Object object(pair_[0]);
    Fill();
    Calls calls;
    calls.Script(SysCall::poll, {Calls::Fail(EINTR), Calls::Fail(EAGAIN), Calls::Real()});
    EXPECT_EQ(WaitFor(object, MODE_READ, 1000), 0x00320001u);
    object.Forget();
    calls.Script(SysCall::poll, {Calls::Fail(EINTR)});
    EXPECT_EQ(WaitFor(object, MODE_READ, 0), 0x80320002u) << "no time left to try again";
    calls.Script(SysCall::poll, {Calls::Fail(ENOMEM), Calls::Fail(EINVAL)});
    EXPECT_EQ(WaitFor(object, MODE_READ, -1), 0x80320003u);
    EXPECT_EQ(WaitFor(object, MODE_READ, -1, nullptr), 0x80320003u);
    EXPECT_EQ(log_.Take(), (Lines{"E Test: unable to poll: not enough space.",
                                  "E Pollable: unable to poll: invalid argument."}));
}

TEST_F(PollableTest, HangUpWakesAndAnErrorIsRecorded) {
    Object reader(pipe_[0], MODE_READ);
    close(pipe_[1]);
    pipe_[1] = -1;
    EXPECT_EQ(WaitFor(reader, MODE_READ, -1), 0x00320001u);
    EXPECT_TRUE(reader.Ok());
    int other[2];
    ASSERT_EQ(pipe(other), 0);
    close(other[0]);
    Object broken(other[1]);
    EXPECT_EQ(WaitFor(broken, MODE_PRIORITY, -1), 0x00320001u) << "POLLERR alone";
    EXPECT_EQ(broken.CurrentState(), Stateful::STATE_FAILED);
    EXPECT_EQ(broken.SysError(), -1) << "a pipe has no socket error: the result of the query";
    close(other[1]);
}

TEST_F(PollableTest, ResultsOfAWaitBecomeStates) {
    std::pair<uint32_t, Stateful::StateT> const rows[] = {{0x00320001, Stateful::STATE_OK},
                                                          {0x80320001, Stateful::STATE_INTERRUPTED},
                                                          {0x80320002, Stateful::STATE_TIMEOUT},
                                                          {0x80320003, Stateful::STATE_FAILED},
                                                          {0x80320004, Stateful::STATE_FAILED}};
    for (auto const& [code, state] : rows) {
        Object object(pair_[0]);
        EXPECT_EQ(object.SetPollState(code), state == Stateful::STATE_OK);
        EXPECT_EQ(object.CurrentState(), state) << code;
    }
}

// Two tests, as each waits up to a third of a second.
TEST_F(PollableTest, InterruptionEndsAWaitWithoutLimit) {
    Object object(pair_[0]);
    Interrupted([&] { EXPECT_EQ(WaitFor(object, MODE_READ, -1), 0x80320001u); });
}

TEST_F(PollableTest, InterruptionEndsAWaitWithALimitAndOneThatHasData) {
    Object object(pair_[0]);
    Interrupted([&] { EXPECT_EQ(WaitFor(object, MODE_READ, 5000), 0x80320001u); });
    object.buffered = true;
    Interrupted([&] { EXPECT_EQ(WaitFor(object, MODE_READ, -1), 0x80320001u) << "data or not"; }, -1);
}

TEST_F(PollableTest, KernelBufferSizes) {
    Object object(pair_[0], MODE_WRITE);
    unsigned long size = 1;
    EXPECT_TRUE(object.GetSysIBufferSize(size));
    EXPECT_EQ(size, 0u);
    EXPECT_TRUE(object.SetSysOBufferSize(32768));
    int real = 0;
    socklen_t length = sizeof(real);
    ASSERT_EQ(getsockopt(pair_[0], SOL_SOCKET, SO_SNDBUF, &real, &length), 0);
    EXPECT_EQ(real, 65536) << "the kernel doubles it";
    {
        Calls calls;
        calls.Script(SysCall::getsockopt, {Calls::Return(0)});
        EXPECT_TRUE(object.GetSysOBufferSize(size)) << "a kernel that answers with 64 bits";
    }
    EXPECT_FALSE(object.GetSysOBufferSize(size));
    EXPECT_EQ(object.SysError(), EINVAL);
    Object reader(pair_[0], MODE_READ);
    EXPECT_FALSE(reader.SetSysOBufferSize(1));
    EXPECT_EQ(reader.CurrentState(), Stateful::STATE_FAILED);
    EXPECT_FALSE(reader.SetSysIBufferSize(1)) << "failed already";
    Object noSocket(pipe_[0], MODE_READ);
    EXPECT_FALSE(noSocket.SetSysIBufferSize(1));
    EXPECT_EQ(noSocket.SysError(), ENOTSOCK);
    EXPECT_EQ(log_.Take(),
              (Lines{"E Object: unable to get a system buffer size for output: invalid argument.",
                     "C Object: system failed [0xcffd****].",
                     "C Object: unable to set an input buffer size of Object: not a socket."}));
}

TEST_F(PollableTest, DatagramTellsItsSizeAheadOfReading) {
    struct Dgram : Io::PollableDgram {
        Dgram(int const& fd, ModeT const& mode)
            : PollableDgram("Dgram", fd, mode, waiting)
            , base(fd, mode, "Dgram", *this)
            , waiting(base, *this, "Dgram") {}
        Io::SocketBase base;
        Io::PollableBase waiting;
    };
    int pair[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_DGRAM, 0, pair), 0);
    ModeT const mode = MODE_READ_WRITE;
    Dgram dgram(pair[0], mode);
    dgram.SetTimeout(0);
    ASSERT_EQ(send(pair[1], "12345", 5, 0), 5);
    unsigned long size = 0;
    EXPECT_TRUE(dgram.GetBytesAvailable(size));
    EXPECT_TRUE(dgram.GetBytesAvailable(size)) << "it is still there";
    EXPECT_EQ(size, 5u);
    Calls calls;
    calls.Script(SysCall::recv, {Calls::Fail(ENOBUFS)});
    EXPECT_FALSE(dgram.GetBytesAvailable(size));
    EXPECT_EQ(dgram.SysError(), ENOBUFS);
    EXPECT_FALSE(dgram.GetBytesAvailable(size));
    Dgram reset(pair[0], mode);
    calls.Script(SysCall::recv, {Calls::Fail(ECONNRESET)});
    EXPECT_FALSE(reset.GetBytesAvailable(size));
    EXPECT_EQ(reset.CurrentState(), Stateful::STATE_RESET);
    EXPECT_EQ(log_.Take(),
              (Lines{"E Dgram: unable to get an available data size: no buffer space available."}));
    for (int const fd : pair)
        close(fd);
}

TEST(PollableFileTest, ReadsWritesAndSeeksAsAFileDoes) {
    LogCapture log;
    TempDir const dir;
    std::string const path = dir.Write("file", "first\nsecond\n"), missing = dir / "absent";
    Io::PollableFile file(path.c_str(), O_RDWR);
    String line;
    long value = 0;
    EXPECT_TRUE(file.IsOpened() && file.ReadLine(line) && file.Tell(value));
    EXPECT_STREQ(line.Cstr(), "first");
    EXPECT_EQ(value, 6);
    EXPECT_TRUE(file.Seek(13));
    file << "third" << Io::Endl;
    EXPECT_TRUE(file.GetStreamSize(value));
    EXPECT_EQ(value, 19) << "pending output counts";
    EXPECT_FALSE(file.Open(O_RDONLY)) << "open already";
    EXPECT_EQ(file.Mode(), MODE_READ_WRITE);
    EXPECT_TRUE(file.Close() && !file.IsOpened());
    EXPECT_EQ(dir.Read("file"), "first\nsecond\nthird\n");
    EXPECT_TRUE(file.Open(O_RDONLY));
    EXPECT_EQ(file.Mode(), MODE_READ);
    EXPECT_FALSE(file.Truncate(0) || file.Close());
    Io::PollableFile const absent(missing.c_str(), O_RDONLY);
    EXPECT_EQ(absent.CurrentState(), Stateful::STATE_BROKEN);
    EXPECT_EQ(log.Take(),
              (Lines{"E Io::PollableFileStream: unable to truncate \"" + path + "\": invalid argument.",
                     "E Io::PollableFile: unable to open \"" + missing + "\": no such file or directory."}));
    ForEveryAllocation([&](Heap& heap) {
        heap.Arm();
        Io::PollableFile opened(path.c_str(), O_RDONLY);
        heap.Disarm();
        EXPECT_EQ(opened.Initialized() && opened.IsOpened(), !heap.Fired());
        EXPECT_EQ(log.Take().size(), heap.Fired() ? 1u : 0u);
    });
}

TEST(PollableFileTest, WaitsForAFifoNoLongerThanItsTimeout) {
    TempDir const dir;
    std::string const path = dir / "fifo";
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    Io::PollableFile file(path.c_str(), O_RDWR);
    ASSERT_TRUE(file.Ok());
    file.SetTimeout(0);
    file << "line" << Io::Endl;
    EXPECT_TRUE(file.Flush());
    String line;
    EXPECT_TRUE(file.ReadLine(line));
    EXPECT_STREQ(line.Cstr(), "line");
    EXPECT_FALSE(file.ReadLine(line));
    EXPECT_EQ(file.CurrentState(), Stateful::STATE_TIMEOUT);
}

} // namespace
