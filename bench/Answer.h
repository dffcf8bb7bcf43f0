// What a thread of a benchmark waits for, and another one gives.
#pragma once

#include <condition_variable>
#include <mutex>

class Answer {
public:
    void Give() {
        std::unique_lock const lock(mutex_);
        given_ = true;
        changed_.notify_one();
    }
    void Await() {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return given_; });
        given_ = false;
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    bool given_ = false;
};
