#include "zeb/process/IoProcess.h"

#include "tests/process/Kids.h"
#include "zeb/process/Shell.h"

namespace {

struct Talk {
    explicit Talk(std::string const& script, Io::ModeT mode = Io::MODE_READ_WRITE, unsigned long killMs = 2000)
        : process("kid", "/bin/sh", mode, Io::EOL_LF, Process::STOP_SIGNAL_TERM, killMs, "") {
        char const* const arguments[] = {"-c", script.c_str(), nullptr};
        EXPECT_TRUE(process.SetArguments(arguments).Succeeded());
        process.SetTimeout(10000);
    }
    Io::Process* operator->() { return &process; }
    std::string Rest() {
        std::string all;
        char data[65536];
        for (unsigned long done = 1; done != 0 && process.Read(data, sizeof data, done);) all.append(data, done);
        return all;
    }

    Io::Process process;
};

using IoProcessTest = KidTest;

TEST_F(IoProcessTest, TheChildIsAStream) {
    struct {
        char const *script, *input, *output;
        int status;
    } const rows[] = {
        {"sort", "b\nc\na\n", "a\nb\nc\n", 0},
        {"echo $KID_A$KID_B; echo error >&2; exit 7", "", "12\nerror\n", 7},
        {"read line; kill -9 $$", "line\n", "", -1},
        {"gzip | gunzip", "text", "text", 0},
    };
    char const* const list[] = {"KID_A", "0", "KID_B", "2", nullptr};
    for (auto const& [script, input, output, status] : rows) {
        Talk stream(script);
        EXPECT_TRUE(stream->SetEnvironment(list).Succeeded() && stream->SetEnvironment("KID_A", "1").Succeeded());
        for (int run = 0; run < 2; ++run) {
            ASSERT_TRUE(stream->Start());
            stream.process << input;
            (void)stream->EndInput(); // the child may be through
            EXPECT_EQ(stream.Rest(), output) << script;
            EXPECT_EQ(stream->Wait(), status);
            EXPECT_FALSE(stream->IsRunning());
        }
        EXPECT_EQ(stream->StopWait(), status);
    }
    EXPECT_EQ(log_.Take(), LinesT());
}

TEST_F(IoProcessTest, MegabytesGoBothWays) {
    std::string sent, sorted, part(30000, ' ');
    for (int i = 0; i < 150000; ++i) sorted += std::to_string(1000000 + i) + "\n", sent += std::to_string(1149999 - i) + "\n";
    Talk echo("cat");
    ASSERT_TRUE(echo->Start());
    for (unsigned long at = 0; at + part.size() <= sent.size(); at += part.size()) {
        EXPECT_TRUE(echo->OutBuffer().WriteAll(sent.data() + at, part.size()) && echo->Flush());
        ASSERT_TRUE(echo->InBuffer().ReadAll(part.data(), part.size()) && sent.compare(at, part.size(), part) == 0);
    }
    EXPECT_TRUE(echo->EndInput() && echo->Wait() == 0);
    for (char const* const script : {"sort", "cat > $0; gzip -c $0 | gunzip | sort; rm $0"}) {
        TempDir const dir;
        Talk stream(script);
        EXPECT_TRUE(stream->PushArgument((dir / "all").c_str()).Succeeded() && stream->Start());
        EXPECT_TRUE(stream->OutBuffer().WriteAll(sent.data(), sent.size()) && stream->EndInput());
        EXPECT_TRUE(stream.Rest() == sorted && stream->Wait() == 0) << script;
    }
}

TEST_F(IoProcessTest, AChildThatDiesInTheMiddleEndsTheStream) {
    std::string const much(2000000, 'x');
    Talk stream("head -c 1000; exit 4");
    for (int run = 0; run < 2; ++run) {
        ASSERT_TRUE(stream->Start());
        EXPECT_FALSE(stream->OutBuffer().WriteAll(much.data(), much.size()));
        EXPECT_EQ(stream->CurrentState(), Io::Stateful::STATE_RESET);
        EXPECT_EQ(stream->Wait(), 4);
    }
    Talk printing("yes");
    ASSERT_TRUE(printing->Start() && printing->GetChar() == 'y' && printing->ObjIReady());
    printing.process << "unsent";
    ASSERT_TRUE(printing->Start()) << "the run before is stopped, and its input dropped";
    EXPECT_TRUE(!printing->ObjIReady() && printing->GetChar() == 'y' && printing->Stop());
    EXPECT_EQ(printing->Wait(), -1);
}

TEST_F(IoProcessTest, WaitsEndByTimeAndInterruption) {
    bool over = false, interrupted = true;
    Talk sleeping("exec sleep 99"), stubborn("trap '' TERM; echo; while :; do sleep 9; done", Io::MODE_READ_WRITE, 50),
        done("exit 5");
    EXPECT_EQ(sleeping->Wait(), 0) << "it was never started";
    ASSERT_TRUE(sleeping->Start());
    EXPECT_EQ(sleeping->Wait(20, over, interrupted), 1);
    EXPECT_TRUE(over && !interrupted && sleeping->IsRunning());
    RunInWorker([&] {
        Thread& self = *Thread::Self();
        std::thread interrupter([&] { Clock::RealPause(20), self.Interrupt(); });
        EXPECT_EQ(sleeping->Wait(20000, over, interrupted), -1);
        interrupter.join();
    });
    EXPECT_TRUE(!over && interrupted && !sleeping->IsRunning());
    ASSERT_TRUE(stubborn->Start() && stubborn->GetChar() == '\n');
    EXPECT_EQ(stubborn->StopWait(), -1);
    EXPECT_EQ(sleeping->Execute(20, &over, &interrupted), -1);
    EXPECT_TRUE(over && !interrupted);
    EXPECT_EQ(done->Execute(10000, &over, &interrupted), 5);
    EXPECT_FALSE(over || interrupted);
    ASSERT_TRUE(stubborn->Start()); // its destructor stops it
    Talk quiet("echo text; exit 3", Io::MODE_WRITE);
    EXPECT_EQ(quiet->Execute(-1, nullptr, nullptr), 3);
    EXPECT_TRUE(quiet->EndInput() || !quiet->Ok());
}

TEST_F(IoProcessTest, WhatCannotBeMadeOrStartedSaysSo) {
    EXPECT_FALSE(Io::Process("kid", "/nonexistent", Io::MODE_READ, Io::EOL_LF, Process::STOP_SIGNAL_TERM, 1, "").Start());
    EXPECT_TRUE(log_.Has("E Io::Process: \"kid\" is broken."));
    ForEveryAllocation([&](Heap& heap) {
        heap.Arm();
        Io::Process const process("kid", "/bin/sh", Io::MODE_READ, Io::EOL_LF, Process::STOP_SIGNAL_TERM, 1, "");
        heap.Disarm();
        EXPECT_EQ(process.CurrentState() == Io::Stateful::STATE_BROKEN, heap.Fired());
    });
    Talk stream("exit 6");
    for (SysCall const call : {SysCall::pthread_kill, SysCall::fcntl}) {
        Calls calls;
        calls.Script(call, {Calls::Fail(EINVAL)});
        EXPECT_TRUE(stream->Execute(-1, nullptr, nullptr) == 1 && !stream->IsRunning());
    }
    EXPECT_EQ(stream->Execute(-1, nullptr, nullptr), 6);
}

TEST_F(IoProcessTest, TheShellGivesTheStatusOfItsCommand) {
    EXPECT_EQ((std::array{Util::Shell("exit 3", 10000), Util::Shell("echo; exit 0", -1), Util::Shell("sleep 99; exit 0", 20)}),
              (std::array{3, 0, -1}));
    Calls calls;
    calls.ScriptFailure("sigaction 0 EINVAL");
    EXPECT_EQ(Util::Shell("exit 3", 1000), -1);
}

} // namespace
