#pragma once

// The base of datagram sockets: what can be waited for and moves whole datagrams, through no block.
//
// Owns       nothing; the concrete class keeps descriptor, mode and transport
// Threads    one
// Waits      GetBytesAvailable, as long as SetTimeout says; an interruption of the thread ends it
// Failure    by state, and in the log
// Memory     none is taken

#include "zeb/io/Pollable.h"

namespace Io {

class PollableBase;

class ZEB_PUBLIC PollableDgram : public Pollable {
public:
    PollableDgram(char const* ident, int const& fd, ModeT const& mode, PollableBase& base);
    ~PollableDgram() override;

    // Waits for one datagram, no longer than Timeout(), and tells its size without taking it. An empty
    // datagram counts as a failure.
    [[nodiscard]] bool GetBytesAvailable(unsigned long& size);

private:
    char const* ident_;
    int const& fd_;

protected:
    PollableBase& base_;
};

} // namespace Io
