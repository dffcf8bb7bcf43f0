// Threads for tests: a main thread for the scope of a test, and workers that run a given body.
#pragma once

#include "tests/support/Clock.h"
#include "tests/support/LogCapture.h"
#include "zeb/core/AutoPtr.h"
#include "zeb/runtime/ThreadMain.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <semaphore>
#include <string>
#include <utility>

class Worker : public Thread {
public:
    explicit Worker(std::function<void()> body, char const* name = "worker")
        : Thread(name)
        , body_(std::move(body)) {}

    ReturnT Run() override {
        body_();
        return ReturnT::Done();
    }

private:
    std::function<void()> body_;
};

// Runs the body in a worker to its end.
inline void RunInWorker(std::function<void()> body, char const* name = "worker") {
    std::binary_semaphore done(0);
    Worker worker(
        [&] {
            body();
            done.release();
        },
        name);
    ASSERT_EQ(worker.Start(), Thread::STARTED);
    done.acquire();
    ASSERT_TRUE(worker.Stop());
}

// Waits for what another thread does; false after 10 real seconds.
inline bool Await(std::function<bool()> const& happened) {
    for (int i = 0; i < 10000 && !happened(); ++i)
        Clock::RealPause(1);
    return happened();
}

inline int ThreadsOfName(char const* name) {
    AutoPVector<Thread::State, StdDeleter> states;
    EXPECT_TRUE(Thread::GetStates(states).Succeeded());
    int count = 0;
    for (unsigned long i = 0; i < states.Size(); ++i)
        count += states[i]->Name() == name;
    return count;
}

// A thread that holds the lock until Release().
struct LockHolder : private Worker {
    explicit LockHolder(Mutex const& mutex)
        : Worker([&] {
            Mutex::Guard const guard(mutex);
            held_ = true;
            Await([] { return Self()->StopRequested(); });
        }) {
        EXPECT_TRUE(Start() == STARTED && Await([&] { return held_.load(); }));
    }
    void Release() { EXPECT_TRUE(Stop()); }

    std::atomic<bool> held_ = false;
};

// A thread that polls for a held lock logs at 31 and at 61 seconds, when it is not looked at in between.
inline void ExpectWaitLines(Clock& clock, LogCapture& log, std::string const& text) {
    for (int const seconds : {31, 61}) {
        EXPECT_TRUE(clock.AwaitWaiters(1));
        clock.Advance(seconds == 31 ? 29000 : 28000);
        Clock::RealPause(5);
        EXPECT_TRUE(log.Take().empty());
        clock.Advance(2000);
        EXPECT_TRUE(Await([&] { return !log.Lines().empty(); }));
        EXPECT_EQ(log.Take(), LogCapture::LinesT{text + std::to_string(seconds) + " seconds."});
    }
}

class WithMainThread : public testing::Test {
protected:
    LogCapture log_;
    AutoPtr<ThreadMain> main_{ThreadMain::New("test")};
};

struct WithClock : WithMainThread {
    // Lets the time go on meanwhile.
    bool AwaitMoving(std::function<bool()> const& happened, long step = 10) {
        return Await([&] {
            clock.Advance(step);
            return happened();
        });
    }

    Clock clock;
    Mutex mutex{Mutex::CORE};
};
