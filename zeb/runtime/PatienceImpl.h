#pragma once

// How long a thread has been polling for a lock, and when that is worth a line: every 30 seconds. Not
// installed.

#include "zeb/core/Time.h"

class Patience_ {
public:
    Patience_()
        : start_(Now_()) {}

    // The whole seconds since the beginning if a line is due, else 0.
    long Due() {
        long const seconds = Now_() - start_;
        if (seconds < limit_) return 0;
        limit_ = (seconds + STEP) / STEP * STEP;
        return seconds;
    }

private:
    static constexpr long STEP = 30;

    static long Now_() { return Time::Monotonic().Parts().Seconds(); }

    long start_;
    long limit_ = STEP;
};
