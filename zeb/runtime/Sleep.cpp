#include "zeb/core/Time.h"
#include "zeb/runtime/MillisecondsImpl.h"
#include "zeb/runtime/Thread.h"

#include <time.h>

namespace {

Time::Span const STEP(333);

bool SleepUntil_(Time::Span const& deadline) {
    for (;;) {
        if (Thread::SelfInterrupted()) return false;
        Time::Span const left = deadline - Time::Monotonic();
        if (left <= Time::Span::Zero()) return true;
        timespec const step = left < STEP ? left : STEP;
        nanosleep(&step, nullptr); // cut short by a signal or not, the clock decides
    }
}

} // namespace

bool Sleep(Time::Span const& span) { return SleepUntil_(Time::Monotonic() + span); }

bool Sleep(long milliseconds) { return Sleep(Milliseconds_(milliseconds)); }
