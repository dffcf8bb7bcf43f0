// Code that a thread runs until it is interrupted.
#pragma once

#include "zeb/runtime/ThreadMain.h"

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <thread>

// Runs `body` in a thread that is interrupted after `delayMs` of real time, or ahead of the body when that is
// negative, and expects the thread to end within a third of a second.
inline void Interrupted(std::function<void()> const& body, long delayMs = 20) {
    using namespace std::chrono;
    struct Worker : Thread {
        using Thread::Thread;
        ReturnT Run() override {
            while (early && !IsInterrupted())
                Yield();
            (*body)();
            return ReturnT::Done();
        }
        std::function<void()> const* body = nullptr;
        bool early = false;
    };
    std::unique_ptr<ThreadMain> const main(ThreadMain::New("io_test"));
    ASSERT_TRUE(main);
    Worker worker("Worker");
    worker.body = &body;
    worker.early = delayMs < 0;
    ASSERT_EQ(worker.Start(), Thread::STARTED);
    std::this_thread::sleep_for(milliseconds(delayMs));
    auto const start = steady_clock::now();
    worker.Interrupt();
    EXPECT_TRUE(worker.Stop());
    EXPECT_LT(steady_clock::now() - start, milliseconds(380));
}
