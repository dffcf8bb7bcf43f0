#include "zeb/core/Time.h"

#include <climits>

namespace Time {

Span Monotonic() {
    timespec time = {};
    clock_gettime(CLOCK_MONOTONIC, &time); // cannot fail with this clock
    return time;
}

Stamp Now() {
    timespec time = {};
    clock_gettime(CLOCK_REALTIME, &time); // cannot fail with this clock
    return time;
}

int MillisecondsTo(Span const& from, Span const& to) {
    if (to <= from) return 0;
    long const milliseconds = (to - from).Milliseconds();
    return milliseconds < INT_MAX ? static_cast<int>(milliseconds) : INT_MAX;
}

int MillisecondsTo(Span const& to) { return MillisecondsTo(Monotonic(), to); }

} // namespace Time
