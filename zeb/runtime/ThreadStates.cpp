// What one thread can see of all others.

#include "zeb/core/StatusLog.h"
#include "zeb/runtime/ThreadImpl.h"

#include <new>

namespace {

constexpr ReturnT STATES_TAKEN{0x00220190};

}

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
    , initialized_(other.initialized_ && name_.Assign(other.name_.Cstr(), other.name_.Size()) &&
                   locks_.Assign(other.locks_)) {}

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

unsigned long Thread::LockRecord_::Stored() const { return depth < entries.Size() ? depth : entries.Size(); }

bool Thread::LockRecord_::ShowsAcquired(Mutex const& wanted) const {
    for (unsigned long i = 0; i < Stored(); ++i) {
        if (entries[i].mutex == &wanted && entries[i].state == &Lock::ACQUIRED) return true;
    }
    return false;
}

// Null when memory ran out.
Thread::State* Thread::LockRecord_::Snapshot() const {
    Array<Lock> locks;
    for (unsigned long i = 0; i < Stored(); ++i) {
        Entry const& entry = entries[i];
        if (!locks.PushBack(Lock(entry.mutex->Precedence(), *entry.state, entry.text, entry.since)))
            return nullptr;
    }
    AutoPtr<State> state(new (std::nothrow) State(name, tid, !IsIncomplete(), std::move(locks)));
    return state && state->Initialized() ? state.Release() : nullptr;
}
