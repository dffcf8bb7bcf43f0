#include "zeb/task/TaskObject.h"

namespace {

constinit Mutex const idLock_(Mutex::ULTIMATE);
constinit unsigned long nextId_ = 1; // guarded by the lock

unsigned long TakeId_() {
    Mutex::Guard const guard(idLock_);
    return nextId_++;
}

} // namespace

Task::Object::Object(Mutex* lock, Status* status)
    : lock_(lock)
    , status_(status ? status : &ownStatus_)
    , id_(TakeId_()) {}

Task::Object::~Object() = default;
