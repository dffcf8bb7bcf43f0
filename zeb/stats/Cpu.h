#pragma once

// Stats::Cpu: the load of a thread or process in percent, from readings of its processor time. The first
// reading is only the base of the next; each further one is a sample. The element is named "cpu".
//
//   Stats::Cpu load(60);
//   load.Update_(processorTime, Time::Monotonic(), 1);      // each second; the first one gives no sample
//
// A Thread::Monitor (zeb/stats/ThreadMonitor.h) does that for all threads of a program. Owner, threads,
// failures and memory are those of Stats::Set.

#include "zeb/stats/Set.h"

namespace Stats {

class ZEB_PUBLIC Cpu : public Set {
public:
    explicit Cpu(unsigned long size);
    ~Cpu() override;

    bool Initialized() const override;
    void Clear() override;

    // A reading of the processor time used so far. With all of `cpuCount` processors busy a sample is 100.
    void Update_(Time::Span const& cpuTime, Time::Span const& wallTime, unsigned long cpuCount);

    // The seconds that the samples in the ring cover.
    long Interval() const;

    // The wall time of the last reading, zero without one.
    Time::Span const& LastUpdate() const { return lastWallTime_; }

private:
    void AddTime_(Time::Span const& time);

    Time::Span lastCpuTime_;
    Time::Span lastWallTime_;
    Block<Time::Span> times_; // of the samples
    unsigned long nextTime_ = 0;
    unsigned long lastTime_ = 0;
    bool timesFull_ = false;
};

} // namespace Stats
