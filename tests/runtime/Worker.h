// Threads for tests: a main thread for the scope of a test, and workers that run a given body.
#pragma once

#include "workbench/Clock.h"
#include "workbench/LogCapture.h"
#include "zeb/core/AutoPtr.h"
#include "zeb/runtime/ThreadMain.h"

#include <gtest/gtest.h>

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

inline unsigned long CountTids() {
    Array<int> tids;
    EXPECT_TRUE(Thread::GetTids(tids));
    return tids.Size();
}

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

// Waits for what other threads do; false after 10 real seconds.
inline bool Await(std::function<bool()> const& happened) {
    for (int i = 0; i < 10000 && !happened(); ++i) Clock::RealPause(1);
    return happened();
}

// The locks of the thread of that name as "NAME STATE", the first one taken first.
inline std::string LocksOf(CString const& name, bool* complete = nullptr) {
    AutoPVector<Thread::State, StdDeleter> states;
    EXPECT_EQ(Thread::GetStates(states), 0x00220190u);
    std::string locks;
    for (unsigned long i = 0; i < states.Size(); ++i) {
        if (!(states[i]->Name() == name)) continue;
        if (complete) *complete = states[i]->LockListComplete();
        for (Thread::Lock const& lock : states[i]->Locks()) {
            locks +=
                std::string(locks.empty() ? "" : ", ") + Mutex::PrecedenceName(lock.Precedence()) + " " + lock.State().Cstr();
            EXPECT_EQ(lock.Since().Cstr()[0] == '\0', &lock.State() == &Thread::Lock::RELEASED);
        }
    }
    return locks;
}

// Somebody polls for a lock that this thread holds, and logs that when the wait has reached 30 and 60
// seconds.
inline void ExpectWaitLines(Clock& clock, LogCapture& log, std::string const& text) {
    for (int const seconds : {31, 60}) {
        EXPECT_TRUE(clock.AwaitWaiters(1));
        clock.Advance(seconds == 31 ? 29000 : 28000);
        Clock::RealPause(5);
        EXPECT_TRUE(log.Take().empty());
        clock.Advance(seconds == 31 ? 2000 : 1000); // past the limit, and right to it
        EXPECT_TRUE(log.Await(text));
        EXPECT_EQ(log.Take(), LogCapture::LinesT{text + std::to_string(seconds) + " seconds."});
    }
}

class WithMainThread : public testing::Test {
protected:
    LogCapture log_;
    AutoPtr<ThreadMain> main_{ThreadMain::New("test")};
};
