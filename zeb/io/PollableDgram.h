#pragma once

// The base of datagram sockets. Owns nothing; the concrete class keeps descriptor, mode and transport.

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
