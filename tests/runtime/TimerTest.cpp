#include "zeb/runtime/Timer.h"

#include "tests/runtime/Worker.h"
#include "tests/support/Heap.h"

#include <atomic>
#include <cstring>
#include <deque>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace {

using LinesT = LogCapture::LinesT;

struct Owner {
    explicit Owner(std::function<void()> callback, Mutex const* lock = nullptr,
                   char const* queue = TimerBase::QUEUE_NAME_DEFAULT)
        : body(std::move(callback))
        , timer("owner", this, &Owner::Fire, lock, queue) {}
    void Fire() {
        body();
        ++fired;
    }

    std::function<void()> body;
    std::atomic<int> fired = 0;
    Timer<Owner> const timer;
};

using TimerTest = WithClock;

TEST_F(TimerTest, FireOnceByDeadlineAndThenByOrderOfSet) {
    // a100 sets timer a to 100 ms, ax cancels it, w waits for the queue to wait, +100 moves the clock.
    std::pair<char const*, char const*> const rows[] = {
        // clang-format off
        {"a100 b100 c50 +100", "cab"}, {"a100 b100 a100 +100", "ba"}, {"a100 b50 a10 +50", "ab"},
        {"a100 ax b100 +200", "b"}, {"a9000 w b100 +100", "b"}, {"a100 w b9000 c200 +99", ""},
        {"a100 w a200 w +199", ""}, {"a-5 w b0 w", "ab"}, {"a1 +1 w +99 a1 b1 +1", "aab"},
        // clang-format on
    };
    for (auto const& [operations, expected] : rows) {
        std::string order;
        std::mutex orderLock;
        auto const has = [&](unsigned long size) {
            std::scoped_lock const guard(orderLock);
            return order.size() >= size;
        };
        std::deque<Owner> owners;
        for (char const name : {'a', 'b', 'c'}) {
            owners.emplace_back([&, name] {
                std::scoped_lock const guard(orderLock);
                order += name;
            });
        }
        for (char const* at = operations; *at; at += strcspn(at, " "), at += *at == ' ') {
            if (*at == 'w') {
                EXPECT_TRUE(Await([&] { return clock.Waiters() != 0 || has(1); }));
            } else if (*at == '+') {
                clock.Advance(atol(at));
            } else if (at[1] == 'x') {
                owners[*at - 'a'].timer.Cancel();
            } else {
                owners[*at - 'a'].timer.Set(atol(at + 1));
            }
        }
        EXPECT_TRUE(Await([&, size = strlen(expected)] { return has(size); })) << operations;
        Clock::RealPause(3); // for what must not come
        for (Owner const& owner : owners)
            owner.timer.Cancel();
        EXPECT_EQ(order, expected) << operations;
    }
    EXPECT_TRUE(log_.Take().empty() && ThreadsOfName("Timer") == 0);
}

TEST_F(TimerTest, CancelWaitsForARunningCallbackButNotInsideIt) {
    std::atomic<bool> ended = false;
    Owner slow([&] {
        slow.timer.Cancel(); // at once
        slow.timer.Set(0L);  // dropped by whoever cancels meanwhile
        Clock::RealPause(20);
        ended = true;
    });
    slow.timer.Set(0L);
    Clock::RealPause(5);
    RunInWorker([&] { slow.timer.Cancel(); });
    EXPECT_TRUE(ended);
    int const fired = slow.fired;
    Owner periodic([&] { periodic.timer.Set(10L); });
    periodic.timer.Set(10L);
    for (int round = 1; round <= 3; ++round) {
        clock.Advance(10);
        EXPECT_TRUE(Await([&] { return periodic.fired == round && clock.Waiters() == 1; }));
    }
    periodic.timer.Cancel();
    EXPECT_EQ(slow.fired, fired);
}

