#pragma once

// MainSt: the frame of a program that works in one thread, with a one-shot alarm, used as Main is. For a
// program with threads take Main, which waits for its stop signals.
//
//   class Probe : public MainSt {
//   public:
//       Probe() : MainSt("probe") {}
//       int Run() override {
//           SetAlarm(5000L);
//           while (!IsAlarmed()) Ask_();
//           return EXIT_SUCCESS;
//       }
//   };
//
// Owns     the ThreadMain of the calling thread, and the timer of the alarm.
// Signals  SIGUSR2, SIGCHLD, SIGINT, SIGPIPE and SIGHUP are blocked, also behind the end of the object.
//          SIGALRM raises the flag IsAlarmed(). SIGTERM is logged, and has no other effect: there is no
//          thread that could interrupt this one. A program that is to end on SIGTERM is one for Main.
// Waits    an alarm cuts a sleep or a wait for descriptors short; Sleep() of the library goes on to its end.
// A
//          read or write that waits is started again by the system.
// Threads  the one that made it; handlers run there.
// Failure  shows in Initialized(), as a text on standard error or in the log.

#include "zeb/core/CString.h"
#include "zeb/core/Export.h"
#include "zeb/core/TimeSpan.h"
#include "zeb/runtime/ThreadMain.h"

#include <signal.h>
#include <time.h>

#include <atomic>

class ZEB_PUBLIC MainSt {
public:
    explicit MainSt(CString const& ident);
    virtual ~MainSt();
    MainSt(MainSt const&) = delete;
    MainSt& operator=(MainSt const&) = delete;

    virtual int Run() = 0;

    virtual void SetStop();
    virtual bool Initialized() const { return initialized_; }

    bool StopRequested() const;

    // Raises the alarm once after the delay, which replaces an earlier one; a negative delay counts as zero.
    void SetAlarm(Time::Span const& delay);
    void SetAlarm(long milliseconds);
    void CancelAlarm();

    bool IsAlarmed() const { return alarmed_; }
    void ClearAlarm() { alarmed_ = false; }

    // Hold the alarm signal back in the calling thread, and let it through again.
    void MaskAlarm();
    void UnmaskAlarm();

private:
    static void SignalHandler_(int signal, siginfo_t* info, void* context);

    bool InstallHandlers_();
    bool CreateTimer_();
    void SetTimer_(Time::Span const& deadline);

    timer_t alarmTimer_ = {};
    sigset_t alarmSet_;
    bool initialized_ = false;
    std::atomic<bool> alarmed_ = false;
    ThreadMain* mainThread_;
};
