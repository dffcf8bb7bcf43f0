#include "zeb/stats/Collector.h"

#include "zeb/core/Time.h"
#include "zeb/runtime/StatusLog.h"
#include "zeb/stats/CollectorImpl.h"

#include <new>

namespace Stats {

namespace {

constexpr char const THREAD_NAME[] = "Statistics collector thread";

constexpr long PER_SECOND = 1000000; // microseconds

long Microseconds_(Time::Span const& span) {
    return span.Parts().Seconds() * PER_SECOND + span.Parts().Microseconds();
}

// The first of the moments a period apart, from one that is past, that is later than now. A period may be too
// long for a number of microseconds.
Time::Span NextAfter_(Time::Span const& past, Time::Span const& period, Time::Span const& now) {
    if (past + period > now) return past + period;
    long const step = Microseconds_(period);
    long const ahead = Microseconds_(now - past) / step * step + step;
    return past + Time::Span(Time::Span::Value(ahead / PER_SECOND, ahead % PER_SECOND));
}

} // namespace

constinit Mutex const Thread_::lock_(Mutex::PRE_ULTIMATE);
constinit Thread_* Thread_::instance_ = nullptr;
constinit unsigned long Thread_::count_ = 0;

Collector::Collector(Time::Span const& period, Mutex const* lock)
    : period_(period)
    , lock_(lock) {
    if (Create_()) return;
    (void)ReturnT(
        StatusLog(ReturnT::Fail(), Log::CRITICAL, IDENT, nullptr, "").SetFail()); // Initialized() tells
}

Collector::~Collector() {
    Deactivate();
    delete entry_;
    Thread_::Release();
}

bool Collector::Create_() {
    if (!Thread_::Acquire() || period_ <= Time::Span::Zero()) return false;
    entry_ = new (std::nothrow) Entry_(*this);
    return entry_ != nullptr;
}

bool Collector::Initialized() const { return entry_ != nullptr; }

void Collector::Activate() {
    if (entry_) Thread_::Instance().Activate(*entry_);
}

void Collector::Deactivate() {
    if (entry_) Thread_::Instance().Deactivate(*entry_);
}

Thread_::Thread_()
    : Thread(THREAD_NAME) {
    started_ = Thread::Initialized() && Start().Succeeded();
}

Thread_::~Thread_() {
    if (started_) End_();
    schedule_.Clear();
}

bool Thread_::Initialized() const { return Thread::Initialized() && started_; }

bool Thread_::Acquire() {
    Mutex::Guard const guard(lock_);
    ++count_;
    if (!instance_) instance_ = New_();
    return instance_ != nullptr;
}

void Thread_::Release() {
    Mutex::Guard const guard(lock_);
    if (--count_ != 0) return;
    delete instance_;
    instance_ = nullptr;
}

Thread_* Thread_::New_() {
    Thread_* const thread = new (std::nothrow) Thread_;
    if (!thread || thread->Initialized()) return thread;
    delete thread;
    return nullptr;
}

void Thread_::End_() {
    {
        Mutex::Guard const guard(condition_);
        SetStop();
        condition_.Broadcast();
    }
    (void)Stop(); // a failure is in the log
}

void Thread_::Activate(EntryT& entry) {
    Mutex::Guard const guard(condition_);
    if (entry.active) return;
    entry.active = true;
    entry.next = Time::Monotonic();
    Insert_(entry);
    condition_.Broadcast();
}

void Thread_::Deactivate(EntryT& entry) {
    Mutex::Guard const guard(condition_);
    while (current_ == &entry && Self() != this) // also an alarm that has deactivated its collector
        condition_.Wait(-1L);
    schedule_.Remove(entry);
    entry.active = false;
}

void Thread_::Insert_(EntryT& entry) {
    EntryT* before = schedule_.Front();
    while (before && before->next <= entry.next)
        before = schedule_.Next(*before);
    schedule_.Insert(entry, before);
}

ReturnT Thread_::Run() {
    Attempt_ attempt;
    while (!StopRequested()) {
        EntryT* const entry = AwaitDue_(attempt);
        if (!entry) continue;
        bool const delivered = Deliver_(*entry, attempt);
        if (Finish_(*entry, attempt, delivered)) Yield();
    }
    return ReturnT::Done();
}

// The entry whose alarm is due, now the current one. Null after a wait: the list may be another one then.
Thread_::EntryT* Thread_::AwaitDue_(Attempt_& attempt) {
    Mutex::Guard const guard(condition_);
    if (StopRequested()) return nullptr;
    EntryT* const first = schedule_.Front();
    if (!first) {
        condition_.Wait(-1L);
        return nullptr;
    }
    Time::Span const now = Time::Monotonic();
    if (now < first->next) {
        condition_.Wait(first->next - now);
        return nullptr;
    }
    current_ = first;
    if (attempt.entry != first || attempt.next != first->next) attempt = {first, first->next, Patience_()};
    return first;
}

// True if the alarm was delivered.
bool Thread_::Deliver_(EntryT& entry, Attempt_& attempt) {
    constexpr PatienceWords_ WORDS = {Collector::IDENT, nullptr,
                                      "unable to send a statistics alarm to \"%1\" for %2 seconds",
                                      "sending a statistics alarm to \"%1\" for %2 ms"};
    Collector& collector = entry.collector;
    return attempt.patience.Run(
        collector.Lock_(), [&] { collector.OnStatsAlarm_(); }, WORDS, collector.Name());
}

// True if the alarm is to be tried again after a pause. The entry is a live one only while it is the first of
// the list: from here on its owner may destroy it.
bool Thread_::Finish_(EntryT& entry, Attempt_ const& attempt, bool delivered) {
    Mutex::Guard const guard(condition_);
    current_ = nullptr;
    condition_.Broadcast();
    if (schedule_.Front() != &entry || entry.next != attempt.next || !entry.active) return false;
    if (!delivered) return true;
    schedule_.Remove(entry);
    entry.next = NextAfter_(entry.next, entry.collector.Period(), Time::Monotonic());
    Insert_(entry);
    return false;
}

} // namespace Stats
