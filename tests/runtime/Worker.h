// The rig of this folder: a main thread for the scope of a test, workers that run a given body, and what most tests include.
#pragma once

#include "workbench/Calls.h"
#include "workbench/Child.h"
#include "workbench/Clock.h"
#include "workbench/Heap.h"
#include "workbench/LogCapture.h"
#include "workbench/TempDir.h"
#include "zeb/core/AutoPtr.h"
#include "zeb/core/Time.h"
#include "zeb/runtime/StatusLog.h"
#include "zeb/runtime/ThreadMain.h"

#include <atomic>
#include <csignal>
#include <functional>
#include <semaphore>
#include <thread>
#include <unistd.h>

using LinesT = LogCapture::LinesT;

// Allocations of the body fail as the heap says, and what it answers tells whether one has.
template<class BodyT>
bool Reported(Heap& heap, BodyT const& body) {
    heap.Arm();
    bool const ok = body();
    heap.Disarm();
    EXPECT_EQ(ok, !heap.Fired());
    return ok;
}

struct Worker : Thread {
    explicit Worker(std::function<void()> run, char const* name = "worker")
        : Thread(name)
        , body(std::move(run)) {}
    ReturnT Run() override { return body(), ReturnT::Done(); }

    std::function<void()> const body;
};

inline unsigned long CountTids() {
    Array<int> tids;
    EXPECT_TRUE(Thread::GetTids(tids));
    return tids.Size();
}

// Runs the body in a worker to its end.
inline void RunInWorker(std::function<void()> const& body) {
    std::binary_semaphore done(0);
    Worker worker([&] { body(), done.release(); });
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
                (locks.empty() ? "" : ", ") + std::string(Mutex::PrecedenceName(lock.Precedence())) + " " + lock.State().Cstr();
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
        EXPECT_TRUE(clock.AwaitWaiters(1) && log.Take().empty());
        clock.Advance(seconds == 31 ? 2000 : 1000); // past the limit, and right to it
        EXPECT_TRUE(log.Await(text));
        EXPECT_EQ(log.Take(), LinesT{text + std::to_string(seconds) + " seconds."});
    }
}

struct WithMainThread : testing::Test {
    LogCapture log_;
    AutoPtr<ThreadMain> main_{ThreadMain::New("test")};
};
