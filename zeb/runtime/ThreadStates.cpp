// What one thread can see of all others.

#include "zeb/runtime/StatusLog.h"
#include "zeb/runtime/ThreadImpl.h"

#include <cstring>
#include <new>
#include <time.h>

namespace {

constexpr ReturnT STATES_TAKEN{0x00220190};

constexpr timespec PAUSE = {0, 50000};

} // namespace

constinit class Thread::Lock::State const Thread::Lock::RELEASED("RELEASED");
constinit class Thread::Lock::State const Thread::Lock::ACQUIRED("ACQUIRED");
constinit class Thread::Lock::State const Thread::Lock::WAITING("WAITING");

Thread::Lock::Lock(Mutex::PrecedenceT precedence, class State const& state, struct Time const& since,
                   ::Time::Span const& timespan)
    : precedence_(precedence)
    , state_(&state)
    , since_(since)
    , timespan_(timespan) {}

Thread::State::State(CString const& name, int tid, bool complete, Array<Lock>&& locks)
    : tid_(tid)
    , locks_(std::move(locks))
    , complete_(complete)
    , initialized_(name_.Assign(name.Cstr(), name.Size())) {}

Thread::State::State(State const& other)
    : tid_(other.tid_)
    , complete_(other.complete_)
    , initialized_(other.initialized_ && name_.Assign(other.name_) && locks_.Assign(other.locks_) &&
                   error_.Assign(other.error_) && calls_.Assign(other.calls_)) {}

void Thread::SetTid_(int tid) {
    PlainGuard_ const guard(lockRecord_->mutex);
    lockRecord_->tid = tid;
}

int Thread::Tid_() const {
    PlainGuard_ const guard(lockRecord_->mutex);
    return lockRecord_->tid;
}

bool Thread::GetTids(Array<int>& tids) {
    Array<int> found;
    PlainGuard_ const guard(Registry_::lock);
    for (unsigned long i = 0; i < Registry_::threads.Size(); ++i) {
        int const tid = Registry_::threads[i]->Tid_();
        if (tid != TID_UNKNOWN && !found.PushBack(tid)) return false;
    }
    tids.Swap(found);
    return true;
}

int Thread::OwnerId(Mutex const& mutex) {
    PlainGuard_ const guard(Registry_::lock);
    for (unsigned long i = 0; i < Registry_::threads.Size(); ++i) {
        LockRecord_& record = *Registry_::threads[i]->lockRecord_;
        PlainGuard_ const recordGuard(record.mutex);
        if (record.ShowsAcquired(mutex)) return record.tid;
    }
    return TID_UNKNOWN;
}

ReturnT Thread::GetStates(AutoPVector<State, StdDeleter>& states) {
    states.Clear();
    if (CopyStates_(states)) return STATES_TAKEN;
    states.Clear();
    return StatusLog(ReturnT::Oom(), Log::CRITICAL, IDENT, nullptr, "").SetOom();
}

bool Thread::CopyStates_(AutoPVector<State, StdDeleter>& states) {
    PlainGuard_ const guard(Registry_::lock);
    for (unsigned long i = 0; i < Registry_::threads.Size(); ++i) {
        LockRecord_& record = *Registry_::threads[i]->lockRecord_;
        PlainGuard_ const recordGuard(record.mutex);
        AutoPtr<State> state(record.Snapshot());
        if (!state || !states.PushBack(state)) return false;
    }
    return true;
}

struct Thread::Lock::Time Thread::LockRecord_::Text::Get() const {
    struct Lock::Time time;
    for (unsigned i = 0; i < sizeof(time) / sizeof(uint64_t); ++i) {
        uint64_t const word = words_[i];
        memcpy(time.text + i * sizeof(word), &word, sizeof(word));
    }
    return time;
}

Thread::Lock Thread::LockRecord_::Entry::Get() const {
    class Lock::State const* const now = state;
    bool const known = now != &Lock::RELEASED;
    return Lock(precedence, *now, known ? text.Get() : Lock::Time(),
                known ? Time::Span(Time::Span::Value(seconds, microseconds)) : Time::Span::Zero());
}

// Runs the body until it has seen the stack of one moment. The pause lets a thread finish its change that
// this one has displaced from its processor.
template<class BodyT>
void Thread::LockRecord_::Read_(BodyT const& body) const {
    for (bool seen = false; !seen;) {
        unsigned long const before = sequence_.load(std::memory_order_acquire);
        if (before % 2 == 0) {
            body();
            LoadFence_();
            seen = sequence_.load(std::memory_order_relaxed) == before;
        }
        if (!seen && aside_.exchange(true)) clock_nanosleep(CLOCK_MONOTONIC, 0, &PAUSE, nullptr);
    }
    aside_ = false;
}

unsigned long Thread::LockRecord_::Stored_() const { return depth < entries.Size() ? depth : entries.Size(); }

bool Thread::LockRecord_::ShowsAcquired(Mutex const& wanted) const {
    bool found;
    Read_([&] {
        found = false;
        for (unsigned long i = Stored_(); i != 0 && !found; --i)
            found = entries[i - 1].mutex == &wanted && entries[i - 1].state == &Lock::ACQUIRED;
    });
    return found;
}

// Null when memory ran out.
Thread::State* Thread::LockRecord_::Snapshot() const {
    Array<Lock> locks;
    while (locks.Size() < entries.Size()) { // no allocation during the reading
        if (!locks.PushBack(Lock(Mutex::STATUS_LOG, Lock::RELEASED, {}, Time::Span::Zero()))) return nullptr;
    }
    unsigned long count;
    bool complete;
    Read_([&] {
        count = Stored_();
        complete = depth <= entries.Size();
        for (unsigned long i = 0; i < count; ++i)
            locks[i] = entries[i].Get();
    });
    while (locks.Size() > count)
        locks.PopBack();
    AutoPtr<State> state(new (std::nothrow) State(name, tid, complete, std::move(locks)));
    return state && state->Initialized() ? state.Release() : nullptr;
}
