#include "zeb/io/Pollable.h"

#include "zeb/core/ErrorString.h"
#include "zeb/core/Log.h"
#include "zeb/io/DeadlineImpl.h"
#include "zeb/io/SysRetryImpl.h"
#include "zeb/runtime/Thread.h"

#include <cerrno>
#include <sys/socket.h>

namespace Io {

Pollable::Pollable(Pollable& parent, char const* ident, int const& fd, ModeT const& mode)
    : Stateful(&parent == this ? nullptr : static_cast<Stateful*>(&parent))
    , parent_(&parent)
    , ident_(ident)
    , fd_(fd)
    , mode_(mode) {}

Pollable::~Pollable() = default;

void Pollable::Attach(Pollable* parent) {
    parent_ = parent;
    Stateful::Attach(parent);
}

void Pollable::SetTimeout(int timeoutMs) { PollableRoot_()->timeout_ = timeoutMs; }

int Pollable::Timeout() const { return PollableRoot_()->timeout_; }

bool Pollable::ObjIReady() const { return false; }

bool Pollable::ObjOReady() const { return false; }

bool Pollable::ObjPReady() const { return false; }

// One call of Wait.
class PollWait_ {
public:
    PollWait_(Pollable** objects, ModeT const* requests, pollfd* fds, unsigned long count, char const* ident)
        : objects_(objects)
        , requests_(requests)
        , fds_(fds)
        , count_(count)
        , ident_(ident) {}

    // Fills the poll set. `any` tells that an object is ready without asking the kernel.
    bool Prepare(bool& any) {
        any = false;
        for (unsigned long i = 0; i < count_; ++i) {
            fds_[i] = {-1, 0, 0};
            if (objects_[i] && !Add_(*objects_[i], requests_[i], fds_[i], any)) return false;
        }
        return true;
    }

    ReturnT Run(int timeoutMs) {
        Deadline const deadline(timeoutMs);
        for (;;) {
            if (Thread::SelfInterrupted()) return Pollable::INTERRUPTED;
            int const left = deadline.Left();
            int const ready = poll(fds_, count_, Deadline::Slice(left));
            int const error = errno;
            if (ready > 0) break;
            if (ready < 0 && error != EINTR && error != EAGAIN) return Failed_(error);
            if (left == 0) return Pollable::TIMED_OUT;
        }
        for (unsigned long i = 0; i < count_; ++i) {
            if (objects_[i]) Take_(*objects_[i]->PollableRoot_(), requests_[i], fds_[i]);
        }
        return Pollable::READY;
    }

private:
    static bool Add_(Pollable& object, ModeT request, pollfd& entry, bool& any) {
        Pollable const* const root = object.PollableRoot_();
        if (root->CurrentState() != Stateful::STATE_OK || root->fd_ < 0) return false;
        entry.fd = root->fd_;
        if (request & MODE_READ) {
            if (!(root->mode_ & MODE_READ)) return false;
            entry.events |= POLLIN | POLLPRI;
            any = any || root->inputReady_ || object.ObjIReady() || root->ObjIReady();
        }
        if (request & MODE_PRIORITY) {
            if (!(root->mode_ & MODE_READ)) return false;
            entry.events |= POLLPRI;
            any = any || root->priorityReady_ || object.ObjPReady() || root->ObjPReady();
        }
        if (request & MODE_WRITE) {
            if (!(root->mode_ & MODE_WRITE)) return false;
            entry.events |= POLLOUT;
            any = any || root->outputReady_ || object.ObjOReady() || root->ObjOReady();
        }
        return true;
    }

