#pragma once

// The thread of all collectors. Not installed.

#include "zeb/core/Intrusive.h"
#include "zeb/core/TimeSpan.h"
#include "zeb/runtime/Condition.h"
#include "zeb/runtime/PatienceImpl.h"
#include "zeb/runtime/Thread.h"
#include "zeb/stats/Collector.h"

namespace Stats {

// The place of a collector in the schedule, guarded by the lock of the thread.
class Collector::Entry_ {
public:
    explicit Entry_(Collector& owner)
        : collector(owner) {}

    Intrusive::Hook hook;
    Time::Span next; // alarm, on the monotonic clock
    Collector& collector;
    bool active = false;
};

class Thread_ : public Thread {
public:
    using EntryT = Collector::Entry_;

    Thread_();
    ~Thread_() override;

    // The thread of the first collector of a program, for one more of them; for one less of them, the last of
    // which ends it. False if it could not be had.
    static bool Acquire();
    static void Release();
    static Thread_& Instance() { return *instance_; }

    bool Initialized() const override;
    ReturnT Run() override;

    void Activate(EntryT& entry);
    void Deactivate(EntryT& entry);

private:
    // An attempt to deliver an alarm, and how long attempts have failed.
    struct Attempt_ {
        EntryT const* entry = nullptr;
        Time::Span next;
        Patience_ patience; // from the first attempt on
    };

    static Thread_* New_();
    void End_();

    void Insert_(EntryT& entry);
    EntryT* AwaitDue_(Attempt_& attempt);
    static bool Deliver_(EntryT& entry, Attempt_& attempt);
    bool Finish_(EntryT& entry, Attempt_ const& attempt, bool delivered);

    // Guards what follows.
    Condition condition_{Mutex::ULTIMATE};
    EntryT* current_ = nullptr;                       // the one being served
    Intrusive::List<EntryT, &EntryT::hook> schedule_; // by `next`, equal ones as they came
    bool started_ = false;

    // Of the process.
    static Mutex const lock_;
    static Thread_* instance_;
    static unsigned long count_; // collectors
};

} // namespace Stats
