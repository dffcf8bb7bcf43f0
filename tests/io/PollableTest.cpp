#include "zeb/io/Pollable.h"

#include "tests/io/Ends.h"
#include "tests/io/Interrupted.h"
#include "tests/support/Calls.h"
#include "tests/support/Clock.h"
#include "zeb/io/PollableDgram.h"

namespace {

using Io::MODE_PRIORITY, Io::MODE_READ, Io::MODE_READ_WRITE, Io::MODE_WRITE, Io::ModeT;
using Io::Pollable, Io::Stateful;

constexpr uint32_t READY = 0x00320001, INTERRUPTED = 0x80320001, TIMED_OUT = 0x80320002;
constexpr uint32_t POLL_FAILED = 0x80320003, UNUSABLE = 0x80320004;

uint32_t WaitFor(Pollable& object, ModeT request, int timeoutMs, char const* ident = "Test") {
    Pollable* objects[] = {nullptr, &object};
    ModeT const requests[] = {MODE_READ, request};
    pollfd fds[2];
    return Pollable::Wait(objects, requests, fds, 2, timeoutMs, ident).Code();
}

class PollableTest : public EndsTest {
protected:
    End object_{pair_[0]};
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
        End object(row.fd, row.mode);
        EXPECT_EQ(WaitFor(object, row.request, 0), UNUSABLE) << row.fd << row.mode << row.request;
    }
    End failed(pair_[0]);
    object_.buffered = true;
    failed.SetState(Stateful::STATE_EOS);
    Pollable* objects[] = {&object_, &failed};
    ModeT const requests[] = {MODE_READ, MODE_READ};
    pollfd fds[2];
    EXPECT_EQ(Pollable::Wait(objects, requests, fds, 2, -1, nullptr), UNUSABLE);
    EXPECT_EQ(log_.Take(), Lines());
}

TEST_F(PollableTest, TellsWhatIsReadyAndRemembersItUntilItIsUsed) {
    EXPECT_EQ(WaitFor(object_, MODE_READ, 0), TIMED_OUT);
    Send("x");
    EXPECT_EQ(WaitFor(object_, MODE_READ, -1), READY);
    {
        Calls const calls;
        EXPECT_EQ(WaitFor(object_, MODE_READ, -1), READY) << "the flag stands";
        object_.ClearReady_();
        object_.buffered = true;
        EXPECT_EQ(WaitFor(object_, MODE_READ_WRITE, -1), READY) << "bytes are in a buffer";
        EXPECT_EQ(calls.Count(SysCall::poll), 0u);
        EXPECT_EQ(WaitFor(object_, MODE_WRITE, 0), READY);
        EXPECT_EQ(WaitFor(object_, MODE_WRITE, 0), READY) << "the flag stands";
        EXPECT_EQ(calls.Count(SysCall::poll), 1u);
    }
    object_.ClearReady_();
    object_.buffered = false;
    EXPECT_EQ(WaitFor(object_, MODE_PRIORITY, 0), TIMED_OUT) << "plain data is no priority data";
}

TEST_F(PollableTest, AttachedObjectIsAnAliasOfItsRoot) {
    End root(pair_[0], MODE_READ), alias(-1, MODE_WRITE);
    alias.Attach(&root);
    alias.SetTimeout(7);
    EXPECT_EQ(root.Timeout() + alias.Timeout(), 14);
    root.buffered = true;
    EXPECT_EQ(WaitFor(alias, MODE_READ, 0), READY) << "bytes are in the buffer of the root";
    root.buffered = false;
    Send("x");
    EXPECT_EQ(WaitFor(alias, MODE_READ, 0), READY);
    EXPECT_FALSE(alias.SetPollState(INTERRUPTED));
    EXPECT_EQ(root.CurrentState(), Stateful::STATE_INTERRUPTED);
}

TEST_F(PollableTest, SlicesTheTimeIntoPollsOfAThirdOfASecond) {
    Clock const clock(Clock::ModeT::AUTO);
    Calls const calls;
    EXPECT_EQ(WaitFor(object_, MODE_READ, 1000), TIMED_OUT);
    EXPECT_EQ(calls.Count(SysCall::poll) & ~1UL, 4u) << "333, 333, 333, what is left, and its rounding";
    EXPECT_NEAR(clock.Moved(), 1000e6, 2e6);
    EXPECT_EQ(Pollable::Wait(nullptr, nullptr, nullptr, 0, 500, nullptr), TIMED_OUT);
    EXPECT_NEAR(clock.Moved(), 1500e6, 4e6);
}

TEST_F(PollableTest, FailedPollIsLoggedAndInterruptedPollIsRepeated) {
    Send("x");
    Calls calls;
    calls.Script(SysCall::poll, {Calls::Fail(EINTR), Calls::Fail(EAGAIN), Calls::Real()});
    EXPECT_EQ(WaitFor(object_, MODE_READ, 1000), READY);
    object_.ClearReady_();
    calls.Script(SysCall::poll, {Calls::Fail(EINTR), Calls::Fail(ENOMEM), Calls::Fail(EINVAL)});
    EXPECT_EQ(WaitFor(object_, MODE_READ, 0), TIMED_OUT) << "no time left to try again";
    EXPECT_EQ(WaitFor(object_, MODE_READ, -1), POLL_FAILED);
    EXPECT_EQ(WaitFor(object_, MODE_READ, -1, nullptr), POLL_FAILED);
    EXPECT_EQ(log_.Take(), (Lines{"E Test: unable to poll: not enough space.",
                                  "E Pollable: unable to poll: invalid argument."}));
}

