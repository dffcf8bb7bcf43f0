// Code that a thread runs until it is interrupted.
#pragma once

#include "zeb/core/AutoPtr.h"
#include "zeb/runtime/ThreadMain.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <ctime>
#include <functional>

// Runs `body` in a thread that is interrupted after `delayMs` of real time, or ahead of the body when that is
// negative, and expects the thread to end within a third of a second.
inline void Interrupted(std::function<void()> const& body, long delayMs = 20) {
    struct Worker : Thread {
        explicit Worker(std::function<void()> const& work)
            : Thread("Worker")
            , body(work) {}
        ReturnT Run() override {
            while (early && !IsInterrupted())
                Yield();
            body();
            return ReturnT::Done();
        }
        std::function<void()> const& body;
        bool early = false;
    };
    AutoPtr<ThreadMain, StdDeleter> const main(ThreadMain::New("io_test"));
    ASSERT_TRUE(main);
    Worker worker(body);
    worker.early = delayMs < 0;
    ASSERT_EQ(worker.Start(), Thread::STARTED);
    if (delayMs > 0) usleep(static_cast<useconds_t>(delayMs * 1000));
    timespec start, end;
    clock_gettime(CLOCK_MONOTONIC, &start);
    worker.Interrupt();
    EXPECT_TRUE(worker.Stop());
    clock_gettime(CLOCK_MONOTONIC, &end);
    EXPECT_LT((end.tv_sec - start.tv_sec) * 1000 + (end.tv_nsec - start.tv_nsec) / 1000000, 380);
}
