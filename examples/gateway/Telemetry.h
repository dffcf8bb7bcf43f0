#pragma once

// What the threads of the gateway share: the newest sample, and the counts of what was done. Every operation
// takes the lock.

#include "Sample.h"

#include "zeb/runtime/Mutex.h"

#include <utility>

class Telemetry {
public:
    struct Counts {
        unsigned long samples = 0;
        unsigned long failures = 0;
        unsigned long stateFiles = 0;
    };

    // Takes the sample over, in exchange for the one before, and numbers it.
    void Put(Sample& sample) {
        Mutex::Guard const guard(mutex_);
        if (!guard.Held()) return;
        sample.number = ++counts_.samples;
        std::swap(newest_, sample);
    }
    void CountFailure() { Count_(counts_.failures); }
    void CountStateFile() { Count_(counts_.stateFiles); }

    // False if memory ran out, with the arguments as they were.
    bool Get(Sample& sample, Counts& counts) const {
        Mutex::Guard const guard(mutex_);
        if (!guard.Held() || !sample.Assign(newest_)) return false;
        counts = counts_;
        return true;
    }

private:
    void Count_(unsigned long& count) {
        Mutex::Guard const guard(mutex_);
        if (guard.Held()) ++count;
    }
    Mutex mutex_{Mutex::MONITOR};

    // Guarded by mutex_.
    Sample newest_;
    Counts counts_;
};
