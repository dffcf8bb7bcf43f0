#pragma once

// Stats::Collector: a periodic alarm. A client derives from it and reads its counters in OnStatsAlarm_(). For
// work at a given moment, or once, take a Timer (zeb/timer/Timer.h); for work that takes long post a task
// from the alarm: all collectors of a program share one thread.
//
//   class Traffic : public Stats::Collector {
//   public:
//       Traffic() : Collector(Time::Span(3000), &mutex_) {}
//       ~Traffic() override { Deactivate(); }                 // ahead of all else
//       char const* Name() const override { return "traffic"; }
//   private:
//       void OnStatsAlarm_() override { ... }                 // each 3 s, with mutex_ held
//       Mutex mutex_{Mutex::INTERFACE};
//   };
//
// Owns      its place in the schedule; the lock belongs to the client and outlives the collector
// Threads   any. The alarm runs on the "Statistics collector thread", which starts with the first collector
//           of a program and ends with the last
// Alarm     the first one comes as soon as the collector is activated, then one each period; those that were
//           missed are skipped. It runs under the lock given at construction, if any, and holds no other. The
//           lock is only tried: while it is busy the alarm is repeated each 50 milliseconds, with a warning
//           each 30 seconds, and the alarms of all others wait
// Waits     Deactivate(), and so the destructor, until no alarm of the collector runs, unless it is called
//           from that alarm; nothing interrupts that wait. Its caller may hold the lock of the collector
// Locks     hold none around Deactivate() that the alarm takes itself, other than that one
// Destroy   anywhere but in an alarm of its own, and the last one in no alarm. A derived class deactivates
//           itself first: behind its destructor the alarm would find it gone
// Memory    for the place and the thread at construction. Without them, or with a period that is not above 0,
//           it is not initialized, which is logged, and does nothing

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
