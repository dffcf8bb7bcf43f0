#pragma once

// The end of a wait that is made of several polls. Not installed.

#include "zeb/core/Time.h"
#include "zeb/core/TimeSpan.h"
#include "zeb/io/Pollable.h"

namespace Io {

class Deadline {
public:
    // From now; a negative time-out means that there is no end.
    explicit Deadline(int timeoutMs)
        : limited_(timeoutMs >= 0)
        , end_(limited_ ? Time::Monotonic() + Time::Span(timeoutMs) : Time::Span::Zero()) {}

    // Milliseconds, for a further Pollable::Wait; negative when there is no end.
    int Left() const { return limited_ ? Time::MillisecondsTo(end_) : -1; }

    // The length of one poll while there is that much left.
    static int Slice(int left) {
        return left >= 0 && left < Pollable::POLL_PERIOD ? left : Pollable::POLL_PERIOD;
    }

private:
    bool const limited_;
    Time::Span const end_;
};

} // namespace Io
