#include "zeb/core/Log.h"
#include "zeb/event/Bus.h"
#include "zeb/event/LibraryEvents.h"
#include "zeb/runtime/StatusLog.h"
#include "zeb/task/TaskImpl.h"

#include <new>
#include <utility>

namespace {

constexpr long FOREVER = -1;

} // namespace

namespace Task {

Thread::Item_* Thread::Item_::Make(Event::BaseDelegate const& delegate, Object& task) {
    AutoPtr<Event::Base> event(new (std::nothrow) Event::TaskDone(task.Id()));
    AutoPtr<Event::BaseDelegate> acceptor(delegate.Clone());
    if (!event || !event->Initialized() || !acceptor) return nullptr;
    return new (std::nothrow) Item_{std::move(event), std::move(acceptor), &delegate, &task, {}, {}};
}

Thread::Thread(CString const& name, Queue::Destructor* destructor)
    : ::Thread(name)
    , started_(false)
    , destructor_(destructor) {
    if (!::Thread::Initialized()) {
        Log(Log::ERROR, Queue::IDENT, name.Cstr(), "unable to initialize a thread");
        return;
    }
    started_ = Start().Succeeded();
    if (!started_) Log(Log::ERROR, Queue::IDENT, name.Cstr(), "unable to start a thread");
}

Thread::~Thread() {
    if (started_ && !abandoned_) {
        {
            Mutex::Guard const guard(lock_);
            SetStop();
            lock_.Broadcast();
        }
        if (!Stop()) {
            Log(Log::CRITICAL, Queue::IDENT, Name().Cstr(), "unable to stop a thread").Fail(ReturnT::Fail());
        }
    }
    Clear_();
}

void Thread::Abandon() {
    Log(Log::CRITICAL, Queue::IDENT, Name().Cstr(), "destroyed by its own task").Fail(ReturnT::Fail());
    abandoned_ = true;
    if (destructor_) destructor_->Run();
    Mutex::Guard const guard(lock_);
    Clear_();
}

void Thread::Clear_() {
    while (Item_* const item = items_.Front())
        Drop_(*item);
}

ReturnT Thread::EnqueueTask(Event::BaseDelegate const& delegate, Object* wanted) {
    char const* const name = Name().Cstr();
    if (!wanted || !wanted->Initialized()) {
        return StatusLog(Queue::BROKEN, Log::ERROR, Queue::IDENT, name, "\"%1\" is broken")
               << (wanted ? wanted->Ident() : "(null)");
    }
    Object& task = *wanted;
    AutoPtr<Item_> item(Item_::Make(delegate, task)); // ahead of the lock, which the thread wants
    {
        Mutex::Guard const guard(lock_);
        if (!FindListed_(task)) {
            if (!item) return StatusLog(ReturnT::Oom(), Log::CRITICAL, Queue::IDENT, name, "").SetOom();
            if (items_.Empty()) lock_.Broadcast();
            Bucket_(task).PushBack(*item);
            items_.PushBack(*item.Release());
            return Queue::QUEUED;
        }
    }
    return StatusLog(Queue::ALREADY_QUEUED, Log::ERROR, Queue::IDENT, name,
                     "\"%1\" task is already in a queue")
           << task.Ident();
}

Thread::Item_* Thread::FindListed_(Object const& task) {
    for (Item_& item : Bucket_(task)) {
        if (item.task == &task) return &item;
    }
    return nullptr;
}

void Thread::Unlist_(Item_& item) {
    items_.Remove(item);
    Bucket_(*item.task).Remove(item);
}

void Thread::Drop_(Item_& item) {
    Unlist_(item);
    delete &item;
}

void Thread::CancelTask(Event::BaseDelegate const& delegate, Object const* task) {
    Mutex::Guard const guard(lock_);
    RemoveListed_(delegate, task); // ahead of the wait, or they would run meanwhile
    if (!DifferentContext()) return;
    while (running_ && running_->Matches(delegate, task)) {
        Interrupt();
        lock_.Wait(FOREVER);
    }
    if (current_ && current_->Matches(delegate, task)) DropCurrent_(); // it waits for its lock
    RemoveListed_(delegate, task);
}

void Thread::RemoveListed_(Event::BaseDelegate const& delegate, Object const* task) {
    if (task) {
        Item_* const item = FindListed_(*task);
        if (item && item->delegate == &delegate) Drop_(*item);
        return;
    }
    for (Item_* item = items_.Front(); item;) {
        Item_* const next = items_.Next(*item);
        if (item->delegate == &delegate) Drop_(*item);
        item = next;
    }
}

bool Thread::IsActive() const {
    Mutex::Guard const guard(lock_);
    return running_ || current_ || !items_.Empty();
}

ReturnT Thread::Run() {
    {
        Mutex::Guard const guard(lock_);
        for (;;) {
            if (abandoned_) {
                break;
            } else if (!items_.Empty()) {
                Process_();
            } else if (StopRequested()) {
                break;
            } else {
                lock_.Wait(FOREVER);
            }
        }
    }
    ReturnT const code = SelfStatus()->Code();
    if (abandoned_) {
        delete this; // nobody else can
    } else if (destructor_) {
        destructor_->Run();
    }
    return code;
}

void Thread::Process_() {
    Patience_ patience;
    current_ = items_.Front();
    Unlist_(*current_);
    ClearInterrupt();
    do {
        running_ = current_;
        lock_.Unlock();
        bool const ended = Try_(patience);
        lock_.Lock();
        if (ended && !IsInterrupted() && !abandoned_) {
            Event::Raise(running_->event, running_->acceptor, Event::ASYNC, Event::DIRECT);
        }
        running_ = nullptr;
        lock_.Broadcast();
        if (ended) return DropCurrent_();
        lock_.Unlock();
        Yield();
        lock_.Lock();
    } while (current_);
}

// False if the lock of the task is busy.
bool Thread::Try_(Patience_& patience) {
    Object& task = *running_->task;
    char const* const ident = task.Ident();
    PatienceWords_ const words = {Queue::IDENT, Name().Cstr(), "acquiring \"%1\" task %2 seconds",
                                  "was running a \"%1\" locked task for %2 ms."};
    auto const run = [&task] {
        SetStatus(task.Status_());
        (void)task.Run(); // what it did, it has reported
        SetStatus(nullptr);
    };
    return patience.Run(task.Lock_(), run, words, ident);
}

void Thread::DropCurrent_() {
    delete current_;
    current_ = nullptr;
}

} // namespace Task
