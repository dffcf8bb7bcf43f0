#pragma once

// Task::Object: a unit of work for a Task::Queue. A subclass gives the work in Run(), which the thread of the
// queue calls with the lock of the object held, if it has one.
//
// Owns     a Status: while Run() runs the reports of that thread go there, or to the one that was given. Lock
//          and status outlive the object. The id is unique in the process.
// Threads  Run() on that of the queue, the rest on any.
// Waits    Run() that takes long tests Thread::SelfInterrupted(), which a cancellation raises; Sleep() and
//          the waits of streams end by it.
// Destroy  when it has run or was cancelled, not in its own Run(). An event of its end may still be under
// way.

#include "zeb/core/Export.h"
#include "zeb/core/ReturnT.h"
#include "zeb/runtime/Status.h"

namespace Task {

class ZEB_PUBLIC Object {
public:
    virtual ~Object();
    // An object that is not initialized is refused by a queue.
    virtual bool Initialized() const = 0;
    // Names the object in log lines.
    virtual char const* Ident() const = 0;
    // The result is for the object's own use; what there is to say is reported.
    virtual ReturnT Run() = 0;

    Object(Object const&) = delete;
    Object& operator=(Object const&) = delete;

    ReturnT StatusCode() const { return status_->Code(); }
    unsigned long Id() const { return id_; }

    Mutex* Lock_() const { return lock_; }
    Status* Status_() const { return status_; }

protected:
    // The lock may be null. A null status is one of the object's own.
    Object(Mutex* lock, Status* status);

private:
    // Fixed after construction.
    Mutex* lock_;
    Status* status_;
    Status ownStatus_;
    unsigned long id_;
};

} // namespace Task
