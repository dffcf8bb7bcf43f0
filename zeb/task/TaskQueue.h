#pragma once

// Task::Queue: runs tasks one at a time, first in first out, on a thread of its own. Behind each task it
// raises an Event::TaskDone, with the id of the task, aimed at a delegate of the caller. For a call at a
// given time take a Timer, for work that many ask for and that is done once a Task::ApplyBase.
//
//   Task::Queue queue_{"Downloads", Time::Span(60000), nullptr};
//   ReturnT const code = queue_.EnqueueTask(onDone_, &download_);      // QUEUED, or in words what is wrong
//
// Owns     its thread and a clone of each delegate, but no task: an object lives until it has run or was
//          cancelled. With an idle time the thread is made at the first task, and ends after that time
//          without work. Without one, or with a negative one, it lives as long as the queue.
// Task     runs with its lock held, if it has one. The thread never blocks on it: it tries every 50
//          milliseconds, and logs every 30 seconds who holds it. The tasks behind wait.
// Threads  any, tasks included. A task may queue itself and others, and cancel: that takes out what is
//          listed, and does not wait for the caller itself.
// Waits    a cancellation for the end of a matching task that runs, and the destructor for the end of all
//          that are listed. The task is asked to end by an interruption; nothing ends the wait but the task.
// Locks    those held must stand below TASK_QUEUE. Around a cancellation hold none that the task takes, but
//          for its own; around the destructor none that any listed task needs, its own included.
// Destroy  anywhere but in one of its own tasks. The destructor runs what is still listed, so the owner
//          cancels first what shall not run. A queue that its own task destroys is logged; that task is the
//          last one, and gives no event.
// Memory   taken for each task by EnqueueTask(), which fails with an Oom code and changes nothing.

#include "zeb/core/CString.h"
#include "zeb/core/Export.h"
#include "zeb/core/ReturnT.h"
#include "zeb/core/TimeSpan.h"
#include "zeb/event/BaseDelegate.h"

namespace Task {

class Object;

class ZEB_PUBLIC Queue {
public:
    static constexpr char const IDENT[] = "Task::Queue";

    // Codes of EnqueueTask().
    static constexpr ReturnT QUEUED{0x00300064};
    static constexpr ReturnT NO_THREAD{0x803000C8};
    static constexpr ReturnT BROKEN{0x8030012C};
    static constexpr ReturnT ALREADY_QUEUED{0x80300190};

    // What the thread calls once, as its last work; with an idle time each of its threads. It leaves the
    // queue alone.
    class ZEB_PUBLIC Destructor {
    public:
        virtual ~Destructor();
        virtual void Run() = 0;
    };

    // The destructor may be null, and outlives the queue. Failures are logged, and leave Initialized() false:
    // such a queue refuses each task with NO_THREAD.
    Queue(CString const& name, Time::Span const& idle, Destructor* destructor);
    ~Queue();
    Queue(Queue const&) = delete;
    Queue& operator=(Queue const&) = delete;

    bool Initialized() const { return impl_ != nullptr; }

    // The delegate is cloned; its address stands for it in a cancellation. A task can be queued again as soon
    // as its run has begun. QUEUED; BROKEN for a null task or one that is not initialized; ALREADY_QUEUED;
    // NO_THREAD, and then the next call tries again to make one; an Oom code.
    ReturnT EnqueueTask(Event::BaseDelegate const& delegate, Object* task);

    // Takes the task, or all of the delegate if it is null, out of the queue; they give no event. A running
    // one is interrupted and waited for, unless the caller is the thread of the queue itself. What other
    // threads queue meanwhile may stay.
    void CancelTask(Event::BaseDelegate const& delegate, Object const* task);
    void CancelAllTasks(Event::BaseDelegate const& delegate);

private:
    class Impl_;

    Impl_* impl_;
};

} // namespace Task
