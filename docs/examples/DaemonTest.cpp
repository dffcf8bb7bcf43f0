// Tests of a part of a daemon: without memory, without time, without disk.
#include "workbench/Calls.h"
#include "workbench/Clock.h"
#include "workbench/Heap.h"
#include "workbench/TempDir.h"
#include "workbench/Threads.h"
#include "zeb/core/StringMap.h"
#include "zeb/io/ConfigFile.h"
#include "zeb/timer/Timer.h"

#include <cerrno>

#include <gtest/gtest.h>

namespace {

// The part under test: addresses by name, written to a file a minute after the first change.
class Leases {
public:
    explicit Leases(CString const& path)
        : path_(path) {}

    // False when memory ran out; nothing has changed then.
    bool Set(CString const& name, CString const& address) {
        Mutex::Guard const guard(mutex_);
        if (!guard.Held() || !leases_.Set(name, address)) return false;
        if (!isDirty_) save_.Set(60000L);
        isDirty_ = true;
        return true;
    }

    unsigned long Size() const { return leases_.Size(); }

private:
    // On the thread of the timers, with the lock held.
    void Save_() {
        Io::ConfigFile file(path_);
        for (unsigned long i = 0; i < leases_.Size(); ++i)
            file << leases_.Key(i) << " " << leases_.Get(i) << Io::Endl;
        isDirty_ = !file.Close();
        if (isDirty_) save_.Set(60000L);
    }

    Mutex mutex_{Mutex::MONITOR};
    CString const path_;
    StringMap leases_;     // guarded by mutex_, as the next
    bool isDirty_ = false; // there is something to write, and the timer is set
    Timer<Leases> const save_{"Leases", this, &Leases::Save_, &mutex_};
};

// Threads, and so timers, want the main thread to be known.
struct LeasesTest : WithMainThread {
    TempDir dir_;
    std::string const path_ = dir_ / "leases";
};

TEST_F(LeasesTest, WithoutMemoryNothingChangesAndNothingLeaks) {
    ForEveryAllocation([this](Heap& heap) {
        Leases leases(path_.c_str());
        ASSERT_TRUE(leases.Set("printer", "10.0.0.7"));
        heap.Arm(); // from here the n-th allocation of this thread fails
        bool const ok = leases.Set("camera", "10.0.0.8");
        heap.Disarm();
        EXPECT_EQ(ok, !heap.Fired());
        EXPECT_EQ(leases.Size(), ok ? 2u : 1u);
    });
}

TEST_F(LeasesTest, AMinutePassesInNoTime) {
    Clock clock;
    Leases leases(path_.c_str());
    ASSERT_TRUE(leases.Set("printer", "10.0.0.7"));
    ASSERT_TRUE(clock.AwaitWaiters(1)); // the thread of the timers has gone to sleep
    clock.Advance(59999);
    Clock::RealPause(5);
    EXPECT_FALSE(dir_.Exists("leases"));
    clock.Advance(1);
    EXPECT_TRUE(Await([&] { return dir_.Exists("leases"); }));
    EXPECT_EQ(dir_.Read("leases"), "printer 10.0.0.7\n");
}

TEST_F(LeasesTest, AFullDiskLeavesTheOldFileAndIsTriedAgain) {
    dir_.Write("leases", "old\n");
    Clock clock;
    Calls calls(Calls::ScopeT::PROCESS); // the call comes from the thread of the timers
    calls.Script(SysCall::write, {Calls::Fail(ENOSPC)});
    Leases leases(path_.c_str());
    ASSERT_TRUE(leases.Set("printer", "10.0.0.7"));
    ASSERT_TRUE(clock.AwaitWaiters(1));
    clock.Advance(60000);
    EXPECT_TRUE(log_.Await("no space left on device"));
    EXPECT_EQ(dir_.Read("leases"), "old\n");
    ASSERT_TRUE(clock.AwaitWaiters(1));
    clock.Advance(60000);
    EXPECT_TRUE(Await([&] { return dir_.Read("leases") != "old\n"; }));
    EXPECT_EQ(dir_.Read("leases"), "printer 10.0.0.7\n");
}

} // namespace
