#pragma once

// The thread of a task queue, and the inside of the queue. Not installed.
//
// Locks: that of the task, the queue, the thread. The thread holds none of its own while it runs a task or
// tries a lock, and nobody waits for a task with the lock of the queue held: the task may use the queue.

#include "zeb/core/AutoPtr.h"
#include "zeb/core/Intrusive.h"
#include "zeb/core/String.h"
#include "zeb/event/Base.h"
#include "zeb/runtime/Condition.h"
#include "zeb/runtime/PatienceImpl.h"
#include "zeb/runtime/Thread.h"
#include "zeb/task/TaskObject.h"
#include "zeb/task/TaskQueue.h"
#include "zeb/timer/Timer.h"

namespace Task {

class Thread final : public ::Thread {
public:
    Thread(CString const& name, Queue::Destructor* destructor);
    ~Thread() override;
    bool Initialized() const override { return started_; }
    ReturnT Run() override;

    ReturnT EnqueueTask(Event::BaseDelegate const& delegate, Object* task);
    void CancelTask(Event::BaseDelegate const& delegate, Object const* task);

    // In place of the destructor, for a queue that is destroyed by one of its own tasks: that one is the last
    // to run, and the object goes with it.
    void Abandon();

    // A task is in the list, runs, or waits for its lock.
    bool IsActive() const;

private:
    struct Item_ {
        // Null if memory ran out.
        static Item_* Make(Event::BaseDelegate const& delegate, Object& task);

        bool Matches(Event::BaseDelegate const& other, Object const* wanted) const {
            return delegate == &other && (!wanted || task == wanted);
        }

        AutoPtr<Event::Base> event; // an Event::TaskDone
        AutoPtr<Event::BaseDelegate> acceptor;
        Event::BaseDelegate const* delegate; // as the caller gave it
        Object* task;
        Intrusive::Hook hook;
        Intrusive::Hook bucketHook;
    };

    using BucketT_ = Intrusive::List<Item_, &Item_::bucketHook>;
    static constexpr unsigned long BUCKETS = 64;

    // With the lock held.
    void Clear_();
    BucketT_& Bucket_(Object const& task) { return buckets_[task.Id() % BUCKETS]; }
    Item_* FindListed_(Object const& task);
    void Unlist_(Item_& item);
    void Drop_(Item_& item);
    void RemoveListed_(Event::BaseDelegate const& delegate, Object const* task);
    void Process_();
    void DropCurrent_();

    // Without it.
    bool Try_(Patience_& patience);

    bool started_;           // fixed after construction
    bool abandoned_ = false; // used by the thread alone

    // Guarded by the lock. The thread alone sets them to an item.
    Condition const lock_{Mutex::TASK_QUEUE_THREAD};
    Item_* running_ = nullptr; // its lock is being tried, or it runs
    Item_* current_ = nullptr; // taken from the list; null again when it was cancelled
    Intrusive::List<Item_, &Item_::hook> items_;
    BucketT_ buckets_[BUCKETS]; // the same by the id of the task, for finding

    Queue::Destructor* destructor_; // fixed after construction
};

class Queue::Impl_ {
public:
    Impl_(CString const& name, Time::Span const& idle, Destructor* destructor);
    ~Impl_();
    Impl_(Impl_ const&) = delete;
    Impl_& operator=(Impl_ const&) = delete;

    bool Initialized() const { return initialized_; }

    ReturnT EnqueueTask(Event::BaseDelegate const& delegate, Object* task);
    void CancelTask(Event::BaseDelegate const& delegate, Object const* task);

private:
    bool MakeWorker_();
    void Update_();
    void OnTimer_();

    // Fixed after construction.
    Time::Span idle_;
    String name_;
    bool initialized_;

    // Guarded by the lock.
    Mutex lock_{Mutex::TASK_QUEUE};
    Task::Thread* worker_ = nullptr;
    unsigned users_ = 0; // who use the worker without the lock; it stays meanwhile

    Destructor* destructor_; // fixed after construction
    Timer<Impl_> timer_;     // of the idle time
};

} // namespace Task