TEST_F(TimerTest, NeverBlockOnAHeldLockAndNameItsHolder) {
    LockHolder holder(mutex);
    Owner stuck([] {}, &mutex);
    Owner urgent([] {});
    stuck.timer.Set(0L);
    ExpectWaitLines(clock, log_, "W Timer: unable to run \"owner\" for ");
    urgent.timer.Set(-90000L); // due earlier than the one that waits
    EXPECT_TRUE(AwaitMoving([&] { return urgent.fired != 0; }));
    EXPECT_EQ(stuck.fired, 0);
    holder.Release();
    ASSERT_TRUE(Mutex::SetThreshold("100").Succeeded());
    stuck.body = [&] { clock.Advance(150); };
    EXPECT_TRUE(AwaitMoving([&] { return stuck.fired != 0; }));
    EXPECT_TRUE(log_.Await("W Timer: running \"owner\" for 150 ms."));
    (void)Mutex::RstThreshold();
    mutex.Lock(); // an owner may cancel or move its timer with the lock held
    stuck.timer.Set(0L);
    EXPECT_TRUE(Await([&] { return clock.Waiters() == 1; }));
    for (int round = 0; round < 2; ++round) {
        Worker mover([&] { round ? stuck.timer.Cancel() : stuck.timer.Set(20000L); });
        EXPECT_EQ(mover.Start(), Thread::STARTED);
        EXPECT_TRUE(AwaitMoving([&] { return mover.Stopped(); }));
        mover.Stop();
    }
    mutex.Unlock();
    EXPECT_EQ(stuck.fired, 1);
}

TEST_F(TimerTest, ShareAQueueByNameThatEndsWithTheLast) {
    auto const nothing = [] {};
    {
        Owner first(nothing, nullptr, "q");
        {
            Owner second(nothing, nullptr, "q");
            Owner other(nothing, nullptr, "r");
            EXPECT_TRUE(ThreadsOfName("q") == 1 && ThreadsOfName("r") == 1);
            second.timer.Set(5000L);
        }
        EXPECT_TRUE(ThreadsOfName("q") == 1 && ThreadsOfName("r") == 0);
        first.timer.Set(Time::Span::Max());
    }
    EXPECT_EQ(ThreadsOfName("q"), 0);
    std::string const active = "C Timer: system failed [0xcffd****], \"owner\" timer is still active.";
    EXPECT_EQ(log_.Take(), (LinesT{active, active}));
    ForEveryAllocation(
        [&](Heap& heap) {
            heap.Arm();
            Owner const one(nothing, nullptr, "q");
            heap.Disarm();
            EXPECT_EQ(one.timer.Initialized(), !heap.Fired());
            EXPECT_EQ(log_.Count("C Timer: unable to create \"q\" queue."), heap.Fired());
            EXPECT_EQ(log_.Count("C Timer: system failed [0xcffd****]."), heap.Fired());
            log_.Clear();
            if (heap.Fired()) one.timer.Set(0L);
            one.timer.Cancel();
        },
        Heap::ScopeT::PROCESS);
}

TEST_F(WithMainThread, ThousandsOfTimersOfSeveralThreadsFireOnceForEachSet) {
    std::vector<std::thread> threads;
    for (int number = 0; number < 4; ++number) {
        threads.emplace_back([number] {
            std::deque<Owner> owners;
            for (int i = 0; i < 500; ++i) {
                owners.emplace_back([] {}, nullptr, number % 2 ? "even" : "odd").timer.Set(i * 7L % 20);
            }
            for (Owner& owner : owners) {
                owner.timer.Cancel();
                EXPECT_LE(owner.fired.exchange(0), 1);
                owner.timer.Set(static_cast<long>(&owner - &owners[0]) % 20);
            }
            for (Owner const& owner : owners)
                EXPECT_TRUE(Await([&] { return owner.fired == 1; }));
            for (Owner const& owner : owners)
                owner.timer.Cancel();
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_TRUE(log_.Take().empty());
}

} // namespace
