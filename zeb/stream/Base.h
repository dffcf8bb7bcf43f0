#pragma once

// The transport layer: moves bytes between memory and a descriptor, a socket or a string, and never formats.
// Derive from it to make streams over a medium of your own: a Buffer does the rest.
//
// Contract of a transport: `done` is 0 on entry and then the number of bytes moved; one call may move fewer
// bytes than asked; true with `done` 0 after a read means that the end of data was reached and the
// end-of-stream flag was set; false means that a state was recorded in the Stateful.
//
// Owns       nothing. A wrapper shares the end-of-stream flag of the transport that it wraps
// Threads    one
// Waits      SysRead and SysWrite, for the medium
// Failure    by the state of the Stateful; nothing is moved on a failed object

#include "zeb/stream/Stateful.h"

namespace Io {

class ZEB_PUBLIC Base {
public:
    // An interrupted or would-block system call is tried this many times, with a pause between two tries.
    static constexpr int RETRY_COUNT = 5;
    static constexpr long RETRY_TIMEOUT_NS = 50'000'000;

    explicit Base(Stateful& stateful)
        : parent_(this)
        , eos_(false)
        , stateful_(stateful) {}
    // A wrapper around `other`, which must outlive it. Not a copy.
    explicit Base(Base& other)
        : parent_(&other)
        , eos_(other.eos_)
        , stateful_(other.stateful_) {}
    Base(Base const&) = delete;
    Base& operator=(Base const&) = delete;
    virtual ~Base();

    // Data can be read at once without waiting.
    virtual bool IReady() const;
    virtual bool SysRead(void* data, unsigned long size, unsigned long& done) = 0;
    virtual bool SysWrite(void const* data, unsigned long size, unsigned long& done) = 0;
    virtual bool SysFlush() = 0;

    // The end of input was seen.
    bool Eos() const { return parent_->eos_; }
    void SetEos(bool eos = true) { parent_->eos_ = eos; }

protected:
    Stateful& State_() const { return stateful_; }
    bool Fail_(Stateful::StateT state) const { return stateful_.Fail(state); }

private:
    Base* parent_;
    bool eos_;
    Stateful& stateful_;
};

} // namespace Io
