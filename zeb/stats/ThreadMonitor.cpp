#include "zeb/stats/ThreadMonitor.h"

#include "zeb/core/ErrorString.h"
#include "zeb/core/Time.h"
#include "zeb/doc/xml/Document.h"
#include "zeb/runtime/StatusLog.h"
#include "zeb/runtime/ThreadImpl.h"
#include "zeb/stats/CpuStatsImpl.h"

#include <cerrno>
#include <new>
#include <unistd.h>

namespace {

constexpr int PERIOD_MS = 1000;

} // namespace

void Thread::CpuStats_::Bind(int tid, clockid_t clock) {
    Clear();
    tid_ = tid;
    clock_ = clock;
}

int Thread::CpuStats_::Read(unsigned long cpuCount) {
    timespec time;
    if (clock_gettime(clock_, &time)) return errno;
    Update_(time, Time::Monotonic(), cpuCount);
    return 0;
}

bool Thread::MakeCpuStats_() {
    cpuStats_ = new (std::nothrow) CpuStats_(CpuStats_::SAMPLES);
    return cpuStats_ && cpuStats_->Initialized();
}

void Thread::FreeCpuStats_() {
    delete cpuStats_;
    cpuStats_ = nullptr;
}

// In the thread itself.
bool Thread::BindCpuStats_() {
    PlainGuard_ const guard(Registry_::lock);
    clockid_t clock;
    int const error = pthread_getcpuclockid(pthread_self(), &clock);
    if (!error) {
        cpuStats_->Bind(Id(), clock);
    } else if (error != ESRCH) {
        Log(Log::ERROR, IDENT, nullptr, "failed to bind thread %1 statistics: %2")
            << Name() << ErrorString(error);
    }
    return error == 0;
}

void Thread::UnbindCpuStats_() {
    PlainGuard_ const guard(Registry_::lock);
    cpuStats_->Unbind();
}

Thread::Monitor::Monitor(unsigned long samples)
    : Collector(Time::Span(PERIOD_MS), nullptr)
    , samples_(samples)
    , cpuStats_(new (std::nothrow) CpuStats_(samples_)) {
    if (cpuStats_) cpuStats_->Bind(getpid(), CLOCK_PROCESS_CPUTIME_ID);
}

Thread::Monitor::~Monitor() {
    Deactivate();
    delete cpuStats_;
    PlainGuard_ const guard(Registry_::lock);
    for (unsigned long i = 0; i < Registry_::threads.Size(); ++i)
        Registry_::threads[i]->cpuStats_->Clear();
}

bool Thread::Monitor::Initialized() const {
    return Collector::Initialized() && cpuStats_ && cpuStats_->Initialized();
}

void Thread::Monitor::OnStatsAlarm_() {
    long const processors = sysconf(_SC_NPROCESSORS_ONLN);
    PlainGuard_ const guard(Registry_::lock);
    for (unsigned long i = 0; i < Registry_::threads.Size(); ++i) {
        CpuStats_& stats = *Registry_::threads[i]->cpuStats_;
        int const error = stats.Tid() != TID_UNKNOWN ? stats.Read(1) : 0;
        if (!error) continue;
        Log(Log::ERROR, Thread::IDENT, nullptr, "failed to get thread %1 statistics: %2")
            << Registry_::threads[i]->Name() << ErrorString(error);
        stats.Unbind();
    }
    // The clock of the process itself is always there.
    if (cpuStats_) (void)cpuStats_->Read(processors > 0 ? static_cast<unsigned long>(processors) : 1);
}

// With the registry locked. That of the process for an unknown thread.
Thread::CpuStats_ const* Thread::Monitor::Find_(int tid) const {
    for (unsigned long i = 0; i < Registry_::threads.Size(); ++i) {
        CpuStats_ const* const stats = Registry_::threads[i]->cpuStats_;
        if (tid != TID_UNKNOWN && stats->Tid() == tid) return stats;
    }
    return cpuStats_;
}

ReturnT Thread::Monitor::AttachTo(int tid, Xml::Node& node) const {
    Xml::Node* const statistics = node.AppendElement("statistics");
    if (statistics) {
        PlainGuard_ const guard(Registry_::lock);
        if (CpuStats_ const* const stats = Find_(tid)) {
            statistics->AppendElement("interval", stats->Interval());
            if (stats->AttachTo(*statistics)) return ReturnT::Done();
        }
    }
    return ReturnT::Oom(); // whoever asked reports it
}
