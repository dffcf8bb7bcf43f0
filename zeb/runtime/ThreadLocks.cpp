// The monitor of the locks: what each operation of Mutex and Condition means for the lock stack of the
// thread.

#include "zeb/core/Log.h"
#include "zeb/core/Time.h"
#include "zeb/core/TimeStamp.h"
#include "zeb/core/UnseenImpl.h"
#include "zeb/runtime/ThreadImpl.h"

#include <cstring>

namespace {

char const* Name_(Mutex const& mutex) { return Mutex::PrecedenceName(mutex.Precedence()); }

} // namespace

Thread::LockRecord_::~LockRecord_() { pthread_mutex_destroy(&mutex); }

Thread::LockRecord_::Text::Text(struct Lock::Time const& time) {
    for (unsigned i = 0; i < sizeof(time) / sizeof(uint64_t); ++i) {
        uint64_t word;
        memcpy(&word, time.text + i * sizeof(word), sizeof(word));
        words_[i] = word;
    }
}

bool Thread::LockRecord_::Grow() {
    PlainGuard_ const guard(mutex);
    if (!entries.PushBack(Entry())) return false;
    while (entries.Size() % GROWTH != 0)
        (void)entries.PushBack(Entry()); // the array has room for a whole group
    return true;
}

// Until the reader has let the mutex go.
void Thread::LockRecord_::StandAside_() { PlainGuard_ const guard(mutex); }

ZEB_UNSEEN bool Thread::LockRecord_::MakeRoomSlowly_() {
    if (IsIncomplete()) return false;
    if (Grow()) return true;
    Log(Log::CRITICAL, Thread::IDENT, name.Cstr(), "").Oom(ReturnT::Oom()) << Log::Backtrace(0);
    return false;
}

ZEB_UNSEEN void Thread::LockRecord_::LogOrder_(Mutex const& taken) const {
    Mutex::PrecedenceT const below = entries[depth - 1].precedence;
    Log(Log::CRITICAL, Thread::IDENT, name.Cstr(), "lock precedence violation: %1 (%2) after %3 (%4)")
        << Name_(taken) << taken.Precedence() << Mutex::PrecedenceName(below) << below << Log::Backtrace(0);
}

// The topmost entry if it is that of the mutex.
ZEB_UNSEEN Thread::LockRecord_::Entry* Thread::LockRecord_::ExpectTop(Mutex const& expected,
                                                                      char const* operation) {
    if (depth == 0) {
        Log(Log::CRITICAL, Thread::IDENT, name.Cstr(), "%1 lock acquisition violation: no lock to %2")
            << Name_(expected) << operation << Log::Backtrace(0);
        return nullptr;
    }
    Entry& top = entries[depth - 1];
    if (top.mutex == &expected) return &top;
    Log(Log::CRITICAL, Thread::IDENT, name.Cstr(), "%1 lock: unexpected %2 operation, %3 lock expected")
        << Name_(expected) << operation << Mutex::PrecedenceName(top.precedence) << Log::Backtrace(0);
    return nullptr;
}

// The text is made at most once a second.
void Thread::LockRecord_::RefreshWallClock_(Time::Span const& when) {
    second_ = when.Parts().Seconds();
    struct Lock::Time time;
    if (Time::Now().AsString(Time::Stamp::LOG, Time::Stamp::LOCAL, time.text).Failed()) {
        Log(Log::CRITICAL, Thread::IDENT, name.Cstr(), "").Fail(ReturnT::Fail());
    }
    wallClock_ = Text(time);
}

void Thread::LockRecord_::Change(Entry& entry, class Lock::State const& state, Time::Span const& when) {
    if (when.Parts().Seconds() != second_) RefreshWallClock_(when);
    Writing_ const writing(*this);
    Store_(entry, state, when);
}

ZEB_UNSEEN void Thread::LockAcquired_(Mutex const& mutex, Time::Span const& now) {
    LockRecord_& record = *lockRecord_;
    if (record.IsIncomplete()) return;
    LockRecord_::Entry* const top = record.ExpectTop(mutex, "acquisition");
    if (!top) return;
    if (top->state == &Lock::RELEASED) return record.Change(*top, Lock::ACQUIRED, now);
    Log(Log::CRITICAL, IDENT, record.name.Cstr(), "%1 lock is in unexpected state %2, %3 expected")
        << Name_(mutex) << *top->state << Lock::RELEASED << Log::Backtrace(0);
}

ZEB_UNSEEN void Thread::LockWaitStarted_(Mutex const& mutex, Time::Span const& now) {
    LockRecord_& record = *lockRecord_;
    if (record.IsIncomplete()) return;
    LockRecord_::Entry* const top = record.ExpectTop(mutex, "wait");
    if (!top) return;
    if (top->state == &Lock::ACQUIRED) return record.Change(*top, Lock::WAITING, now);
    Log(Log::CRITICAL, IDENT, record.name.Cstr(), "trying to wait on an unlocked %1 lock")
        << Name_(mutex) << Log::Backtrace(0);
}

ZEB_UNSEEN void Thread::LockWaitFinished_(Mutex const& mutex, Time::Span const& now) {
    LockRecord_& record = *lockRecord_;
    if (record.IsIncomplete()) return;
    LockRecord_::Entry* const top = record.ExpectTop(mutex, "finish to wait");
    if (!top) return;
    if (top->state == &Lock::WAITING) return record.Change(*top, Lock::ACQUIRED, now);
    Log(Log::CRITICAL, IDENT, record.name.Cstr(), "%1 lock finished waiting in %2 state")
        << Name_(mutex) << *top->state << Log::Backtrace(0);
}

ZEB_UNSEEN void Thread::LockPopSlowly_(Mutex const& mutex, LockPopT_ type) {
    LockRecord_& record = *lockRecord_;
    if (record.IsIncomplete()) return record.SetDepth(record.depth - 1);
    if (record.depth == 0) {
        Log(Log::CRITICAL, IDENT, record.name.Cstr(), "%1 lock/unlock count mismatch")
            << Name_(mutex) << Log::Backtrace(0);
        return;
    }
    LockRecord_::Entry const* const top = record.ExpectTop(mutex, "pop");
    if (!top) return;
    // The two states stand the other way round than in LockAcquired_.
    class Lock::State const& expected = type == POP_RELEASED ? Lock::RELEASED : Lock::ACQUIRED;
    Log(Log::CRITICAL, IDENT, record.name.Cstr(), "%1 lock is in unexpected state %2, %3 expected")
        << Name_(mutex) << expected << *top->state << Log::Backtrace(0);
    record.SetDepth(record.depth - 1);
}

ZEB_UNSEEN void Thread::LogNotFound_(Mutex const& mutex) const {
    Log(Log::CRITICAL, IDENT, Name().Cstr(), "%1 lock: not found in an acquired locks list")
        << Name_(mutex) << Log::Backtrace(0);
}
