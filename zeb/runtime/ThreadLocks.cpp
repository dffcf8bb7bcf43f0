// The monitor of the locks: what each operation of Mutex and Condition means for the lock stack of the
// thread.

#include "zeb/core/Log.h"
#include "zeb/core/Time.h"
#include "zeb/core/TimeStamp.h"
#include "zeb/runtime/ThreadImpl.h"

namespace {

char const* Name_(Mutex const& mutex) { return Mutex::PrecedenceName(mutex.Precedence()); }

} // namespace

Thread::LockRecord_::~LockRecord_() { pthread_mutex_destroy(&mutex); }

bool Thread::LockRecord_::Grow() {
    if (!entries.PushBack(Entry())) return false;
    while (entries.Size() % GROWTH != 0)
        (void)entries.PushBack(Entry()); // the array has room for a whole group
    return true;
}

// Room for one more entry. If there is no memory, the list is incomplete from here on.
bool Thread::LockRecord_::MakeRoom() {
    if (depth < entries.Size()) return true;
    if (depth == entries.Size()) {
        if (Grow()) return true;
        (Log(Log::CRITICAL, Thread::IDENT, name.Cstr(), "") << Log::Backtrace(1)).Oom(ReturnT::Oom());
    }
    return false;
}

void Thread::LockRecord_::CheckOrder(Mutex const& taken) const {
    if (depth == 0) return;
    Mutex const& below = *entries[depth - 1].mutex;
    if (below.Precedence() < taken.Precedence()) return;
    Log(Log::CRITICAL, Thread::IDENT, name.Cstr(), "lock precedence violation: %1 (%2) after %3 (%4)")
        << Name_(taken) << taken.Precedence() << Name_(below) << below.Precedence() << Log::Backtrace(1);
}

// The topmost entry if it is that of the mutex.
Thread::LockRecord_::Entry* Thread::LockRecord_::ExpectTop(Mutex const& expected, char const* operation) {
    if (depth == 0) {
        Log(Log::CRITICAL, Thread::IDENT, name.Cstr(), "%1 lock acquisition violation: no lock to %2")
            << Name_(expected) << operation << Log::Backtrace(1);
        return nullptr;
    }
    Entry& top = entries[depth - 1];
    if (top.mutex == &expected) return &top;
    Log(Log::CRITICAL, Thread::IDENT, name.Cstr(), "%1 lock: unexpected %2 operation, %3 lock expected")
        << Name_(expected) << operation << Name_(*top.mutex) << Log::Backtrace(1);
    return nullptr;
}

void Thread::LockRecord_::Change(Entry& entry, class Lock::State const& state, Time::Span const& when) {
    if (when.Parts().Seconds() != second) {
        second = when.Parts().Seconds();
        if (Time::Now().AsString(Time::Stamp::LOG, Time::Stamp::LOCAL, wallClock.text).Failed()) {
            wallClock.text[0] = '\0';
            Log(Log::CRITICAL, Thread::IDENT, name.Cstr(), "").Fail(ReturnT::Fail());
        }
    }
    entry.state = &state;
    entry.since = when;
    entry.text = wallClock;
}

void Thread::LockPush_(Mutex const& mutex, LockPushT_ type, Time::Span const& now) {
    LockRecord_& record = *lockRecord_;
    PlainGuard_ const guard(record.mutex);
    if (record.MakeRoom()) {
        record.CheckOrder(mutex);
        LockRecord_::Entry& entry = record.entries[record.depth];
        entry.mutex = &mutex;
        if (type == PUSH_ACQUIRED) {
            record.Change(entry, Lock::ACQUIRED, now);
        } else {
            entry.state = &Lock::RELEASED;
            entry.since = Time::Span::Zero();
            entry.text = {};
        }
    }
    ++record.depth;
}

void Thread::LockAcquired_(Mutex const& mutex, Time::Span const& now) {
    LockRecord_& record = *lockRecord_;
    PlainGuard_ const guard(record.mutex);
    if (record.IsIncomplete()) return;
    LockRecord_::Entry* const top = record.ExpectTop(mutex, "acquisition");
    if (!top) return;
    if (top->state == &Lock::RELEASED) return record.Change(*top, Lock::ACQUIRED, now);
    Log(Log::CRITICAL, IDENT, record.name.Cstr(), "%1 lock is in unexpected state %2, %3 expected")
        << Name_(mutex) << *top->state << Lock::RELEASED << Log::Backtrace(1);
}

void Thread::LockWaitStarted_(Mutex const& mutex, Time::Span const& now) {
    LockRecord_& record = *lockRecord_;
    PlainGuard_ const guard(record.mutex);
    if (record.IsIncomplete()) return;
    LockRecord_::Entry* const top = record.ExpectTop(mutex, "wait");
    if (!top) return;
    if (top->state == &Lock::ACQUIRED) return record.Change(*top, Lock::WAITING, now);
    Log(Log::CRITICAL, IDENT, record.name.Cstr(), "trying to wait on an unlocked %1 lock")
        << Name_(mutex) << Log::Backtrace(1);
}

void Thread::LockWaitFinished_(Mutex const& mutex, Time::Span const& now) {
    LockRecord_& record = *lockRecord_;
    PlainGuard_ const guard(record.mutex);
    if (record.IsIncomplete()) return;
    LockRecord_::Entry* const top = record.ExpectTop(mutex, "finish to wait");
    if (!top) return;
    if (top->state == &Lock::WAITING) return record.Change(*top, Lock::ACQUIRED, now);
    Log(Log::CRITICAL, IDENT, record.name.Cstr(), "%1 lock finished waiting in %2 state")
        << Name_(mutex) << *top->state << Log::Backtrace(1);
}

void Thread::LockPop_(Mutex const& mutex, LockPopT_ type) {
    LockRecord_& record = *lockRecord_;
    PlainGuard_ const guard(record.mutex);
    if (record.IsIncomplete()) {
        --record.depth;
        return;
    }
    if (record.depth == 0) {
        Log(Log::CRITICAL, IDENT, record.name.Cstr(), "%1 lock/unlock count mismatch")
            << Name_(mutex) << Log::Backtrace(1);
        return;
    }
    LockRecord_::Entry const* const top = record.ExpectTop(mutex, "pop");
    if (!top) return;
    class Lock::State const& expected = type == POP_RELEASED ? Lock::RELEASED : Lock::ACQUIRED;
    if (top->state != &expected) {
        // The two states stand the other way round than in LockAcquired_.
        Log(Log::CRITICAL, IDENT, record.name.Cstr(), "%1 lock is in unexpected state %2, %3 expected")
            << Name_(mutex) << expected << *top->state << Log::Backtrace(1);
    }
    --record.depth;
}

bool Thread::LockIsAcquired_(Mutex const& mutex, Log::VerboseT verbose) const {
    LockRecord_ const& record = *lockRecord_;
    if (record.IsIncomplete()) return true;
    for (unsigned long i = record.depth; i != 0; --i) {
        LockRecord_::Entry const& entry = record.entries[i - 1];
        if (entry.mutex == &mutex) return entry.state == &Lock::ACQUIRED;
    }
    if (verbose != Log::VERBOSE_OFF) {
        Log(Log::CRITICAL, IDENT, record.name.Cstr(), "%1 lock: not found in an acquired locks list")
            << Name_(mutex) << Log::Backtrace(1);
    }
    return false;
}
