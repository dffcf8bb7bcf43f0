#pragma once

// Thread::Monitor: measures, each second, the processor load of every thread and of the process, while it is
// active. Abstract: the client gives it a Name(), and Activate()s it.
//
// Owns      the samples of the process; those of the threads lie in the threads themselves, 31 for each. So a
//           program has one monitor, and its end clears the samples of all threads
// Threads   any; the registry of threads guards the samples, and is held while AttachTo() prints
// Destroy   as a Collector: it is deactivated by the destructor of the derived class
// Failure   a clock of a thread that cannot be read is logged, and the thread is left out from then on
// Memory    at construction, or it is not initialized; AttachTo() takes that of the document

#include "zeb/core/Export.h"
#include "zeb/core/ReturnT.h"
#include "zeb/runtime/Thread.h"
#include "zeb/stats/Collector.h"

class ZEB_PUBLIC Thread::Monitor : public Stats::Collector {
public:
    // So many samples are kept of the process.
    explicit Monitor(unsigned long samples);
    ~Monitor() override;

    bool Initialized() const override;

    // Appends an element "statistics" with the load of that thread in percent of one processor, or, if there
    // is none, with the load of the process in percent of all processors. An Oom code if the document ran out
    // of memory.
    virtual ReturnT AttachTo(int tid, Xml::Node& node) const;

protected:
    void OnStatsAlarm_() override;

private:
    CpuStats_ const* Find_(int tid) const;

    unsigned long samples_;
    CpuStats_* cpuStats_;
};
