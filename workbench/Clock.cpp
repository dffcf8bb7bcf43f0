#include "workbench/Clock.h"

#include "workbench/Workbench.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <iterator>

// clang-format off
extern "C" {
int __real_clock_gettime(clockid_t, timespec*);
int __real_nanosleep(timespec const*, timespec*);
int __real_poll(pollfd*, nfds_t, int);
int __real_sigtimedwait(sigset_t const*, siginfo_t*, timespec const*);
int __real_timer_settime(timer_t, int, itimerspec const*, itimerspec*);
int __real_pthread_cond_signal(pthread_cond_t*);
int __real_pthread_cond_broadcast(pthread_cond_t*);
int __real_pthread_cond_timedwait(pthread_cond_t*, pthread_mutex_t*, timespec const*);
}
// clang-format on

namespace {

constexpr long SECOND = 1000000000;
constexpr long SLICE = 2000000;
constexpr long WAIT_LIMIT_MS = 20000;
constexpr long WALL_SECONDS = 500000000; // a deadline beyond this is one of the wall clock

constinit std::atomic<bool> active{false};
constinit std::atomic<long> moved{0};
constinit std::atomic<long> wallShift{0};
// Of each wait: how far the clock has to be moved to end it; 0 for none.
constinit std::atomic<long> ends[256]{};
// Fixed while a Clock exists.
constinit std::atomic<Clock::ModeT> mode{Clock::ModeT::MANUAL};
constinit std::atomic<long> startMonotonic{0};
constinit std::atomic<long> startWall{0};
constinit thread_local bool owner = false;
constinit std::atomic<unsigned long> signals[64]{}; // by condition variable

std::atomic<unsigned long>& SignalsOf(pthread_cond_t const* condition) {
    return signals[reinterpret_cast<unsigned long>(condition) / sizeof(*condition) % std::size(signals)];
}

long Nanoseconds(timespec const& time) {
    long total;
    if (__builtin_mul_overflow(time.tv_sec, SECOND, &total)) return time.tv_sec < 0 ? LONG_MIN : LONG_MAX;
    return __builtin_add_overflow(total, time.tv_nsec, &total) ? LONG_MAX : total;
}

timespec Timespec(long nanoseconds) { return {nanoseconds / SECOND, nanoseconds % SECOND}; }

long Sum(long a, long b) {
    long sum;
    return __builtin_add_overflow(a, b, &sum) ? LONG_MAX : sum;
}

long Real(clockid_t clock) {
    timespec now;
    __real_clock_gettime(clock, &now);
    return Nanoseconds(now);
}

bool IsWall(clockid_t clock) { return clock == CLOCK_REALTIME || clock == CLOCK_REALTIME_COARSE; }

bool IsMoved(clockid_t clock) {
    return IsWall(clock) || clock == CLOCK_MONOTONIC || clock == CLOCK_MONOTONIC_COARSE ||
           clock == CLOCK_MONOTONIC_RAW || clock == CLOCK_BOOTTIME;
}

long Now(bool wall) { return (wall ? startWall + wallShift : startMonotonic.load()) + moved; }

// A wait, counted as long as the clock has not ended it.
class Counted {
public:
    Counted(bool wall, long deadline) {
        long const end = Sum(deadline - Now(wall), moved);
        for (std::atomic<long>& place : ends) {
            long none = 0;
            if (place.compare_exchange_strong(none, end)) {
                place_ = &place;
                return;
            }
        }
    }
    ~Counted() {
        if (place_ != nullptr) *place_ = 0;
    }
    Counted(Counted const&) = delete;
    Counted& operator=(Counted const&) = delete;

private:
    std::atomic<long>* place_ = nullptr;
};

// Waits in slices until `attempt(nanoseconds)` is true (the result), or the deadline has passed (false).
template<typename AttemptT>
bool Wait(bool wall, long deadline, AttemptT const& attempt) {
    if (mode == Clock::ModeT::AUTO && owner) {
        if (attempt(0)) return true;
        moved += std::max(0L, deadline - Now(wall));
        return false;
    }
    if (Now(wall) >= deadline) return attempt(0); // a poll: nobody to be waited for
    Counted const counted(wall, deadline);
    long const began = Workbench::RealMilliseconds();
    bool ended = attempt(0);
    while (!ended && active && Now(wall) < deadline) {
        ended = attempt(SLICE);
        if (Workbench::RealMilliseconds() - began < WAIT_LIMIT_MS) continue;
        fprintf(stderr, "Clock: a wait with %ld ms left is not ended; who calls Advance()?\n",
                (deadline - Now(wall)) / 1000000);
        abort();
    }
    return ended;
}

// Sleeps on the clock; EINTR with the time left, or 0.
int SleepUntil(long deadline, timespec* left) {
    int error = 0;
    Wait(false, deadline, [&](long slice) {
        timespec const time = Timespec(slice);
        if (slice == 0 || __real_nanosleep(&time, nullptr) == 0) return false;
        error = errno;
        return true;
    });
    if (error != 0 && left != nullptr) *left = Timespec(std::max(0L, deadline - Now(false)));
    return error;
}

bool IsValid(timespec const& time) { return time.tv_nsec >= 0 && time.tv_nsec < SECOND; }

} // namespace

