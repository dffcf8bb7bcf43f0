#include "tests/support/Clock.h"

#include "tests/support/Child.h"

#include <atomic>
#include <cerrno>
#include <ctime>
#include <functional>
#include <thread>

#include <poll.h>
#include <pthread.h>
#include <semaphore.h>
#include <signal.h>
#include <sys/select.h>
#include <sys/time.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace {

constexpr long HOUR_MS = 3600000;

timespec Read(clockid_t clock) {
    timespec now = {};
    clock_gettime(clock, &now);
    return now;
}

long Milliseconds(clockid_t clock) { return Read(clock).tv_sec * 1000 + Read(clock).tv_nsec / 1000000; }

// A condition of the monotonic clock with its lock, as locks of the library have it.
struct Gate {
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    pthread_cond_t condition;
    bool open = false;

    Gate() {
        pthread_condattr_t attributes;
        pthread_condattr_init(&attributes);
        pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC);
        pthread_cond_init(&condition, &attributes);
    }

    int Wait() {
        timespec deadline = Read(CLOCK_MONOTONIC);
        deadline.tv_sec += HOUR_MS / 1000;
        pthread_mutex_lock(&mutex);
        int error = 0;
        while (!open && error == 0)
            error = pthread_cond_timedwait(&condition, &mutex, &deadline);
        pthread_mutex_unlock(&mutex);
        return error;
    }

    void Open() {
        pthread_mutex_lock(&mutex);
        open = true;
        pthread_cond_signal(&condition);
        pthread_mutex_unlock(&mutex);
    }
};

struct Row {
    char const* name;
    std::function<bool()> wait; // of one hour; true if it ended by its limit
};

timespec const HOUR = {HOUR_MS / 1000, 0};

timespec InAnHour(clockid_t clock) {
    timespec time = Read(clock);
    time.tv_sec += HOUR.tv_sec;
    return time;
}

bool Sigtimedwait() {
    sigset_t set;
    sigemptyset(&set);
    return sigtimedwait(&set, nullptr, &HOUR) == -1 && errno == EAGAIN;
}

bool Semaphore() {
    sem_t semaphore;
    sem_init(&semaphore, 0, 0);
    timespec const deadline = InAnHour(CLOCK_REALTIME);
    return sem_timedwait(&semaphore, &deadline) == -1 && errno == ETIMEDOUT;
}

bool Clockwait() {
    Gate gate;
    timespec const deadline = InAnHour(CLOCK_REALTIME);
    pthread_mutex_lock(&gate.mutex);
    int const error = pthread_cond_clockwait(&gate.condition, &gate.mutex, CLOCK_REALTIME, &deadline);
    pthread_mutex_unlock(&gate.mutex);
    return error == ETIMEDOUT;
}

bool Select() {
    timeval time = {HOUR.tv_sec, 0};
    return select(0, nullptr, nullptr, nullptr, &time) == 0;
}

bool AbsoluteSleep() {
    timespec const deadline = InAnHour(CLOCK_MONOTONIC);
    return clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &deadline, nullptr) == 0;
}

Row const ROWS[] = {
    {"nanosleep", [] { return nanosleep(&HOUR, nullptr) == 0; }},
    {"clock_nanosleep", AbsoluteSleep},
    {"sleep", [] { return sleep(HOUR_MS / 1000) == 0; }},
    {"poll", [] { return poll(nullptr, 0, HOUR_MS) == 0; }},
    {"ppoll", [] { return ppoll(nullptr, 0, &HOUR, nullptr) == 0; }},
    {"select", Select},
    {"sigtimedwait", Sigtimedwait},
    {"sem_timedwait", Semaphore},
    {"pthread_cond_timedwait", [] { return Gate().Wait() == ETIMEDOUT; }},
    {"pthread_cond_clockwait", Clockwait},
};

TEST(ClockTest, EveryWaitEndsWhenTheClockPassesItsDeadlineAndNotBefore) {
    for (Row const& row : ROWS) {
        SCOPED_TRACE(row.name);
        Clock clock;
        std::atomic<int> result{-1};
        std::thread waiter([&] { result = row.wait() ? 1 : 0; });
        EXPECT_TRUE(clock.AwaitWaiters(1));
        clock.Advance(HOUR_MS - 1);
        Clock::RealPause(5);
        EXPECT_EQ(result, -1);
        clock.Advance(1);
        waiter.join();
        EXPECT_EQ(result, 1);
        EXPECT_EQ(clock.Waiters(), 0u);
    }
}

TEST(ClockTest, AutomaticWaitsMoveTheClockAtOnce) {
    for (Row const& row : ROWS) {
        Clock clock(Clock::ModeT::AUTO);
        EXPECT_TRUE(row.wait()) << row.name;
        EXPECT_EQ(clock.Moved(), HOUR_MS * 1000000) << row.name;
    }
}

TEST(ClockTest, AWaitEndsEarlyWhenWhatItWaitsForHappens) {
    Clock clock;
    Gate gate;
    int error = -1;
    std::thread waiter([&] { error = gate.Wait(); });
    EXPECT_TRUE(clock.AwaitWaiters(1));
    gate.Open();
    waiter.join();
    EXPECT_EQ(error, 0);
    int pair[2];
    ASSERT_EQ(pipe(pair), 0);
    pollfd entry = {pair[0], POLLIN, 0};
    ASSERT_EQ(write(pair[1], "x", 1), 1);
    EXPECT_EQ(poll(&entry, 1, HOUR_MS), 1);
    EXPECT_EQ(clock.Moved(), 0);
    close(pair[0]);
    close(pair[1]);
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
        EXPECT_EQ(time(nullptr), 1000000000);
        EXPECT_EQ(Milliseconds(CLOCK_MONOTONIC) - start, HOUR_MS);
        clock.FailReading(EINVAL);
        timespec now;
        EXPECT_EQ(clock_gettime(CLOCK_MONOTONIC, &now), -1);
        EXPECT_EQ(clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now), 0);
    }
    {
        Clock clock(Clock::ModeT::RUNNING);
        clock.Advance(HOUR_MS);
        EXPECT_EQ(usleep(3000), 0);
        EXPECT_GE(Milliseconds(CLOCK_MONOTONIC) - before, HOUR_MS + 2);
    }
    EXPECT_LT(Milliseconds(CLOCK_MONOTONIC) - before, HOUR_MS);
}

TEST(ClockTest, ASecondClockEndsTheProcess) {
    Child const child = Child::Run([] {
        Clock one;
        Clock two;
    });
    EXPECT_EQ(child.Signal(), SIGABRT) << child;
}

} // namespace
