#include "zeb/timer/TimerImpl.h"

#include "zeb/core/AutoPtr.h"
#include "zeb/core/Log.h"
#include "zeb/core/Time.h"

#include <new>
#include <sys/prctl.h>

namespace {

constexpr long FOREVER = -1;
constexpr unsigned long SLACK = 1; // nanoseconds by which the system may delay a wait

constinit Mutex const queuesLock_(Mutex::TIMER_QUEUE_LIST);

} // namespace

constinit TimerBase::Queue::ListT_ TimerBase::Queue::queues_;

TimerBase::Queue* TimerBase::Queue::Acquire(CString const& name) {
    Mutex::Guard const guard(queuesLock_);
    Queue* queue = Find_(name);
    if (!queue) queue = Create_(name);
    if (queue) {
        ++queue->references_;
    } else {
        Log(Log::CRITICAL, IDENT, nullptr, "unable to create \"%1\" queue") << name;
    }
    return queue;
}

TimerBase::Queue* TimerBase::Queue::Find_(CString const& name) {
    for (Queue& queue : queues_) {
        if (queue.Name() == name) return &queue;
    }
    return nullptr;
}

TimerBase::Queue* TimerBase::Queue::Create_(CString const& name) {
    AutoPtr<Queue> queue(new (std::nothrow) Queue(name));
    if (!queue || !queue->Initialized()) {
        Log(Log::CRITICAL, IDENT, nullptr, "its thread does not run").Fail(ReturnT::Fail());
        return nullptr;
    }
    queues_.PushBack(*queue);
    return queue.Release();
}

void TimerBase::Queue::Release(TimerBase const& timer) {
    Queue& queue = *timer.queue_;
    queue.Forget(timer);
    Mutex::Guard const guard(queuesLock_);
    if (--queue.references_ != 0) return;
    if (!queue.DifferentContext()) {
        // The thread cannot join itself; it stays for the next timer.
        Log(Log::CRITICAL, IDENT, queue.Name().Cstr(), "the last timer was destroyed by a callback")
            .Fail(ReturnT::Fail());
        return;
    }
    queues_.Remove(queue);
    delete &queue;
}

TimerBase::Queue::Queue(CString const& name)
    : Thread(name)
    , started_(Start().Succeeded()) {}

// The list is empty: each timer has left it at its own end.
TimerBase::Queue::~Queue() {
    if (!started_) return;
    {
        Mutex::Guard const guard(lock_);
        SetStop();
        lock_.Broadcast();
    }
    if (!Stop()) Log(Log::CRITICAL, IDENT, Name().Cstr(), "unable to stop a thread").Fail(ReturnT::Fail());
}

void TimerBase::Queue::Set(TimerBase const& timer, Time::Span const& delay) {
    Time::Span const deadline = Time::Monotonic() + delay;
    Mutex::Guard const guard(lock_);
    AwaitEnd_(timer);
    TimerBase& mine = const_cast<TimerBase&>(timer);
    active_.Remove(mine);
    mine.deadline_ = deadline;
    Insert_(mine);
}

void TimerBase::Queue::Cancel(TimerBase const& timer) {
    Mutex::Guard const guard(lock_);
    AwaitEnd_(timer);
    active_.Remove(const_cast<TimerBase&>(timer));
}

void TimerBase::Queue::Forget(TimerBase const& timer) {
    Mutex::Guard const guard(lock_);
    bool const dropped = AwaitEnd_(timer);
    if (!dropped && !timer.hook_.IsLinked()) return;
    Log(Log::CRITICAL, IDENT, nullptr, "\"%1\" timer is still active").Fail(ReturnT::Fail()) << timer.name_;
    active_.Remove(const_cast<TimerBase&>(timer));
}

// True if the timer was to be called once more, and is not. The queue's own thread does not wait for itself.
bool TimerBase::Queue::AwaitEnd_(TimerBase const& timer) {
    while (current_ == &timer && DifferentContext()) {
        cancelled_ = true;
        lock_.Wait(FOREVER);
    }
    bool const dropped = dropped_ == &timer;
    if (dropped) dropped_ = nullptr;
    return dropped;
}

void TimerBase::Queue::Insert_(TimerBase& timer) {
    TimerBase* before = active_.Front();
    while (before && before->deadline_ <= timer.deadline_)
        before = active_.Next(*before);
    active_.Insert(timer, before);
    if (active_.Front() == &timer) lock_.Broadcast();
}

ReturnT TimerBase::Queue::Run() {
    prctl(PR_SET_TIMERSLACK, SLACK);
    Mutex::Guard const guard(lock_);
    while (!StopRequested()) {
        TimerBase* const first = active_.Front();
        if (!first) {
            lock_.Wait(FOREVER);
            continue;
        }
        Time::Span const left = first->deadline_ - Time::Monotonic();
        if (left > Time::Span::Zero()) {
            lock_.Wait(left);
        } else {
            Serve_(*first);
        }
    }
    return SelfStatus()->Code();
}

bool TimerBase::Queue::HasEarlier_(TimerBase const& timer) const {
    TimerBase const* const first = active_.Front();
    return first && first->deadline_ < timer.deadline_;
}

// Behind its callback the timer may be gone, unless somebody waits for that in AwaitEnd_.
void TimerBase::Queue::Serve_(TimerBase& timer) {
    current_ = &timer;
    lock_.Broadcast();
    active_.Remove(timer);
    cancelled_ = false;
    Patience_ patience;
    bool ended = false;
    while (!ended && !cancelled_) {
        if (HasEarlier_(timer)) {
            Insert_(timer);
            break;
        }
        lock_.Unlock();
        ended = Try_(timer, patience);
        if (!ended) Yield();
        lock_.Lock();
    }
    if (cancelled_ && (!ended || timer.hook_.IsLinked())) { // armed by its callback meanwhile
        active_.Remove(timer);
        dropped_ = &timer;
    }
    current_ = nullptr;
    lock_.Broadcast();
}

// False if the lock of the timer is busy.
bool TimerBase::Queue::Try_(TimerBase const& timer, Patience_& patience) {
    constexpr PatienceWords_ WORDS = {IDENT, nullptr, "unable to run \"%1\" for %2 seconds",
                                      "running \"%1\" for %2 ms."};
    CString const name = timer.name_;
    return patience.Run(
        timer.lock_, [&] { timer.Run(); }, WORDS, name);
}
