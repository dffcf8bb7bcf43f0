#pragma once

// Task::Object: a unit of work for a Task::Queue. A subclass gives the work in Run(), which the thread of the
// queue calls with the lock of the object held, if it has one. While it runs the reports of that thread go to
// the status of the object.
//
// Run() that takes long tests Thread::SelfInterrupted(), which a cancellation raises.
//
// The owner keeps the object until it has run or was cancelled. The id is unique in the process.

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
