#include "zeb/io/FdBase.h"
#include "tests/support/Calls.h"
#include "tests/support/Clock.h"
#include "tests/support/LogCapture.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

namespace {

using Io::Stateful;
using Lines = LogCapture::LinesT;
using Step = Calls::Step;

// One transfer of 4 bytes over /dev/zero and its like, under a script.
class Transfer {
public:
    Transfer(bool write, std::initializer_list<Step> steps, Log::VerboseT verbose = Log::VERBOSE_ON)
        : verbose_(verbose) {
        calls.Script(write ? SysCall::write : SysCall::read, steps);
        ok = write ? base.SysWrite(data, 4, done) : base.SysRead(data, 4, done);
        pauses = calls.Count(SysCall::nanosleep);
    }
    ~Transfer() { close(fd_); }

    bool ok = false;
    unsigned long done = 99;
    unsigned long pauses = 0;
    char data[4] = {};
    Calls calls;
    LogCapture log;
    Stateful state;

private:
    int fd_ = open("/dev/zero", O_RDWR);
    Log::VerboseT verbose_;
    Io::ModeT mode_ = Io::MODE_READ_WRITE;

public:
    Io::FdBase base{fd_, mode_, verbose_, "T", state};
};

TEST(FdBase, TriesFiveTimesWithPauses) {
    Clock const clock(Clock::ModeT::AUTO);
    for (int const error : {EINTR, EAGAIN}) {
        for (bool const write : {false, true}) {
            Step const fail = Calls::Fail(error);
            Transfer late(write, {fail, fail, fail, fail, Calls::Return(3)});
            EXPECT_TRUE(late.ok);
            EXPECT_EQ(late.done, 3u);
            EXPECT_EQ(late.pauses, 4u);
            EXPECT_EQ(late.log.Take(), Lines());

            Transfer never(write, {fail, fail, fail, fail, fail});
            EXPECT_FALSE(never.ok);
            EXPECT_EQ(never.done, 0u);
            EXPECT_EQ(never.state.CurrentState(), Stateful::STATE_FAILED);
            EXPECT_EQ(never.state.SysError(), EINTR);
            EXPECT_EQ(never.pauses, 4u);
            EXPECT_EQ(never.log.Take(),
                      Lines({write ? "E T: write call interrupted." : "E T: read call interrupted."}));
        }
    }
}

TEST(FdBase, MapsErrorsToStates) {
    struct {
        bool write;
        int error;
        Stateful::StateT state;
        char const* line;
    } const rows[] = {
        {false, EPIPE, Stateful::STATE_RESET, nullptr},
        {true, EPIPE, Stateful::STATE_RESET, nullptr},
        {false, ECONNRESET, Stateful::STATE_RESET, nullptr},
        {true, ECONNRESET, Stateful::STATE_RESET, nullptr},
        {false, EIO, Stateful::STATE_FAILED, "E T: unable to read data: input/output error."},
        {true, ENOSPC, Stateful::STATE_FAILED, "E T: unable to write data: no space left on device."},
    };
    for (auto const& row : rows) {
        for (Log::VerboseT const verbose : {Log::VERBOSE_OFF, Log::VERBOSE_ON}) {
            Transfer transfer(row.write, {Calls::Fail(row.error)}, verbose);
            EXPECT_FALSE(transfer.ok);
            EXPECT_EQ(transfer.done, 0u);
            EXPECT_EQ(transfer.state.CurrentState(), row.state);
            EXPECT_EQ(transfer.state.SysError(), row.line != nullptr ? row.error : 0);
            bool const logged = row.line != nullptr && verbose == Log::VERBOSE_ON;
            EXPECT_EQ(transfer.log.Take(), logged ? Lines({row.line}) : Lines());
        }
    }
}

TEST(FdBase, ZeroIsTheEndForAReaderAndATryForAWriter) {
    Clock const clock(Clock::ModeT::AUTO);
    Transfer read(false, {Calls::Return(0)});
    EXPECT_TRUE(read.ok);
    EXPECT_EQ(read.done, 0u);
    EXPECT_TRUE(read.base.Eos());
    EXPECT_FALSE(read.base.SysRead(read.data, 4, read.done));
    EXPECT_EQ(read.state.CurrentState(), Stateful::STATE_EOS);
    EXPECT_EQ(read.calls.Count(SysCall::read), 1u);

    Step const zero = Calls::Return(0);
    Transfer late(true, {zero, zero, Calls::Fail(EAGAIN), zero, Calls::Return(4)});
    EXPECT_TRUE(late.ok);
    EXPECT_EQ(late.pauses, 1u);
    Transfer never(true, {zero, zero, zero, zero, zero});
    EXPECT_FALSE(never.ok);
    EXPECT_EQ(never.pauses, 0u);
    EXPECT_EQ(never.state.CurrentState(), Stateful::STATE_FAILED);
    EXPECT_EQ(never.log.Take(), Lines({"E T: wrote zero out of 4 bytes."}));
}

TEST(FdBase, NeedsAGoodStateAndItsDirection) {
    Stateful state;
    int const fd = -1;
    Io::ModeT mode = Io::MODE_WRITE;
    Log::VerboseT const verbose = Log::VERBOSE_ON;
    Io::FdBase base(fd, mode, verbose, "T", state);
    Calls calls;
    LogCapture log;
    char c = 0;
    unsigned long done = 9;
    EXPECT_TRUE(base.SysWrite(&c, 0, done));
    EXPECT_FALSE(base.SysRead(&c, 1, done));
    EXPECT_EQ(state.CurrentState(), Stateful::STATE_FAILED);
    EXPECT_FALSE(base.SysWrite(&c, 1, done));
    EXPECT_EQ(done, 0u);
    state.ClearState_();
    mode = Io::MODE_READ;
    EXPECT_TRUE(base.SysRead(&c, 0, done));
    EXPECT_FALSE(base.SysWrite(&c, 1, done));
    EXPECT_EQ(calls.Count(SysCall::read) + calls.Count(SysCall::write), 0u);
    state.ClearState_();
    EXPECT_FALSE(base.SysFlush());
    EXPECT_EQ(state.SysError(), EBADF);
    EXPECT_EQ(log.Take(), Lines({"E T: unable to flush buffered data: bad file descriptor."}));
}

} // namespace
