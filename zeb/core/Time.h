#pragma once

// The clocks, and the delay of a thread. Deadlines and intervals are measured on the monotonic clock, which
// nobody sets; the wall clock tells dates.

#include "zeb/core/Export.h"
#include "zeb/core/TimeSpan.h"
#include "zeb/core/TimeStamp.h"

namespace Time {

// The time since some moment before the program's start.
ZEB_PUBLIC Span Monotonic();
ZEB_PUBLIC Stamp Now();

// Milliseconds from one moment to the other, cut down: 0 when that is past, INT_MAX when they do not fit. In
// the second form from now on the monotonic clock. Made for the limits of poll().
ZEB_PUBLIC int MillisecondsTo(Span const& from, Span const& to);
ZEB_PUBLIC int MillisecondsTo(Span const& to);

} // namespace Time

// Waits that long. False at once when the calling Thread is interrupted, and otherwise within a third of a
// second after that.
ZEB_PUBLIC bool Sleep(Time::Span const& span);
ZEB_PUBLIC bool Sleep(long milliseconds);
