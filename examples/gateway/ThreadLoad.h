#pragma once

// The processor load of the threads of this program, each second.

#include "zeb/stats/ThreadMonitor.h"

class ThreadLoad : public Thread::Monitor {
public:
    static constexpr unsigned long SAMPLES = 60;

    ThreadLoad()
        : Monitor(SAMPLES) {}
    ~ThreadLoad() override { Deactivate(); }

    char const* Name() const override { return "ThreadLoad"; }
};
