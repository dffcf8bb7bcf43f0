// Parts of the sample daemon without memory, without time and without disk.

#include "examples/gateway/Config.h"
#include "examples/gateway/Crash.h"
#include "examples/gateway/Pressure.h"
#include "examples/gateway/Sampler.h"
#include "examples/gateway/StateFile.h"
#include "workbench/Calls.h"
#include "workbench/Child.h"
#include "workbench/Heap.h"
#include "workbench/MemoryHog.h"
#include "workbench/Namespace.h"
#include "workbench/TempDir.h"
#include "workbench/Threads.h"
#include "zeb/runtime/Main.h"

#include <cerrno>
#include <poll.h>

namespace {

struct PartsTest : WithMainThread {
    PartsTest() {
        std::string const state = R"("state_file": ")" + (dir_ / "state") + "\"";
        path_ = dir_.Write("config", "{\"interfaces\": [\"lo\"], \"sample_period\": 1000, " + state + "}");
        StringAccumulator error;
        EXPECT_TRUE(config_.Load(path_.c_str(), error)) << error.Cstr();
    }

    TempDir dir_;
    std::string path_;
    Config config_;
    Telemetry telemetry_;
    Clock clock_;
    Task::Queue queue_{"State", 100, nullptr};
    StateFile file_{config_, telemetry_, queue_};
};

TEST_F(PartsTest, AConfigurationThatMemoryEndsForIsRefusedInWords) {
    ForEveryAllocation([this](Heap& heap) {
        Config config;
        StringAccumulator error;
        bool const ok = Reported(heap, [&] { return config.Load(path_.c_str(), error); });
        std::string const words = error.Valid() && error.Size() != 0 ? error.Cstr() : "out of memory";
        EXPECT_TRUE(ok || words.find("out of memory") != words.npos) << words;
    });
}

TEST_F(PartsTest, AStateFileThatTheDiskRefusesIsToldAndTheOldOneStays) {
    dir_.Write("state", "old");
    std::pair<SysCall, Calls::Step> const rows[] = {
        {SysCall::write, Calls::Fail(ENOSPC)}, {SysCall::open, Calls::Fail(EROFS)}, {SysCall::rename, Calls::Fail(EIO)}};
    for (auto const& [call, step] : rows) {
        log_.Clear();
        Calls calls;
        calls.Script(call, {step});
        EXPECT_TRUE(file_.Start().Failed() && dir_.Read("state") == "old") << static_cast<int>(call);
        EXPECT_TRUE(log_.Has("unable to write \"" + (dir_ / "state") + "\"")) << static_cast<int>(call);
    }
    EXPECT_TRUE(file_.Start().Succeeded() && dir_.Read("state").starts_with("sample=0\n"));
}

TEST_F(PartsTest, ASampleIsTakenEachSecondOfItsClock) {
    Sampler sampler(config_, "", telemetry_, file_);
    EXPECT_TRUE(sampler.Start());
    Sample sample;
    Telemetry::Counts counts;
    for (unsigned long second = 1; second < 4; ++second) {
        ASSERT_TRUE(telemetry_.Get(sample, counts) && clock_.AwaitWaiters(1));
        EXPECT_EQ(counts.samples, second);
        clock_.Advance(999), Clock::RealPause(5), clock_.Advance(1);
        EXPECT_TRUE(Await([&] { return telemetry_.Get(sample, counts) && counts.samples == second + 1; }));
    }
    sampler.Stop(), file_.Stop();
}

struct Daemon : Main {
    using Main::Main;
    int Run() override { return 0; }
};

TEST(Crash, EndsTheProgramWithTheReportOfItsKind) {
    CrashT kind = CRASH_NONE;
    EXPECT_FALSE(ParseCrash("nul", kind) || ParseCrash("", kind));
    Crash(kind); // and goes on
    std::pair<char const*, char const*> const rows[] = {
        {"null", "segmentation fault"}, {"stack", "stack overflow"}, {"abort", "aborted"}};
    for (auto const& [word, reason] : rows) {
        EXPECT_TRUE(ParseCrash(word, kind));
        Child const child = Child::Run([kind] {
            Daemon daemon("daemon");
            Calls calls(Calls::ScopeT::PROCESS);
            calls.Script(SysCall::nanosleep, {Calls::Return(0)}, 2); // the pauses around the report
            Crash(kind);
        });
        EXPECT_NE(child.Errors().find("Reason       : " + std::string(reason) + "\n"), std::string::npos) << child;
    }
}

using PressureTest = WithMainThread;

TEST_F(PressureTest, IsAnsweredEachTime) {
    ZEB_NEED_ROOT();
    if (char const* const why = MemoryHog::WhyNoPressure()) GTEST_SKIP() << why;
    TempDir const dir;
    Namespace space;
    space.Bind(dir.Write("monitor", ""), "/proc/pressure/memory");
    Pressure pressure;
    pressure.Start("box");
    EXPECT_EQ(log_.Take(), LogCapture::LinesT{"I Pressure: \"box\": watching for memory pressure: 10% of 2000 ms."});
    Calls calls(Calls::ScopeT::PROCESS);
    for (int round = 0; round < 2; ++round, log_.Clear(), Clock::RealPause(20)) { // then it looks again
        calls.Script(SysCall::poll, {Calls::Ready(POLLPRI)});
        EXPECT_TRUE(log_.Await("high memory pressure detected: threshold 10% of 2000 ms"));
    }
}

} // namespace
