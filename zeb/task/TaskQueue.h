#pragma once

// Task::Queue: runs tasks one at a time, first in first out, on a thread of its own. Behind each task it
// raises an Event::TaskDone, with the id of the task, aimed at a delegate of the caller.
//
// With an idle time the thread is made at the first task, and ends after that time without work. Without one
// it lives as long as the queue.
//
// A task that has a lock runs with it held. The thread never blocks on it: it tries every 50 milliseconds,
// and logs every 30 seconds who holds it. The tasks behind wait.
//
// Operations may be called from any thread, tasks included, under locks below TASK_QUEUE. The destructor runs
// what is still queued, so the owner cancels first what shall not run; it holds no lock that a task needs.

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

    // The destructor may be null, and outlives the queue. Failures are logged, and leave Initialized() false.
    Queue(CString const& name, Time::Span const& idle, Destructor* destructor);
    ~Queue();
    Queue(Queue const&) = delete;
    Queue& operator=(Queue const&) = delete;

    bool Initialized() const { return impl_ != nullptr; }

    // The delegate is cloned; its address stands for it in a cancellation. A task can be queued again as soon
    // as it has left the queue to run. QUEUED; BROKEN; ALREADY_QUEUED; NO_THREAD, and then the next call
    // tries again to make one; an Oom code.
    ReturnT EnqueueTask(Event::BaseDelegate const& delegate, Object* task);

    // Takes the task, or all of the delegate if it is null, out of the queue; they give no event. A running
    // one is interrupted and waited for, unless the caller is the thread of the queue itself.
    void CancelTask(Event::BaseDelegate const& delegate, Object const* task);
    void CancelAllTasks(Event::BaseDelegate const& delegate);

private:
    class Impl_;

    Impl_* impl_;
};

} // namespace Task
