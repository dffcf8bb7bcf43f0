#include "workbench/Clock.h"

#include "workbench/Child.h"

#include <atomic>
#include <cerrno>
#include <ctime>
#include <thread>

#include <poll.h>
#include <pthread.h>
#include <signal.h>
#include <unistd.h>

namespace {

constexpr long HOUR_MS = 3600000;

long Milliseconds(clockid_t clock) {
    timespec now = {};
    clock_gettime(clock, &now);
    return now.tv_sec * 1000 + now.tv_nsec / 1000000;
}

// A condition of the monotonic clock with its lock, as locks of the library have it.
struct Gate {
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    pthread_cond_t condition;
    bool open = false;

    Gate() {
        pthread_condattr_t attributes;
        pthread_condattr_init(&attributes), pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC);
        pthread_cond_init(&condition, &attributes);
    }

    int Wait() {
        timespec deadline;
        clock_gettime(CLOCK_MONOTONIC, &deadline), deadline.tv_sec += HOUR_MS / 1000;
        pthread_mutex_lock(&mutex);
        int error = 0;
        while (!open && error == 0) error = pthread_cond_timedwait(&condition, &mutex, &deadline);
        pthread_mutex_unlock(&mutex);
        return error;
    }
};

timespec const HOUR = {HOUR_MS / 1000, 0};
sigset_t const NO_SIGNAL = {};

// Waits of one hour; true if it ended by its limit.
std::pair<char const*, bool (*)()> const WAITS[] = {
    {"nanosleep", [] { return nanosleep(&HOUR, nullptr) == 0; }},
    {"poll", [] { return poll(nullptr, 0, HOUR_MS) == 0; }},
    {"sigtimedwait", [] { return sigtimedwait(&NO_SIGNAL, nullptr, &HOUR) == -1 && errno == EAGAIN; }},
    {"pthread_cond_timedwait", [] { return Gate().Wait() == ETIMEDOUT; }},
};

TEST(ClockTest, EveryWaitEndsWhenTheClockPassesItsDeadlineAndNotBefore) {
    for (auto const& [name, wait] : WAITS) {
        SCOPED_TRACE(name);
        Clock clock;
        std::atomic<int> result{-1};
        std::thread waiter([&, wait = wait] { result = wait() ? 1 : 0; });
        EXPECT_TRUE(clock.AwaitWaiters(1));
        clock.Advance(HOUR_MS - 1);
        Clock::RealPause(5);
        EXPECT_EQ(result, -1);
        clock.Advance(1);
        waiter.join();
        EXPECT_EQ(result, 1);
        EXPECT_EQ(clock.Waiters(), 0u);
    }
    for (auto const& [name, wait] : WAITS) {
        Clock clock(Clock::ModeT::AUTO);
        EXPECT_TRUE(wait()) << name;
        EXPECT_EQ(clock.Moved(), HOUR_MS * 1000000) << name;
    }
}

TEST(ClockTest, AWaitEndsEarlyWhenWhatItWaitsForHappens) {
    Clock clock;
    Gate gate;
    int error = -1;
    std::thread waiter([&] { error = gate.Wait(); });
    EXPECT_TRUE(clock.AwaitWaiters(1));
    pthread_mutex_lock(&gate.mutex), gate.open = true;
    pthread_cond_signal(&gate.condition), pthread_mutex_unlock(&gate.mutex);
    waiter.join();
    EXPECT_EQ(error, 0);
    pollfd entry = {STDOUT_FILENO, POLLOUT, 0};
    EXPECT_EQ(poll(&entry, 1, HOUR_MS), 1);
    EXPECT_EQ(clock.Moved(), 0);
}

TEST(ClockTest, ReadingsFollowTheTestAndAreRealAfterwards) {
    long const before = Milliseconds(CLOCK_MONOTONIC);
    {
        Clock clock;
        long const start = Milliseconds(CLOCK_MONOTONIC);
        clock.Advance(HOUR_MS);
        EXPECT_EQ(Milliseconds(CLOCK_MONOTONIC) - start, HOUR_MS);
        clock.SetWall(1000000000, 5000000);
        EXPECT_EQ(Milliseconds(CLOCK_REALTIME), 1000000000005);
        EXPECT_EQ(Milliseconds(CLOCK_MONOTONIC) - start, HOUR_MS);
    }
    EXPECT_LT(Milliseconds(CLOCK_MONOTONIC) - before, HOUR_MS);
}

TEST(ClockTest, ASecondClockEndsTheProcess) {
    EXPECT_EQ(Child::Run([] { Clock one, two; }).Signal(), SIGABRT);
}

} // namespace