Clock::Clock(ModeT wanted) {
    if (active) {
        fprintf(stderr, "Clock: there is one already.\n");
        abort();
    }
    mode = wanted;
    moved = 0;
    wallShift = 0;
    startMonotonic = Real(CLOCK_MONOTONIC);
    startWall = Real(CLOCK_REALTIME);
    owner = true;
    active = true;
}

Clock::~Clock() {
    active = false;
    owner = false;
}

void Clock::AdvanceNanoseconds(long nanoseconds) { moved += nanoseconds; }

void Clock::SetWall(long seconds, long nanoseconds) {
    wallShift += seconds * SECOND + nanoseconds - Now(true);
}

long Clock::Moved() const { return moved; }

unsigned long Clock::Waiters() const {
    return static_cast<unsigned long>(std::count_if(
        std::begin(ends), std::end(ends), [](std::atomic<long> const& end) { return end > moved; }));
}

bool Clock::AwaitWaiters(unsigned long count) const {
    for (long const began = Workbench::RealMilliseconds(); Waiters() < count;) {
        if (Workbench::RealMilliseconds() - began > 2000) return false;
        Workbench::RealSleep(1);
    }
    return true;
}

void Clock::RealPause(long milliseconds) { Workbench::RealSleep(milliseconds); }

namespace Workbench {

long RealMilliseconds() { return Real(CLOCK_MONOTONIC) / 1000000; }

void RealSleep(long milliseconds) {
    timespec const time = Timespec(milliseconds * 1000000);
    __real_nanosleep(&time, nullptr);
}

int RealPoll(pollfd* fds, nfds_t count, timespec const& limit) { return ppoll(fds, count, &limit, nullptr); }

int ClockGettime(clockid_t clock, timespec* out) {
    if (!active || !IsMoved(clock)) return __real_clock_gettime(clock, out);
    *out = Timespec(Now(IsWall(clock)));
    return 0;
}

int Nanosleep(timespec const* time, timespec* left) {
    if (!active || !IsValid(*time) || time->tv_sec < 0) return __real_nanosleep(time, left);
    errno = SleepUntil(Sum(Now(false), Nanoseconds(*time)), left);
    return errno == 0 ? 0 : -1;
}

int Poll(pollfd* fds, nfds_t count, int timeout) {
    if (!active || timeout <= 0) return __real_poll(fds, count, timeout);
    int result = 0;
    Wait(false, Now(false) + timeout * 1000000L, [&](long slice) {
        result = __real_poll(fds, count, static_cast<int>(slice / 1000000));
        return result != 0;
    });
    return result;
}

int Sigtimedwait(sigset_t const* set, siginfo_t* info, timespec const* timeout) {
    if (!active || timeout == nullptr) return __real_sigtimedwait(set, info, timeout);
    int result = -1;
    Wait(false, Sum(Now(false), Nanoseconds(*timeout)), [&](long slice) {
        timespec const time = Timespec(slice);
        result = __real_sigtimedwait(set, info, &time);
        return result != -1 || errno != EAGAIN;
    });
    return result;
}

int TimerSettime(timer_t timer, int flags, itimerspec const* value, itimerspec* old) {
    long const at = Nanoseconds(value->it_value);
    if (!active || (flags & TIMER_ABSTIME) == 0 || at == 0)
        return __real_timer_settime(timer, flags, value, old);
    itimerspec relative = *value;
    relative.it_value = Timespec(std::max(1L, at - Now(at / SECOND > WALL_SECONDS)));
    return __real_timer_settime(timer, flags & ~TIMER_ABSTIME, &relative, old);
}

int CondSignal(pthread_cond_t* condition) {
    ++SignalsOf(condition);
    return __real_pthread_cond_signal(condition);
}

int CondBroadcast(pthread_cond_t* condition) {
    ++SignalsOf(condition);
    return __real_pthread_cond_broadcast(condition);
}

int CondTimedwait(pthread_cond_t* condition, pthread_mutex_t* mutex, timespec const* deadline) {
    if (!active) return __real_pthread_cond_timedwait(condition, mutex, deadline);
    if (!IsValid(*deadline)) return EINVAL;
    bool const wall = deadline->tv_sec > WALL_SECONDS && deadline->tv_sec < 100 * WALL_SECONDS;
    unsigned long const before = SignalsOf(condition);
    int result = ETIMEDOUT;
    Wait(wall, Nanoseconds(*deadline), [&](long slice) {
        timespec const time = Timespec(Real(CLOCK_MONOTONIC) + slice);
        result = pthread_cond_clockwait(condition, mutex, CLOCK_MONOTONIC, &time);
        // A signal between the end of a slice and the return of the mutex has reached nobody.
        if (result == ETIMEDOUT && SignalsOf(condition) != before) result = 0;
        return result != ETIMEDOUT;
    });
    return result;
}

} // namespace Workbench
