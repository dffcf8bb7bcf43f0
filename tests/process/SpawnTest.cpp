#include "tests/process/Kids.h"
#include "zeb/runtime/Environment.h"

#include <sys/syscall.h>

namespace {

using Posix::Program_;

struct SpawnTest : KidTest {
    SpawnTest() { EXPECT_TRUE(name_.Assign("kid") && arguments_.PushBack("-c") && arguments_.PushBack("exit 7")); }

    // What the child prints, and its status.
    std::string Output(Program_ program, char const* script = "exit 7") {
        EXPECT_TRUE(arguments_[1].Assign(script));
        int io = -1, status = 0;
        program.ioDescriptor = &io;
        int const pid = Posix::Spawn_(program);
        if (pid < 0) return "(not started)";
        (void)!write(io, "line\n", 5), shutdown(io, SHUT_WR); // what it may not wait for
        std::string const output = ReadAll(io);
        EXPECT_TRUE(close(io) == 0 && waitpid(pid, &status, 0) == pid);
        return output + (status == 0 ? "" : WIFEXITED(status) ? "=" + std::to_string(WEXITSTATUS(status)) : "killed");
    }

    String name_;
    CString path_ = "/bin/sh", chroot_;
    StringVector arguments_;
    StringMap environment_;
    Program_ program_ = {.name = name_, .path = path_, .arguments = arguments_, .environment = environment_, .chroot = chroot_};
};

TEST_F(SpawnTest, TheChildIsMadeAsWasAskedFor) {
    using P = Program_;
    std::string const session = std::to_string(getsid(0)) + "\n", score = ReadWholeFile("/proc/self/oom_score_adj");
    struct {
        std::function<void(P&)> change;
        char const* script;
        std::string expected;
    } const rows[] = {
        {[](P&) {}, "exec ls /proc/self/fd", "0\n1\n2\n3\n"}, // the last one is that of the directory
        {[](P&) {}, "cd /proc/self/fd; readlink 0 1 2 | cut -d: -f1 | uniq", "socket\n"},
        {[](P&) {}, "grep SigBlk /proc/self/status", "SigBlk:\t0000000000000000\n"},
        {[](P&) {}, "echo \"$0|$#|$1|$2|$KID_NEW|$HOME|$ZEB_KID\"", "zero|2||a b|a=b|/kid|own\n"},
        {[](P&) {}, "cut -d' ' -f6 /proc/$$/stat", session},
        {[](P&) {}, "cat; echo error >&2; exit 7", "line\nerror\n=7"},
        {[](P&) {}, "cat; kill -9 $$", "line\nkilled"},
        {[](P& p) { p.output = Process::OUTPUT_DISCARD; }, "cat; echo error >&2; exit 7", "=7"},
        {[](P& p) { p.session = Process::SESSION_NEW; }, "cat; cut -d' ' -f5,6 /proc/$$/stat | sed s/$$/x/g", "line\nx x\n"},
        {[](P& p) { p.oomScore = 999; }, "cat /proc/self/oom_score_adj", "999\n"},
        {[](P& p) { p.uid = 65534; }, "id -u; id -g", "65534\n0\n"},
        {[](P& p) { p.gid = 12; }, "id -u; id -g", "0\n12\n"},
        {[](P& p) { p.ioPrio = Process::IO_PRIO_IDLE; }, "ionice -p $$", "idle\n"},
    };
    setenv("ZEB_KID", "own", 1);
    EXPECT_TRUE(environment_.Set("KID_NEW", "a=b") && environment_.Set("HOME", "/kid"));
    for (char const* const argument : {"zero", "", "a b"}) EXPECT_TRUE(arguments_.PushBack(argument));
    for (auto const& row : rows) {
        Program_ program = program_;
        row.change(program);
        EXPECT_EQ(Output(program, row.script), row.expected) << row.script;
    }
    unsetenv("ZEB_KID");
    EXPECT_EQ(ReadWholeFile("/proc/self/oom_score_adj"), score);
    EXPECT_EQ(log_.Take(), LinesT());
}

// The programs of "/usr" find what they need there under a root of their own, too.
TEST_F(SpawnTest, ARootOfItsOwnIsWhereTheChildLives) {
    chroot_ = "/usr";
    EXPECT_EQ(Output(program_, "pwd; [ -d /share ] && [ ! -d /usr ] && echo rooted"), "/\nrooted\n");
}

// Each system call of the child fails in its turn; the words tell the order of its steps.
TEST_F(SpawnTest, EveryStepOfTheChildIsReported) {
    chroot_ = "/";
    program_.output = Process::OUTPUT_DISCARD;
    program_.session = Process::SESSION_NEW;
    program_.ioPrio = Process::IO_PRIO_IDLE;
    std::string const head = "C Process: \"kid\": unable to start (", tail = ": input/output error).";
    for (char const* const user : {"unable to setuid", "unable to setgid"}) {
        std::string const expected =
            "unable to open an OOM score adjustment file|unable to write to an OOM score adjustment file|"
            "unable to close an OOM score adjustment file|unable to open the null device|unable to duplicate I/O descriptors||"
            "unable to unblock signals|unable to create a new process session|unable to change a root directory|" +
            std::string(user) + "|unable to I/O priority||unable to execute a process|";
        program_.uid = user[13] == 'u' ? 65534 : 0;
        program_.gid = user[13] == 'g' ? 12 : 0;
        std::string steps, words = "none";
        for (unsigned long step = 0; words != "unable to execute a process" && step < 150;
             step += words.empty() && step < 60 ? 10 : 1) {
            Calls calls;
            calls.Script(SysCall::syscall, {Calls::Real()}, step);
            calls.Script(SysCall::syscall, {Calls::Fail(EIO)});
            std::string const result = Output(program_);
            calls.Clear(); // a child of its own memory takes none of them
            std::string const line = log_.Lines().empty() ? head + tail : log_.Take()[0], before = words;
            words = line.substr(head.size(), line.find(tail) - head.size());
            EXPECT_EQ(result, words.empty() ? "=7" : "(not started)") << step << line;
            if (words != before) steps += words + "|";
        }
        EXPECT_EQ(steps, expected);
    }
    program_.uid = 65534; // which may not set a group
    EXPECT_EQ(Output(program_), "(not started)");
    EXPECT_EQ(log_.Take(), LinesT{head + "unable to setgid: operation not permitted)."});
}

// A handler of this program must not run in the child, whose memory is that of this program.
TEST_F(SpawnTest, SignalsOfTheChildFindNoHandlers) {
    if (FORK != SysCall::clone) GTEST_SKIP() << "a sanitizer's child is forked, and shares no memory whose handlers it could run";
    static std::atomic<int> handled = 0;
    signal(SIGUSR2, [](int) { ++handled; });
    Calls calls;
    EXPECT_EQ(Output(program_), "=7");
    calls.Script(SysCall::syscall, {Calls::Real()}, calls.Count(SysCall::syscall) - 1);
    calls.Script(SysCall::syscall, {Calls::Do([] { kill(getpid(), SIGUSR2); })}); // ahead of its last call
    EXPECT_EQ(Output(program_), "killed");
    EXPECT_EQ(handled, 0);
    signal(SIGUSR2, SIG_DFL);
}

TEST_F(SpawnTest, EveryFailureOfTheParentIsToldAndCleanedUp) {
    struct {
        SysCall call;
        std::vector<Calls::Step> steps;
        char const* line;
    } const rows[] = {
        {SysCall::pipe2, {Calls::Fail(EMFILE)}, "unable to create a feedback pipe: too many open files."},
        {SysCall::socketpair, {Calls::Fail(EMFILE)}, "unable to create I/O descriptors."},
        {SysCall::pthread_sigmask, {Calls::Fail(EINVAL)}, "unable to fork: invalid argument."},
        {FORK, {Calls::Fail(EAGAIN)}, "unable to fork: resource temporarily unavailable."},
        {SysCall::read, {Calls::Data("abc"), Calls::Return(0)}, "unable to start."},
        {SysCall::read, {Calls::Data("abc"), Calls::Fail(EIO)}, "unable to start."},
        {SysCall::read, {Calls::Fail(EINTR), Calls::Fail(EAGAIN)}, ""},
        {SysCall::read, {Calls::Fail(EIO)}, ""},
    };
    for (auto const& row : rows) {
        Calls calls;
        for (Calls::Step const& step : row.steps) calls.Script(row.call, {step});
        EXPECT_EQ(Output(program_), *row.line ? "(not started)" : "=7") << row.line;
        LinesT const lines = log_.Take();
        EXPECT_EQ(lines.empty() ? "" : lines.back(), *row.line ? "C Process: \"kid\": " + std::string(row.line) : "");
    }
    int open = 5;
    program_.ioDescriptor = &open;
    EXPECT_EQ(Posix::Spawn_(program_), -1);
    program_.ioDescriptor = nullptr;
    EXPECT_TRUE(environment_.Set("ZERO", CString("a\0b", 3)));
    EXPECT_EQ(Posix::Spawn_(program_), -1);
    environment_.Clear();
    path_ = "/nonexistent";
    EXPECT_EQ(Posix::Spawn_(program_), -1);
    EXPECT_EQ(Said(), R"(C "kid": unable to start with opened I/O descriptors.
C "kid": unable to generate a process environment set.
C "kid": unable to start (unable to execute a process: no such file or directory).
)");
}

TEST_F(SpawnTest, MemoryThatEndsIsToldAndNothingIsLeft) {
    EXPECT_TRUE(environment_.Set("KID", "1"));
    ForEveryAllocation([&](Heap& heap) {
        log_.Clear();
        int pid = -1;
        bool const started = Reported(heap, [&] { return (pid = Posix::Spawn_(program_)) != -1; });
        EXPECT_EQ(log_.Lines().size(), started ? 0u : 1u);
        EXPECT_EQ(waitpid(pid, nullptr, 0), pid);
    });
}

// Whichever of the standard descriptors this program lacks, the child has what it was given.
TEST_F(SpawnTest, ClosedStandardDescriptorsDoNoHarm) {
    for (int round = 0; round < 16; ++round) {
        program_.output = round & 8 ? Process::OUTPUT_DISCARD : Process::OUTPUT_KEEP;
        Child const child = Child::Run([&] {
            for (int fd = 0; fd < 3; ++fd) (void)((round >> fd & 1) == 0 || close(fd));
            return Output(program_, "cat; echo error >&2; exit 7") == (round & 8 ? "=7" : "line\nerror\n=7") ? 3 : 4;
        });
        EXPECT_EQ(child.ExitCode(), 3) << child << round;
    }
}

} // namespace
