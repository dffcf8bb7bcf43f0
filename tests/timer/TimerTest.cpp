#include "zeb/timer/Timer.h"

#include "tests/runtime/Worker.h"

#include <deque>
#include <optional>
#include <sstream>
#include <sys/prctl.h>

namespace {

using TimerTest = WithMainThread;

struct Owner {
    explicit Owner(std::function<void()> callback, Mutex const* lock = nullptr, char const* queue = "Timer")
        : body(std::move(callback))
        , timer("owner", this, &Owner::Fire, lock, queue) {}
    void Fire() { body(), ++fired; }

    std::function<void()> body;
    std::atomic<int> fired = 0;
    Timer<Owner> const timer;
};

std::string const ACTIVE = "C Timer: system failed [0xcffd****], \"owner\" timer is still active.";

TEST_F(TimerTest, FireOnceByDeadlineAndThenByOrderOfSet) {
    // a100 sets timer a to 100 ms, ax cancels it, w waits until the queue waits, +100 moves the clock.
    std::pair<char const*, char const*> const rows[] = {
        // clang-format off
        {"a100 b100 c50 +100", "cab"}, {"a100 b100 a100 +100", "ba"}, {"a100 b50 a10 +50", "ab"},
        {"a100 ax b100 +200", "b"}, {"a9000 w b100 +100", "b"}, {"a100 w b9000 c200 +99", ""},
        {"a100 w a200 +199", ""}, {"a-5 b0", "ab"}, {"a9 b9 w +9", "ab"}};
    // clang-format on
    Clock clock;
    for (auto const& [operations, expected] : rows) {
        std::string order;
        std::atomic<unsigned long> fired = 0;
        auto const note = [&](char name) { return [&, name] { order += name, ++fired; }; };
        Owner owners[] = {Owner(note('a')), Owner(note('b')), Owner(note('c'))};
        std::istringstream in(operations);
        for (std::string operation; in >> operation;) {
            long const number = atol(operation.c_str() + 1);
            unsigned const index = static_cast<unsigned>(operation[0] - 'a');
            EXPECT_TRUE(operation != "w" || clock.AwaitWaiters(1));
            if (operation[0] == '+') clock.Advance(number);
            if (index < 3) operation[1] == 'x' ? owners[index].timer.Cancel() : owners[index].timer.Set(number);
        }
        // A queue that has read the clock right ahead of its move waits on from there.
        EXPECT_TRUE(Await([&, size = strlen(expected)] { return fired >= size || (clock.Advance(1), false); })) << operations;
        Clock::RealPause(3); // for what must not come
        for (Owner const& owner : owners) owner.timer.Cancel();
        EXPECT_EQ(order, expected) << operations;
    }
}

TEST_F(TimerTest, CancelWaitsForACallbackButNeitherInsideItNorForTheOwnersLock) {
    std::atomic<int> begun = 0;
    // It cancels at once, and is set for ever, until somebody else cancels.
    Owner slow([&] { ++begun, slow.timer.Cancel(), slow.timer.Set(0L), Clock::RealPause(5); });
    for (bool const cancel : {false, true}) {
        slow.timer.Set(0L);
        EXPECT_TRUE(Await([&, before = begun.load()] { return begun >= before + 2; })); // it calls again and again
        cancel ? slow.timer.Cancel() : slow.timer.Set(9000L);
        EXPECT_EQ(slow.fired, begun) << "nothing runs";
    }
    Mutex const mutex(Mutex::CORE);
    Owner locked([] {}, &mutex);
    Mutex::Guard const guard(mutex);
    for (int round = 0; round < 2; ++round) { // it waits for the lock
        locked.timer.Set(0L), Clock::RealPause(5);
        round == 0 ? locked.timer.Set(9000L) : locked.timer.Cancel();
    }
    EXPECT_TRUE(locked.fired == 0 && slow.fired == begun);
}

TEST_F(TimerTest, AHeldLockIsLoggedAndHoldsUpOnlyWhatIsDueLater) {
    Clock clock;
    Mutex const mutex(Mutex::CORE);
    Owner stuck([&] { clock.Advance(150); }, &mutex), urgent([] { EXPECT_EQ(prctl(PR_GET_TIMERSLACK), 1); });
    mutex.Lock(), stuck.timer.Set(0L);
    ExpectWaitLines(clock, log_, "W Timer: unable to run \"owner\" for ");
    urgent.timer.Set(-90000L);
    EXPECT_TRUE(Await([&] { return clock.Advance(50), urgent.fired == 1; }) && stuck.fired == 0);
    mutex.Unlock();
    ASSERT_TRUE(Mutex::SetThreshold("100").Succeeded());
    EXPECT_TRUE(Await([&] { return clock.Advance(50), stuck.fired == 1; }));
    EXPECT_TRUE(log_.Await("W Timer: running \"owner\" for 150 ms."));
    (void)Mutex::RstThreshold();
}

TEST_F(TimerTest, AQueueEndsWithTheLastTimerOfItsName) {
    for (int round = 0; round < 2; ++round) {
        Calls const calls;
        Owner first([] {});
        Clock::RealPause(3); // it waits, and does not look again and again
        EXPECT_EQ(calls.Count(SysCall::pthread_cond_timedwait), 0u);
        {
            Owner second([] {});
            EXPECT_EQ(CountTids(), 2u);
            Owner other([] {}, nullptr, "other");
            EXPECT_EQ((second.timer.Set(5000L), CountTids()), 3u);
        }
        EXPECT_EQ((first.timer.Set(Time::Span::Max()), CountTids()), 2u);
    }
    EXPECT_EQ(CountTids(), 1u);
    struct Bare : TimerBase { // does not leave ahead of its end
        Bare()
            : TimerBase("owner", nullptr, "bare") {}
        void Run() const override {}
    };
    Bare().Set(9000L);
    EXPECT_EQ(log_.Take(), LinesT(5, ACTIVE));
    struct Own {
        void Fire() { delete this; }
        Timer<Own> const timer{"own", this, &Own::Fire, nullptr};
    };
    (new Own)->timer.Set(0L);
    EXPECT_TRUE(log_.Await("C Timer: \"Timer\": system failed [0xcffd****], the last timer was destroyed by a callback."));
    EXPECT_EQ(CountTids(), 2u); // the thread cannot end itself, and stays for the next one
    EXPECT_TRUE(Owner([] {}).timer.Initialized());
    EXPECT_EQ(CountTids(), 1u);
}

TEST_F(TimerTest, OneWithoutAQueueDoesNothing) {
    LinesT const lines{"C Timer: system failed [0xcffd****], its thread does not run.",
                       "C Timer: unable to create \"poor\" queue."};
    ForEveryAllocation(
        [&](Heap& heap) {
            heap.Arm();
            Owner const owner([] {}, nullptr, "poor");
            heap.Disarm();
            owner.timer.Set(0L), owner.timer.Cancel();
            EXPECT_EQ(owner.timer.Initialized(), !heap.Fired());
            LinesT const said = log_.Take();
            EXPECT_EQ(LinesT(said.end() - std::min(ssize(said), 2L), said.end()), heap.Fired() ? lines : LinesT{});
        },
        Heap::ScopeT::PROCESS);
}

TEST_F(TimerTest, OneDestroyedWhileDueDoesNoHarm) {
    std::atomic<int> fired = 0;
    std::optional<Owner> owner;
    Mutex const mutex(Mutex::CORE);
    {
        Clock clock;
        owner.emplace([&] { ++fired; }).timer.Set(10L);
        EXPECT_TRUE(clock.AwaitWaiters(1));
        Calls calls; // it expires as the destructor begins
        auto const expire = [&] { EXPECT_TRUE((clock.Advance(10), Await([&] { return fired == 1; }))); };
        calls.Script(SysCall::pthread_mutex_trylock, {Calls::Do(expire)});
        owner.reset();
    }
    EXPECT_TRUE(log_.Take().empty());
    owner.emplace([&] { ++fired, owner->timer.Set(0L), Clock::RealPause(5); }).timer.Set(0L);
    EXPECT_TRUE(Await([&] { return fired >= 2; }));
    owner.reset(); // it calls, and was set again
    Mutex::Guard const guard(mutex);
    owner.emplace([&] { fired = -1; }, &mutex).timer.Set(0L);
    Clock::RealPause(5), owner.reset(); // it waits for its lock
    EXPECT_NE(fired, -1);
    EXPECT_EQ(log_.Take(), LinesT(2, ACTIVE));
}

TEST_F(TimerTest, ThousandsOfTimersOfSeveralThreadsFireOnceForEachSet) {
    auto const run = [](char const* queue) {
        std::deque<Owner> owners;
        for (int i = 0; i < 500; ++i) owners.emplace_back([] {}, nullptr, queue).timer.Set(i * 7L % 20);
        for (Owner& owner : owners) EXPECT_LE((owner.timer.Cancel(), owner.fired.exchange(0)), 1);
        for (Owner const& owner : owners) owner.timer.Set(5L);
        for (Owner const& owner : owners) EXPECT_TRUE(Await([&] { return owner.fired == 1; }));
    };
    std::thread threads[] = {std::thread(run, "a"), std::thread(run, "b"), std::thread(run, "a"), std::thread(run, "b")};
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(log_.Take(), LinesT{});
}

} // namespace
