#include "zeb/stats/Collector.h"

#include "tests/runtime/Worker.h"

namespace {

struct Alarm : Stats::Collector {
    using BodyT = std::function<void(Alarm&)>;
    explicit Alarm(Time::Span const& period, Mutex const* lock = nullptr, BodyT body = {})
        : Collector(period, lock)
        , body_(std::move(body)) {}
    ~Alarm() override { Deactivate(); }

    char const* Name() const override { return "alarm"; }
    void OnStatsAlarm_() override {
        if (body_) body_(*this);
        ++count;
    }
    // The alarms so far, once there are as many as that and the thread waits.
    int Await(Clock const& clock, int wanted) const {
        return ::Await([&] { return count >= wanted; }) && clock.AwaitWaiters(1) ? count.load() : -1;
    }

    std::atomic<int> count = 0;

private:
    BodyT body_;
};

struct BusyMutex : Mutex {
    using Mutex::Mutex;
    bool TryLock() const override { return Mutex::TryLock() || (++refusals, false); }
    bool Refuses(Clock const& clock, int times) const {
        return Await([&] { return refusals >= times; }) && clock.AwaitWaiters(1);
    }
    mutable std::atomic<int> refusals = 0;
};

struct CollectorTest : WithMainThread {
    CollectorTest() { clock_.AdvanceNanoseconds(1000000000 - timespec(Time::Monotonic()).tv_nsec); }

    Clock clock_; // begins with a second
};

TEST_F(CollectorTest, AlarmsComeAtOnceAndThenEachPeriodWithoutCatchingUp) {
    std::string order;
    Alarm alarm(1000, nullptr, [&](Alarm&) { order += 'a'; });
    Alarm other(400, nullptr, [&](Alarm&) { order += 'o'; });
    Alarm once(Time::Span::Max(), nullptr, [&](Alarm&) { order += '1'; });
    for (Alarm* const activated : {&once, &other, &alarm}) {
        activated->Activate();
        ASSERT_EQ(activated->Await(clock_, 1), 1);
    }
    alarm.Activate(); // stays at its place
    int const rows[][3] = {{399, 1, 1}, {1, 1, 2}, {599, 1, 3}, {1, 2, 3}, {10000, 3, 4}, {999, 3, 5}, {1, 4, 6}, {5000, 4, 7}};
    for (auto const& [milliseconds, alarms, others] : rows) {
        if (milliseconds == 5000) alarm.Deactivate();
        clock_.Advance(milliseconds);
        EXPECT_EQ(std::pair(other.Await(clock_, others), alarm.Await(clock_, alarms)), std::pair(others, alarms)) << order;
    }
    EXPECT_EQ(order, "1oaooaoaoaoo"); // equal times in the order in which they were set
}

TEST_F(CollectorTest, ABusyLockIsTriedAgainAndAgainWithWarnings) {
    BusyMutex const lock(Mutex::CORE);
    ASSERT_TRUE(lock.Lock());
    Alarm alarm(1000, &lock, [&](Alarm&) { clock_.Advance(150); });
    (void)Mutex::SetThreshold("100");
    alarm.Activate();
    int attempts = 0;
    for (long const seconds : {0, 29, 2, 28, 1, 95, 20, 0, 29, 1}) { // it is 29, 31, 59, 60, 155, 175; 29, 30 then
        clock_.Advance(seconds * 1000);
        EXPECT_TRUE(lock.Refuses(clock_, ++attempts)) << attempts;
        if (seconds == 20) alarm.Deactivate(); // by the holder of the lock
        if (seconds == 20) clock_.Advance(1000), alarm.Activate(), attempts = lock.refusals;
    }
    lock.Unlock();
    EXPECT_EQ(alarm.count, 0);
    clock_.Advance(50);
    EXPECT_EQ(alarm.Await(clock_, 1), 1);
    (void)Mutex::RstThreshold();
    std::string lines, expected;
    for (std::string const& line : log_.Take()) lines += line.find("Collector: ") == 9 ? line.substr(20) + "\n" : "";
    for (char const* const time : {"31", "60", "155", "30"})
        expected += "unable to send a statistics alarm to \"alarm\" for " + std::string(time) + " seconds.\n";
    EXPECT_EQ(lines, expected + "sending a statistics alarm to \"alarm\" for 150 ms.\n");
}

TEST_F(CollectorTest, DeactivationAwaitsTheRunningAlarm) {
    Mutex const free(Mutex::CORE);
    for (int i = 0; i < 4; ++i) { // with and without a lock, deactivated by itself or not
        std::binary_semaphore entered(0), leave(0);
        Alarm alarm(1000, i % 2 ? &free : nullptr, [&](Alarm& self) {
            if (i / 2) self.Deactivate();
            entered.release();
            leave.acquire();
        });
        alarm.Activate();
        entered.acquire();
        int seen = -1;
        std::thread stopper([&] { alarm.Deactivate(), seen = alarm.count; });
        Clock::RealPause(20);
        leave.release();
        stopper.join();
        EXPECT_EQ(seen, 1) << i;
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
            EXPECT_TRUE(!alarm.Initialized() || alarm.Await(clock_, 1) == 1);
            heap.Disarm();
            EXPECT_EQ(std::pair(!alarm.Initialized(), log_.Count(line)), std::pair(heap.Fired(), heap.Fired() ? 1UL : 0UL));
        },
        Heap::ScopeT::PROCESS);
    log_.Clear();
    Calls calls;
    calls.Script(SysCall::pthread_create, {Calls::Fail(EAGAIN)});
    Alarm failed(1000), bad(0), good(1000); // the last one has the thread
    failed.Activate();
    EXPECT_EQ((std::vector{failed.Initialized(), bad.Initialized(), good.Initialized()}), (std::vector{false, false, true}));
    EXPECT_EQ(log_.Count(line), 2u);
}

} // namespace
