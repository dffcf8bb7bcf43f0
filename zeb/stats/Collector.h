#pragma once

// Stats::Collector: a periodic alarm. A client derives from it and reads its counters in OnStatsAlarm_(). All
// collectors of a program share one thread, which starts with the first of them and ends with the last.
//
// The alarm runs on that thread, under the lock given at construction, if any. The lock is only tried: while
// it is busy the alarm is repeated each 50 milliseconds, with a warning each 30 seconds. A collector starts
// inactive; its first alarm comes as soon as it is activated, then one each period; alarms that were missed
// are skipped.
//
// Deactivate() returns when no alarm of the collector is running, unless it is called from that alarm. Its
// caller may hold the lock. A derived class calls it in its destructor, ahead of all else. A collector is not
// destroyed inside an alarm of its own, nor the last one inside any.
//
// A collector whose memory or thread could not be had, or whose period is not above 0, is not initialized and
// does nothing.

#include "zeb/core/AutoPtr.h"
#include "zeb/core/Export.h"
#include "zeb/core/TimeSpan.h"
#include "zeb/runtime/Mutex.h"

namespace Stats {

class Thread_;

class ZEB_PUBLIC Collector {
public:
    static constexpr char const IDENT[] = "Stats::Collector";

    // The lock may be null; it belongs to the client and outlives the collector. It is only kept: it may be a
    // member of the derived class, which is constructed later.
#if __has_cpp_attribute(gnu::access)
    [[gnu::access(none, 3)]]
#endif
    Collector(Time::Span const& period, Mutex const* lock);
    virtual ~Collector();
    Collector(Collector const&) = delete;
    Collector& operator=(Collector const&) = delete;

    virtual bool Initialized() const;

    // For the log.
    virtual char const* Name() const = 0;

    // Nothing happens to a collector that is active, or inactive, already. From any thread, also from the
    // alarm itself.
    void Activate();
    void Deactivate();

    Time::Span const& Period() const { return period_; }

protected:
    virtual void OnStatsAlarm_() = 0;

    Mutex const* Lock_() const { return lock_; }

private:
    friend class Thread_;
    class Entry_;

    bool Create_();

    Time::Span period_;
    Entry_* entry_ = nullptr;
    Mutex const* lock_;
};

} // namespace Stats
