// A clock that the test moves.
//
// While a Clock exists the whole process sees it: clock_gettime, and the waits with a limit: nanosleep (which
// std::this_thread::sleep_for calls), pthread_cond_timedwait, poll, sigtimedwait, and timer_settime with an
// absolute time. It starts at the real time. CPU-time clocks stay real. One Clock at a time.
//
// Threads    any may read, wait and advance; one in a wait is counted by Waiters()
// Destroy    when no thread waits on it any more: a wait that is left ends, as if its time were over
// Order      a thread that has not gone to sleep yet computes its deadline from the moved clock:
//            AwaitWaiters() first, then Advance()
//
// A thread in a wait wakes within 2 real milliseconds when the clock has passed its deadline, or when what it
// waits for happens. A wait that nobody ends within 20 real seconds ends the process with a message.
#pragma once

#include <ctime>

class Clock {
public:
    enum class ModeT {
        MANUAL, // stands still but for Advance()
        AUTO,   // as MANUAL, and a wait of the thread that made the Clock moves it to its deadline at once
    };

    explicit Clock(ModeT mode = ModeT::MANUAL);
    ~Clock();
    Clock(Clock const&) = delete;
    Clock& operator=(Clock const&) = delete;

    void Advance(long milliseconds) { AdvanceNanoseconds(milliseconds * 1000000L); }
    void AdvanceNanoseconds(long nanoseconds);

    // Sets the wall clock alone; the monotonic clock goes on.
    void SetWall(long seconds, long nanoseconds = 0);

    // Nanoseconds by which the clock has moved, by Advance() and by waits in AUTO mode.
    long Moved() const;

    // Threads in a wait that the clock has still to end: one whose time is over is none, so that
    // AwaitWaiters() behind an Advance() finds it in its next wait. Wait for it before Advance() when the
    // order matters.
    unsigned long Waiters() const;

    // True when at least `count` threads are in a wait; false after 2 real seconds without.
    bool AwaitWaiters(unsigned long count) const;

    // Real time, whether a Clock exists or not: lets other threads run.
    static void RealPause(long milliseconds);
};
