#include "zeb/io/FdBase.h"
#include "tests/support/Calls.h"
#include "tests/support/Clock.h"
#include "tests/support/LogCapture.h"

#include <gtest/gtest.h>

namespace {

using Io::Stateful;
using Lines = LogCapture::LinesT;

// A transfer of 4 bytes whose system calls are scripted: what it moved, -1 for a failure.
class Transfer {
public:
    long Run(bool write, std::initializer_list<Calls::Step> steps, Log::VerboseT verbose = Log::VERBOSE_ON) {
        verbose_ = verbose;
        state.ClearState_();
        Calls calls;
        calls.Script(write ? SysCall::write : SysCall::read, steps);
        char data[4] = {};
        unsigned long done = 99;
        bool const ok = write ? base.SysWrite(data, 4, done) : base.SysRead(data, 4, done);
        EXPECT_TRUE(ok || done == 0);
        pauses = calls.Count(SysCall::nanosleep);
        return ok ? static_cast<long>(done) : -1;
    }

    Io::ModeT mode = Io::MODE_READ_WRITE;
    unsigned long pauses = 0;
    LogCapture log;
    Stateful state;

private:
    int fd_ = -1;
    Log::VerboseT verbose_ = Log::VERBOSE_ON;

public:
    Io::FdBase base{fd_, mode, verbose_, "T", state};
};

TEST(FdBase, TriesFiveTimesWithPauses) {
    Clock const clock(Clock::ModeT::AUTO);
    Transfer transfer;
    Calls::Step const zero = Calls::Return(0);
    for (int const error : {EINTR, EAGAIN}) {
        for (bool const write : {false, true}) {
            Calls::Step const fail = Calls::Fail(error);
            EXPECT_EQ(transfer.Run(write, {fail, fail, fail, fail, Calls::Return(3)}), 3);
            EXPECT_EQ(transfer.pauses, 4u);
            EXPECT_EQ(transfer.log.Take(), Lines());
            EXPECT_EQ(transfer.Run(write, {fail, fail, fail, fail, fail}), -1);
            EXPECT_EQ(transfer.pauses, 4u);
            EXPECT_EQ(transfer.state.SysError(), EINTR);
            EXPECT_EQ(transfer.log.Take(),
                      Lines({write ? "E T: write call interrupted." : "E T: read call interrupted."}));
        }
    }
    EXPECT_EQ(transfer.Run(true, {zero, zero, Calls::Fail(EAGAIN), zero, Calls::Return(4)}), 4);
    EXPECT_EQ(transfer.pauses, 1u);
    EXPECT_EQ(transfer.Run(true, {zero, zero, zero, zero, zero}), -1);
    EXPECT_EQ(transfer.state.CurrentState(), Stateful::STATE_FAILED);
    EXPECT_EQ(transfer.log.Take(), Lines({"E T: wrote zero out of 4 bytes."}));
}

TEST(FdBase, MapsErrorsToStatesAndLogsThemWhenLoud) {
    struct {
        bool write;
        int error;
        char const* line;
    } const rows[] = {
        // clang-format off
        {false, EPIPE, nullptr}, {true, EPIPE, nullptr},
        {false, ECONNRESET, nullptr}, {true, ECONNRESET, nullptr},
        {false, EIO, "E T: unable to read data: input/output error."},
        {true, ENOSPC, "E T: unable to write data: no space left on device."},
        // clang-format on
    };
    for (auto const& row : rows) {
        for (Log::VerboseT const verbose : {Log::VERBOSE_OFF, Log::VERBOSE_ON}) {
            Transfer transfer;
            EXPECT_EQ(transfer.Run(row.write, {Calls::Fail(row.error)}, verbose), -1);
            bool const reset = row.line == nullptr;
            EXPECT_EQ(transfer.state.CurrentState(), reset ? Stateful::STATE_RESET : Stateful::STATE_FAILED);
            EXPECT_EQ(transfer.state.SysError(), reset ? 0 : row.error);
            EXPECT_EQ(transfer.log.Take(),
                      reset || verbose == Log::VERBOSE_OFF ? Lines() : Lines({row.line}));
        }
    }
}

TEST(FdBase, NeedsAGoodStateItsDirectionAndMoreInput) {
    Transfer transfer;
    char c = 0;
    unsigned long done = 9;
    for (bool const write : {false, true}) {
        transfer.mode = write ? Io::MODE_READ : Io::MODE_WRITE;
        EXPECT_EQ(transfer.Run(write, {}), -1);
        EXPECT_EQ(transfer.state.CurrentState(), Stateful::STATE_FAILED);
        EXPECT_FALSE(write ? transfer.base.SysRead(&c, 1, done) : transfer.base.SysWrite(&c, 1, done));
    }
    transfer.mode = Io::MODE_READ_WRITE;
    transfer.state.ClearState_();
    EXPECT_TRUE(transfer.base.SysRead(&c, 0, done) && transfer.base.SysWrite(&c, 0, done));
    EXPECT_FALSE(transfer.base.SysFlush());
    EXPECT_EQ(transfer.state.SysError(), EBADF);
    EXPECT_EQ(transfer.log.Take(), Lines({"E T: unable to flush buffered data: bad file descriptor."}));
    EXPECT_EQ(transfer.Run(false, {Calls::Return(0)}), 0);
    EXPECT_TRUE(transfer.base.Eos());
    EXPECT_EQ(transfer.Run(false, {}), -1);
    EXPECT_EQ(transfer.state.CurrentState(), Stateful::STATE_EOS);
}

} // namespace
