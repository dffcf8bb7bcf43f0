#include "zeb/io/PollableBase.h"

#include "zeb/io/Pollable.h"

namespace Io {

PollableBase::PollableBase(Base& transport, Pollable& owner, char const* ident)
    : Base(transport)
    , transport_(transport)
    , owner_(owner)
    , ident_(ident) {}

bool PollableBase::IReady() const { return transport_.IReady(); }

bool PollableBase::Wait_(ModeT request) {
    Pollable* object = &owner_;
    pollfd fd;
    return owner_.SetPollState(Pollable::Wait(&object, &request, &fd, 1, owner_.Timeout(), ident_));
}

bool PollableBase::SysRead(void* data, unsigned long size, unsigned long& done) {
    done = 0;
    if (!transport_.IReady() && !Wait_(MODE_READ)) return false;
    if (transport_.SysRead(data, size, done)) owner_.PollableRoot_()->inputReady_ = false;
    return owner_.Ok();
}

bool PollableBase::SysWrite(void const* data, unsigned long size, unsigned long& done) {
    done = 0;
    if (!Wait_(MODE_WRITE)) return false;
    if (transport_.SysWrite(data, size, done)) owner_.PollableRoot_()->outputReady_ = false;
    return owner_.Ok();
}

bool PollableBase::SysFlush() { return transport_.SysFlush(); }

} // namespace Io
