#pragma once

// The processor load that each thread carries. Not installed.

#include "zeb/runtime/Thread.h"
#include "zeb/stats/Cpu.h"

#include <ctime>

// The load of one thread while it runs, or of the process. Guarded by the registry of threads.
class Thread::CpuStats_ : public Stats::Cpu {
public:
    static constexpr unsigned long SAMPLES = 31;
    static constexpr clockid_t UNBOUND_CLOCK = CLOCK_THREAD_CPUTIME_ID;

    explicit CpuStats_(unsigned long samples)
        : Cpu(samples) {}

    // Samples start afresh.
    void Bind(int tid, clockid_t clock);
    void Unbind() { Bind(TID_UNKNOWN, UNBOUND_CLOCK); }

    int Tid() const { return tid_; }

    // Takes a sample. 0 or an error number.
    int Read(unsigned long cpuCount);

private:
    int tid_ = TID_UNKNOWN;
    clockid_t clock_ = UNBOUND_CLOCK;
};
