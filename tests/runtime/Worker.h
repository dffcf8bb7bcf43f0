// Threads for tests: a main thread for the scope of a test, and workers that run a given body.
#pragma once

#include "tests/support/LogCapture.h"
#include "zeb/core/AutoPtr.h"
#include "zeb/runtime/ThreadMain.h"

#include <gtest/gtest.h>

#include <functional>
#include <semaphore>
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

class WithMainThread : public testing::Test {
protected:
    LogCapture log_;
    AutoPtr<ThreadMain> main_{ThreadMain::New("test")};
};
