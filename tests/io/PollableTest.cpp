#include "zeb/io/Pollable.h"
#include "tests/io/Ends.h"
#include "zeb/io/PollableDgram.h"

#include <pty.h>
#include <sys/ioctl.h>

namespace {

using Io::MODE_PRIORITY, Io::MODE_READ, Io::MODE_READ_WRITE, Io::MODE_WRITE, Io::ModeT, Io::Pollable;

using PollableTest = EndsTest<SOCK_SEQPACKET>;

TEST_F(PollableTest, TellsWhatIsReadyAndRemembersItUntilItIsUsed) {
    EXPECT_EQ(WaitFor(end_, MODE_READ, 0), TIMED_OUT);
    Send("x");
    EXPECT_EQ(WaitFor(end_, MODE_PRIORITY, 0), TIMED_OUT) << "plain data is no priority data";
    EXPECT_EQ(WaitFor(end_, MODE_READ, -1), READY);
    Calls const calls;
    EXPECT_EQ(WaitFor(end_, MODE_READ, -1), READY) << "the flag stands";
    end_.ClearReady_();
    end_.buffered = true;
    EXPECT_EQ(WaitFor(end_, MODE_READ_WRITE, -1), READY) << "bytes are in a buffer";
    EXPECT_EQ(calls.Count(SysCall::poll), 0u);
    EXPECT_EQ(WaitFor(end_, MODE_WRITE, 0), READY);
    EXPECT_EQ(WaitFor(end_, MODE_WRITE, 0), READY) << "the flag stands";
    EXPECT_EQ(calls.Count(SysCall::poll), 1u);
    End closed(-1), writer(pair_[0], MODE_WRITE), reader(pair_[0], MODE_READ), failed(pair_[0]);
    failed.SetState(Stateful::STATE_EOS);
    for (End* const unusable : {&closed, &writer, &failed})
        EXPECT_EQ(WaitFor(*unusable, MODE_READ, 0), UNUSABLE) << unusable->fd << unusable->mode;
    EXPECT_EQ(WaitFor(reader, MODE_READ_WRITE, 0), UNUSABLE);
    EXPECT_EQ(WaitFor(writer, MODE_PRIORITY, 0), UNUSABLE);
}

TEST_F(PollableTest, SlicesTheTimeAndRepeatsAnInterruptedPoll) {
    Clock const clock(Clock::ModeT::AUTO);
    Calls calls;
    EXPECT_EQ(WaitFor(end_, MODE_READ, 1000), TIMED_OUT);
    EXPECT_EQ(calls.Count(SysCall::poll) & ~1UL, 4u) << "333, 333, 333, what is left, and its rounding";
    EXPECT_NEAR(clock.Moved(), 1000e6, 2e6);
    Send("x");
    calls.Script(SysCall::poll, {Calls::Fail(EINTR), Calls::Fail(EAGAIN), Calls::Real()});
    EXPECT_EQ(WaitFor(end_, MODE_READ, 1000), READY);
    end_.ClearReady_();
    calls.Script(SysCall::poll, {Calls::Fail(EINTR), Calls::Fail(ENOMEM)});
    EXPECT_EQ(WaitFor(end_, MODE_READ, 0), TIMED_OUT) << "no time left to try again";
    EXPECT_EQ(WaitFor(end_, MODE_READ, -1), POLL_FAILED);
    EXPECT_EQ(log_.Take(), Lines{"E Pollable: unable to poll: not enough space."});
}

// Waits twice, and tells how many polls the second wait made: none when the flag of the first stands.
unsigned long Again(Pollable& object, ModeT first, ModeT second) {
    EXPECT_EQ(WaitFor(object, first, 0), READY);
    Calls const calls;
    EXPECT_EQ(WaitFor(object, second, 0), READY);
    return calls.Count(SysCall::poll);
}

TEST_F(PollableTest, HangUpWakesWhoAskedAndAnErrorIsRecorded) {
    int pipes[4];
    ASSERT_EQ(pipe(pipes) + pipe(pipes + 2), 0);
    EXPECT_EQ(close(pipes[1]) + close(pipes[2]), 0);
    End reader(pipes[0]), writer(pipes[3]);
    EXPECT_EQ(Again(reader, MODE_WRITE, MODE_WRITE), 0u);
    EXPECT_EQ(Again(reader, MODE_WRITE, MODE_READ), 1u);
    EXPECT_EQ(Again(reader, MODE_READ, MODE_READ), 0u);
    EXPECT_EQ(WaitFor(writer, MODE_PRIORITY, -1), READY) << "POLLERR alone";
    EXPECT_TRUE(reader.Ok() && writer.CurrentState() == Stateful::STATE_FAILED);
    EXPECT_EQ(close(pipes[0]) + close(pipes[3]), 0);
}

TEST_F(PollableTest, PriorityStandsUntilInputIsTakenAndAnAliasWaitsOnTheRoot) {
    int master = -1, slave = -1, on = 1;
    ASSERT_EQ(openpty(&master, &slave, nullptr, nullptr, nullptr) + ioctl(master, TIOCPKT, &on), 0);
    End end(master), own(-1);
    Pollable alias(end, "Alias", own.fd, own.mode);
    alias.SetTimeout(5);
    EXPECT_EQ(end.Timeout() + own.Timeout(), 4);
    Io::PollableBase waiting(end.file, alias, "T");
    EXPECT_EQ(tcflush(slave, TCIFLUSH), 0); // the other end of the terminal is told
    EXPECT_EQ(Again(alias, MODE_PRIORITY, MODE_PRIORITY), 0u);
    EXPECT_TRUE(waiting.SysRead(data_, 16, done_) && done_ == 1);
    EXPECT_EQ(WaitFor(alias, MODE_READ | MODE_PRIORITY, 0), TIMED_OUT);
    EXPECT_EQ(close(master) + close(slave), 0);
}

TEST_F(PollableTest, InterruptionEndsAWaitWithDataOrWithout) {
    ExpectInterrupted([&] { EXPECT_EQ(WaitFor(end_, MODE_READ, -1), INTERRUPTED); });
    end_.buffered = true;
    ExpectInterrupted([&] {
        for (int i = 0; i < 100000000 && end_.SetPollState(WaitFor(end_, MODE_READ, -1)); ++i) {
        }
        EXPECT_EQ(end_.CurrentState(), Stateful::STATE_INTERRUPTED);
    });
}

TEST_F(PollableTest, KernelBufferSizes) {
    End writer(pair_[0], MODE_WRITE);
    unsigned long size = 1;
    EXPECT_TRUE(writer.GetSysIBufferSize(size) && size == 0 && writer.SetSysOBufferSize(32768));
    int real = 0;
    socklen_t length = sizeof(real);
    EXPECT_EQ(getsockopt(pair_[0], SOL_SOCKET, SO_SNDBUF, &real, &length) + real, 65536) << "doubled";
    end_.fd = -1;
    EXPECT_FALSE(writer.GetSysOBufferSize(size) || end_.SetSysIBufferSize(1) || writer.SetSysIBufferSize(1));
    EXPECT_EQ(log_.Take(), (Lines{"E Object: unable to get a system buffer size for output: invalid argument.",
                                  "C Object: unable to set an input buffer size of Object: bad file descriptor."}));
}

TEST_F(PollableTest, DatagramTellsItsSizeAheadOfReading) {
    Io::PollableDgram dgram("T", end_.fd, end_.mode, end_.waiting);
    for (std::string const& text : {std::string("1"), std::string("12345")}) {
        Send(text);
        EXPECT_TRUE(dgram.GetBytesAvailable(done_) && dgram.GetBytesAvailable(done_) && done_ == text.size());
        EXPECT_EQ(read(end_.fd, data_, sizeof(data_)), ssize(text));
    }
    Send("lost");
    Calls calls;
    calls.Script(SysCall::recv, {Calls::Fail(ENOBUFS)});
    EXPECT_TRUE(!dgram.GetBytesAvailable(done_) && dgram.SysError() == ENOBUFS);
    EXPECT_EQ(log_.Take(), Lines{"E T: unable to get an available data size: no buffer space available."});
}

} // namespace
