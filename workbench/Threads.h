// A main thread with its log for the scope of a test, workers that run a given body, and a wait for what
// other threads do.
//
//     struct LeasesTest : WithMainThread {};
//
//     TEST_F(LeasesTest, AreSetByTwoThreads) {
//         Leases leases;
//         Worker other([&] { leases.Set("camera", "10.0.0.8"); });
//         ASSERT_EQ(other.Start(), Thread::STARTED);
//         leases.Set("printer", "10.0.0.7");
//         EXPECT_TRUE(Await([&] { return leases.Size() == 2; }) && other.Stop());
//         EXPECT_EQ(log_.Take(), LogCapture::LinesT{});
//     }
//
// Header only: the workbench itself links nothing of the library, and a test that includes this header has
// the library anyway. For a plain std::thread nothing of this is needed, but then the library does not know
// it.
//
// Owns       a Worker keeps its body, and what that refers to must outlive it: declare it behind that
// Threads    Start() and Stop() by any thread but the worker itself; Await() and CountTids() by any
// Waits      Await() for 10 real seconds at most, whatever a Clock says; Stop() and RunInWorker() until the
// body
//            has returned, however long that takes
// Locks      a body that takes a lock which the caller of Stop() or RunInWorker() holds never ends
// Destroy    a Worker behind Stop(): one that still runs is joined, and the log says so
// Failure    a WithMainThread without memory for its thread has a null main_, and no worker starts
#pragma once

#include "workbench/Clock.h"
#include "workbench/LogCapture.h"
#include "zeb/core/Array.h"
#include "zeb/core/AutoPtr.h"
#include "zeb/runtime/ThreadMain.h"

#include <chrono>
#include <functional>
#include <semaphore>
#include <utility>

#include <gtest/gtest.h>

// The fixture of tests that start threads, timers or task queues, which all want the main thread to be known.
// main_ ends ahead of log_: lines of threads that are ended with the members of a test are still captured.
struct WithMainThread : testing::Test {
    LogCapture log_;
    AutoPtr<ThreadMain> main_{ThreadMain::New("test")};
};

// A thread of the library that runs `run` once for each Start(), which answers Thread::STARTED. What its
// Thread::Self() says, its locks, its status and its interruption are as in a daemon.
struct Worker : Thread {
    explicit Worker(std::function<void()> run, char const* name = "worker")
        : Thread(name)
        , body(std::move(run)) {}
    ReturnT Run() override { return body(), ReturnT::Done(); }

    std::function<void()> const body;
};

// Runs the body in a worker to its end; a Stop() right behind the Start() would interrupt it instead.
inline void RunInWorker(std::function<void()> const& body) {
    std::binary_semaphore done(0);
    Worker worker([&] { body(), done.release(); });
    ASSERT_EQ(worker.Start(), Thread::STARTED);
    done.acquire();
    ASSERT_TRUE(worker.Stop());
}

// Waits until `happened` answers true, which is asked once a real millisecond; false if it never did. It may
// move a Clock, too: Await([&] { return clock.Advance(10), fired == 1; }).
inline bool Await(std::function<bool()> const& happened) {
    for (int i = 0; i < 10000 && !happened(); ++i)
        Clock::RealPause(1);
    return happened();
}

// How many threads of the library there are now, with the main thread: whether one was left behind.
inline unsigned long CountTids() {
    Array<int> tids;
    EXPECT_TRUE(Thread::GetTids(tids));
    return tids.Size();
}

// Runs the body in a thread of the library, interrupts it after 20 ms of real time, and expects it to end
// within a third of a second, as every wait of the library does.
inline void ExpectInterrupted(std::function<void()> const& body) {
    AutoPtr<ThreadMain> const main(ThreadMain::New("interrupted"));
    Worker worker(body);
    ASSERT_EQ(worker.Start(), Thread::STARTED);
    Clock::RealPause(20);
    auto const start = std::chrono::steady_clock::now();
    worker.Interrupt();
    EXPECT_TRUE(worker.Stop());
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(380));
}