    static void Take_(Pollable& root, ModeT request, pollfd const& entry) {
        if (entry.revents & (POLLIN | POLLPRI | POLLOUT)) {
            root.inputReady_ = entry.revents & (POLLIN | POLLPRI);
            root.outputReady_ = entry.revents & POLLOUT;
            root.priorityReady_ = entry.revents & POLLPRI;
            return;
        }
        if (!(entry.revents & (POLLERR | POLLHUP))) return;
        int const error = SocketError(entry.fd);
        if (entry.revents & POLLHUP) {
            root.inputReady_ = root.inputReady_ || (request & MODE_READ);
            root.outputReady_ = root.outputReady_ || (request & MODE_WRITE);
            return;
        }
        root.SetSysError_(error);
    }

    ReturnT Failed_(int error) const {
        Log(Log::ERROR, ident_ ? ident_ : "Pollable", nullptr, "unable to poll: %1") << ::ErrorString(error);
        return Pollable::POLL_FAILED;
    }

    Pollable** objects_;
    ModeT const* requests_;
    pollfd* fds_;
    unsigned long count_;
    char const* ident_;
};

ReturnT Pollable::Wait(Pollable** objects, ModeT const* requests, pollfd* fds, unsigned long count,
                       int timeoutMs, char const* ident) {
    PollWait_ wait(objects, requests, fds, count, ident);
    bool any = false;
    if (!wait.Prepare(any)) return UNUSABLE;
    if (any) return Thread::SelfInterrupted() ? INTERRUPTED : READY;
    return wait.Run(timeoutMs);
}

bool Pollable::SetPollState(ReturnT const& code) const {
    if (code.Succeeded()) return true;
    if (code == INTERRUPTED) {
        SetState(STATE_INTERRUPTED);
    } else if (code == TIMED_OUT) {
        SetState(STATE_TIMEOUT);
    } else {
        SetState(STATE_FAILED);
    }
    return false;
}

bool Pollable::SetSysBufferSize_(ModeT direction, int option, char const* message, unsigned long size) {
    Pollable* const root = PollableRoot_();
    if (!Ok()) return false;
    if (!(root->mode_ & direction)) {
        Log(Log::CRITICAL, root->ident_, nullptr, "").Fail(ReturnT::Fail());
        SetState(STATE_FAILED);
        return false;
    }
    if (setsockopt(root->fd_, SOL_SOCKET, option, &size, sizeof(size)) == 0) return true;
    int const error = errno;
    Log(Log::CRITICAL, root->ident_, nullptr, message) << root->ident_ << ::ErrorString(error);
    root->SetSysError_(error);
    return false;
}

// The length must come back as it was given, which a kernel that keeps the size in 32 bits does not do.
bool Pollable::GetSysBufferSize_(ModeT direction, int option, char const* message,
                                 unsigned long& size) const {
    Pollable const* const root = PollableRoot_();
    if (!(root->mode_ & direction)) {
        size = 0;
        return true;
    }
    socklen_t length = sizeof(size);
    int error = getsockopt(root->fd_, SOL_SOCKET, option, &size, &length) == 0 ? 0 : errno;
    if (error == 0 && length != sizeof(size)) error = EINVAL;
    if (error == 0) return true;
    Log(Log::ERROR, root->ident_, nullptr, message) << ::ErrorString(error);
    root->SetSysError_(error);
    return false;
}

bool Pollable::SetSysIBufferSize(unsigned long size) {
    return SetSysBufferSize_(MODE_READ, SO_RCVBUF, "unable to set an input buffer size of %1: %2", size);
}

bool Pollable::SetSysOBufferSize(unsigned long size) {
    return SetSysBufferSize_(MODE_WRITE, SO_SNDBUF, "unable to set an output buffer size of %1: %2", size);
}

bool Pollable::GetSysIBufferSize(unsigned long& size) const {
    return GetSysBufferSize_(MODE_READ, SO_RCVBUF, "unable to get a system buffer size for input: %1", size);
}

bool Pollable::GetSysOBufferSize(unsigned long& size) const {
    return GetSysBufferSize_(MODE_WRITE, SO_SNDBUF, "unable to get a system buffer size for output: %1",
                             size);
}

} // namespace Io
