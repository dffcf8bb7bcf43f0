#pragma once

// The clocks, and the delay of a thread. Deadlines and intervals are measured on the monotonic clock, which
// nobody sets; the wall clock tells dates. To wait for something other than the time take Condition
// (zeb/runtime/Condition.h) or Pollable (zeb/io/Pollable.h), to be called later a Timer (zeb/timer/Timer.h).
//
// Threads    any
// Waits      Sleep() alone, for the time; an interruption of the thread ends it within a third of a second, a
//            signal does not
// Locks      a lock that is held stays held meanwhile: hold none around Sleep() that others want
// Memory     none is taken

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

// Waits that long on the monotonic clock; not at all for a time that is not positive. False when the calling
// Thread was or is interrupted; a thread without an object of that class is never.
ZEB_PUBLIC bool Sleep(Time::Span const& span);
ZEB_PUBLIC bool Sleep(long milliseconds);
