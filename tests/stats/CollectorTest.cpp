#include "zeb/stats/Collector.h"

#include "tests/runtime/Worker.h"
#include "workbench/Calls.h"
#include "workbench/Heap.h"
#include "zeb/core/Time.h"

#include <atomic>
#include <thread>

namespace {

struct Alarm : Stats::Collector {
    using BodyT = std::function<void(Alarm&)>;
    explicit Alarm(
        int periodMs, Mutex const* lock = nullptr, BodyT body = [](Alarm&) {})
        : Collector(Time::Span(periodMs), lock)
        , body_(std::move(body)) {}
    ~Alarm() override { Deactivate(); }

    char const* Name() const override { return "alarm"; }
    void OnStatsAlarm_() override {
        body_(*this);
        ++count;
    }
    // No more and no less alarms than that, once the thread waits.
    bool Await(Clock const& clock, int wanted) const {
        return ::Await([&] { return count >= wanted; }) && clock.AwaitWaiters(1) && count == wanted;
    }

    std::atomic<int> count = 0;

private:
    BodyT body_;
};

struct CollectorTest : WithMainThread {
    CollectorTest() { clock_.AdvanceNanoseconds(1000000000 - timespec(Time::Monotonic()).tv_nsec); }

    Clock clock_; // begins with a second
};

TEST_F(CollectorTest, AlarmsComeAtOnceAndThenEachPeriodWithoutCatchingUp) {
    std::string order;
    Alarm alarm(1000, nullptr, [&](Alarm&) { order += 'a'; });
    Alarm other(400, nullptr, [&](Alarm&) { order += 'o'; });
    other.Activate();
    ASSERT_TRUE(other.Await(clock_, 1));
    alarm.Activate();
    ASSERT_TRUE(alarm.Await(clock_, 1));
    alarm.Activate(); // stays at its place
    int const rows[][3] = {{399, 1, 1},   {1, 1, 2},   {599, 1, 3}, {1, 2, 3},
                           {10000, 3, 4}, {999, 3, 5}, {1, 4, 6}};
    for (auto const& [milliseconds, alarms, others] : rows) {
        clock_.Advance(milliseconds);
        EXPECT_TRUE(other.Await(clock_, others) && alarm.Await(clock_, alarms)) << other.count << alarm.count;
    }
    EXPECT_EQ(order, "oaooaoaoao"); // at the end equal times in the order in which they were set
    alarm.Deactivate();
    clock_.Advance(5000);
    EXPECT_TRUE(other.Await(clock_, 7) && alarm.count == 4);
}

struct BusyMutex : Mutex {
    using Mutex::Mutex;
    bool TryLock() const override { return Mutex::TryLock() || (++refusals, false); }
    mutable std::atomic<int> refusals = 0;
};

TEST_F(CollectorTest, ABusyLockIsTriedAgainAndAgainWithWarnings) {
    BusyMutex const lock(Mutex::CORE);
    ASSERT_TRUE(lock.Lock());
    Alarm alarm(1000, &lock, [&](Alarm&) { clock_.Advance(150); });
    (void)Mutex::SetThreshold("100");
    alarm.Activate();
    int attempts = 0;
    for (long const seconds : {0, 29, 2, 28, 1, 95, 20}) { // it is 29, 31, 59, 60, 155, 175 then
        clock_.Advance(seconds * 1000);
        ++attempts;
        EXPECT_TRUE(::Await([&] { return lock.refusals >= attempts; }) && clock_.AwaitWaiters(1));
    }
    lock.Unlock();
    EXPECT_EQ(alarm.count, 0);
    clock_.Advance(50);
    EXPECT_TRUE(alarm.Await(clock_, 1));
    (void)Mutex::RstThreshold();
    std::string lines;
    for (std::string const& line : log_.Take())
        lines += line.find("Collector: ") == 9 ? line.substr(20) + "\n" : "";
    EXPECT_EQ(lines, "unable to send a statistics alarm to \"alarm\" for 31 seconds.\n"
                     "unable to send a statistics alarm to \"alarm\" for 60 seconds.\n"
                     "unable to send a statistics alarm to \"alarm\" for 155 seconds.\n"
                     "sending a statistics alarm to \"alarm\" for 150 ms.\n");
}

TEST_F(CollectorTest, DeactivationAwaitsTheRunningAlarm) {
    for (bool const byItself : {false, true}) {
        std::binary_semaphore entered(0), leave(0);
        Alarm alarm(1000, nullptr, [&](Alarm& self) {
            if (byItself) self.Deactivate();
            entered.release();
            leave.acquire();
        });
        alarm.Activate();
        entered.acquire();
        int seen = -1;
        std::thread stopper([&] {
            alarm.Deactivate();
            seen = alarm.count;
        });
        Clock::RealPause(20);
        leave.release();
        stopper.join();
        EXPECT_EQ(seen, 1);
    }
}

TEST_F(CollectorTest, WhatCannotStartIsNotInitialized) {
    std::string const line = "C Stats::Collector: system failed [0xcffd****].";
    ForEveryAllocation(
        [&](Heap& heap) {
            log_.Clear();
            heap.Arm();
            Alarm alarm(1000);
            alarm.Activate();
            EXPECT_TRUE(!alarm.Initialized() || alarm.Await(clock_, 1));
            heap.Disarm();
            EXPECT_EQ(alarm.Initialized(), !heap.Fired());
            EXPECT_EQ(log_.Count(line), heap.Fired() ? 1u : 0u);
        },
        Heap::ScopeT::PROCESS);
    log_.Clear();
    Calls calls;
    calls.Script(SysCall::pthread_create, {Calls::Fail(EAGAIN)});
    Alarm failed(1000), bad(0), good(1000); // the next one gets the thread
    failed.Activate();
    EXPECT_TRUE(!failed.Initialized() && !bad.Initialized() && good.Initialized() && log_.Count(line) == 2);
}

} // namespace
