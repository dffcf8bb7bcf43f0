#pragma once

// The transport that waits: wraps another transport and calls Pollable::Wait before each transfer. Shares the
// end of stream flag of what it wraps. Owns nothing.

#include "zeb/stream/Base.h"
#include "zeb/stream/Mode.h"

namespace Io {

class Pollable;

class ZEB_PUBLIC PollableBase : public Base {
public:
    PollableBase(Base& transport, Pollable& owner, char const* ident);

    bool IReady() const override;
    // Waits only when the wrapped transport has nothing ready.
    bool SysRead(void* data, unsigned long size, unsigned long& done) override;
    // Always waits.
    bool SysWrite(void const* data, unsigned long size, unsigned long& done) override;
    bool SysFlush() override;

private:
    bool Wait_(ModeT request);

    Base& transport_;
    Pollable& owner_;
    char const* ident_;
};

} // namespace Io
