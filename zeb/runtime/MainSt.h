#pragma once

// MainSt: the frame of a program that works in one thread, with a one-shot alarm. It is used as Main is.
// SIGUSR2, SIGCHLD, SIGINT, SIGPIPE and SIGHUP are blocked; SIGALRM raises the flag IsAlarmed() and
// interrupts a system call that waits, but for those that the kernel starts again.

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
