// Parts of the sample daemon without memory, without time and without disk.

#include "examples/gateway/Config.h"
#include "examples/gateway/Sampler.h"
#include "examples/gateway/StateFile.h"
#include "workbench/Calls.h"
#include "workbench/Clock.h"
#include "workbench/Heap.h"
#include "workbench/LogCapture.h"
#include "workbench/TempDir.h"
#include "zeb/core/AutoPtr.h"
#include "zeb/runtime/ThreadMain.h"

#include <cerrno>
#include <gtest/gtest.h>

namespace {

class PartsTest : public testing::Test {
protected:
    PartsTest() {
        std::string const state = R"("state_file": ")" + (dir_ / "state") + "\"";
        path_ = dir_.Write("config", "{\"interfaces\": [\"lo\"], \"sample_period\": 1000, " + state + "}");
        StringAccumulator error;
        EXPECT_TRUE(config_.Load(path_.c_str(), error)) << error.Cstr();
    }

    LogCapture log_;
    AutoPtr<ThreadMain> main_{ThreadMain::New("gateway")};
    TempDir dir_;
    std::string path_;
    Config config_;
    Telemetry telemetry_;
};

TEST_F(PartsTest, AConfigurationThatMemoryEndsForIsRefusedInWords) {
    ForEveryAllocation([this](Heap& heap) {
        Config config;
        StringAccumulator error;
        heap.Arm();
        bool const ok = config.Load(path_.c_str(), error);
        heap.Disarm();
        EXPECT_EQ(ok, !heap.Fired());
        std::string const words = error.Valid() && error.Size() != 0 ? error.Cstr() : "out of memory";
        EXPECT_TRUE(ok || words.find("out of memory") != words.npos) << words;
    });
}

TEST_F(PartsTest, AStateFileThatTheDiskRefusesIsToldAndTheOldOneStays) {
    dir_.Write("state", "old");
    Task::Queue queue("State", 100, nullptr);
    StateFile file(config_, telemetry_, queue);
    std::pair<SysCall, Calls::Step> const rows[] = {
        {SysCall::write, Calls::Fail(ENOSPC)}, {SysCall::open, Calls::Fail(EROFS)}, {SysCall::rename, Calls::Fail(EIO)}};
    for (auto const& [call, step] : rows) {
        Calls calls;
        calls.Script(call, {step});
        EXPECT_TRUE(file.Start().Failed());
        EXPECT_TRUE(log_.Has("unable to write \"" + (dir_ / "state") + "\"")) << static_cast<int>(call);
        EXPECT_EQ(dir_.Read("state"), "old");
        log_.Clear();
    }
    EXPECT_TRUE(file.Start().Succeeded());
    EXPECT_TRUE(dir_.Read("state").starts_with("sample=0\n"));
}

TEST_F(PartsTest, ASampleIsTakenEachSecondOfItsClock) {
    Clock clock;
    Task::Queue queue("State", 100, nullptr);
    StateFile file(config_, telemetry_, queue);
    Sampler sampler(config_, "", telemetry_, file);
    EXPECT_TRUE(sampler.Start());
    Sample sample;
    Telemetry::Counts counts;
    for (unsigned long second = 1; second < 4; ++second) {
        ASSERT_TRUE(telemetry_.Get(sample, counts));
        EXPECT_EQ(counts.samples, second);
        ASSERT_TRUE(clock.AwaitWaiters(1));
        clock.Advance(999);
        Clock::RealPause(5);
        clock.Advance(1);
        for (int i = 0; i < 2000 && telemetry_.Get(sample, counts) && counts.samples == second; ++i) Clock::RealPause(1);
    }
    sampler.Stop();
    file.Stop();
}

} // namespace