TEST_F(PollableTest, HangUpWakesAndAnErrorIsRecorded) {
    int hungUp[2], broken[2];
    ASSERT_EQ(pipe(hungUp) + pipe(broken), 0);
    close(hungUp[1]);
    close(broken[0]);
    End reader(hungUp[0], MODE_READ), writer(broken[1]);
    EXPECT_EQ(WaitFor(reader, MODE_READ, -1), READY);
    EXPECT_TRUE(reader.Ok());
    EXPECT_EQ(WaitFor(writer, MODE_PRIORITY, -1), READY) << "POLLERR alone";
    EXPECT_EQ(writer.CurrentState(), Stateful::STATE_FAILED);
    EXPECT_EQ(writer.SysError(), -1) << "a pipe has no socket error: the result of the query";
    close(hungUp[0]);
    close(broken[1]);
}

TEST_F(PollableTest, ResultsOfAWaitBecomeStates) {
    std::pair<uint32_t, Stateful::StateT> const rows[] = {{READY, Stateful::STATE_OK},
                                                          {INTERRUPTED, Stateful::STATE_INTERRUPTED},
                                                          {TIMED_OUT, Stateful::STATE_TIMEOUT},
                                                          {POLL_FAILED, Stateful::STATE_FAILED},
                                                          {UNUSABLE, Stateful::STATE_FAILED}};
    for (auto const& [code, state] : rows) {
        object_.ClearState_();
        EXPECT_EQ(object_.SetPollState(code), state == Stateful::STATE_OK);
        EXPECT_EQ(object_.CurrentState(), state) << code;
    }
}

// Two tests, as each waits up to a third of a second.
TEST_F(PollableTest, InterruptionEndsAWaitWithoutLimit) {
    Interrupted([&] { EXPECT_EQ(WaitFor(object_, MODE_READ, -1), INTERRUPTED); });
}

TEST_F(PollableTest, InterruptionEndsAWaitWithALimitAndOneThatHasData) {
    Interrupted([&] { EXPECT_EQ(WaitFor(object_, MODE_READ, 5000), INTERRUPTED); });
    object_.buffered = true;
    Interrupted([&] { EXPECT_EQ(WaitFor(object_, MODE_READ, -1), INTERRUPTED) << "data or not"; }, -1);
}

TEST_F(PollableTest, KernelBufferSizes) {
    End writer(pair_[0], MODE_WRITE), reader(pair_[0], MODE_READ), noSocket(STDIN_FILENO, MODE_READ);
    unsigned long size = 1;
    EXPECT_TRUE(writer.GetSysIBufferSize(size) && size == 0);
    EXPECT_TRUE(writer.SetSysOBufferSize(32768));
    int real = 0;
    socklen_t length = sizeof(real);
    ASSERT_EQ(getsockopt(pair_[0], SOL_SOCKET, SO_SNDBUF, &real, &length), 0);
    EXPECT_EQ(real, 65536) << "the kernel doubles it";
    {
        Calls calls;
        calls.Script(SysCall::getsockopt, {Calls::Return(0)});
        EXPECT_TRUE(writer.GetSysOBufferSize(size)) << "a kernel that answers with 64 bits";
    }
    EXPECT_FALSE(writer.GetSysOBufferSize(size));
    EXPECT_EQ(writer.SysError(), EINVAL);
    EXPECT_FALSE(reader.SetSysOBufferSize(1));
    EXPECT_EQ(reader.CurrentState(), Stateful::STATE_FAILED);
    EXPECT_FALSE(reader.SetSysIBufferSize(1)) << "failed already";
    EXPECT_FALSE(noSocket.SetSysIBufferSize(1));
    EXPECT_EQ(noSocket.SysError(), ENOTSOCK);
    EXPECT_EQ(log_.Take(),
              (Lines{"E Object: unable to get a system buffer size for output: invalid argument.",
                     "C Object: system failed [0xcffd****].",
                     "C Object: unable to set an input buffer size of Object: not a socket."}));
}

struct DgramTest : EndsTest {
    DgramTest()
        : EndsTest(SOCK_DGRAM) {}
};

TEST_F(DgramTest, DatagramTellsItsSizeAheadOfReading) {
    End end(pair_[0]);
    Io::PollableDgram dgram("Dgram", end.fd, end.mode, end.waiting),
        reset("Dgram", end.fd, end.mode, end.waiting);
    dgram.SetTimeout(0);
    Send("12345");
    unsigned long size = 0;
    EXPECT_TRUE(dgram.GetBytesAvailable(size));
    EXPECT_TRUE(dgram.GetBytesAvailable(size)) << "it is still there";
    EXPECT_EQ(size, 5u);
    Calls calls;
    calls.Script(SysCall::recv, {Calls::Fail(ENOBUFS), Calls::Fail(ECONNRESET)});
    EXPECT_FALSE(dgram.GetBytesAvailable(size));
    EXPECT_EQ(dgram.SysError(), ENOBUFS);
    EXPECT_FALSE(dgram.GetBytesAvailable(size) || reset.GetBytesAvailable(size));
    EXPECT_EQ(reset.CurrentState(), Stateful::STATE_RESET);
    EXPECT_EQ(log_.Take(),
              Lines{"E Dgram: unable to get an available data size: no buffer space available."});
}

} // namespace
