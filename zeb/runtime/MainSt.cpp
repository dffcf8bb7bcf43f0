#include "zeb/runtime/MainSt.h"

#include "zeb/core/Log.h"
#include "zeb/core/Time.h"
#include "zeb/runtime/MainImpl.h"
#include "zeb/runtime/MillisecondsImpl.h"

#include <cerrno>
#include <csignal>
#include <cstdio>

namespace {

constexpr int BLOCKED[] = {SIGUSR2, SIGCHLD, SIGINT, SIGPIPE, SIGSTOP, SIGHUP};

// That of the frame that lives. A signal of another timer, or one that comes late, carries another address.
constinit std::atomic<std::atomic<bool>*> flag_ = nullptr;

int Block_() {
    sigset_t set;
    sigemptyset(&set);
    for (int const signal : BLOCKED)
        sigaddset(&set, signal);
    return pthread_sigmask(SIG_BLOCK, &set, nullptr);
}

} // namespace

MainSt::MainSt(CString const& ident)
    : mainThread_(ThreadMain::New(ident.Cstr())) {
    sigemptyset(&alarmSet_);
    sigaddset(&alarmSet_, SIGALRM);
    if (!mainThread_) {
        fprintf(stderr, "%s: failed to wrap the main thread.\n", ident.Cstr());
        return;
    }
    flag_ = &alarmed_;
    initialized_ = Block_() == 0 && InstallHandlers_() && CreateTimer_() && InitializeTls_();
    if (!initialized_) Log(Log::CRITICAL, ident.Cstr(), nullptr, "").Fail(ReturnT::Fail());
}

MainSt::~MainSt() {
    if (initialized_) {
        CancelAlarm();
        timer_delete(alarmTimer_);
    }
    if (mainThread_) { // otherwise they are those of another frame
        flag_ = nullptr;
        CleanupTls_();
    }
    delete mainThread_;
}

bool MainSt::InstallHandlers_() {
    struct sigaction action = {};
    action.sa_sigaction = SignalHandler_;
    action.sa_flags = SA_RESTART | SA_SIGINFO;
    sigemptyset(&action.sa_mask);
    sigaddset(&action.sa_mask, SIGALRM);
    sigaddset(&action.sa_mask, SIGTERM);
    return sigaction(SIGALRM, &action, nullptr) == 0 && sigaction(SIGTERM, &action, nullptr) == 0;
}

bool MainSt::CreateTimer_() {
    sigevent event = {};
    event.sigev_notify = SIGEV_SIGNAL;
    event.sigev_signo = SIGALRM;
    event.sigev_value.sival_ptr = &alarmed_;
    return timer_create(CLOCK_MONOTONIC, &event, &alarmTimer_) == 0;
}

void MainSt::SignalHandler_(int signal, siginfo_t* info, void*) {
    if (signal == SIGTERM) {
        int const error = errno;
        {
            Log::InHandler const handler;
            if (Thread* const self = Thread::Self()) self->Interrupt();
        }
        errno = error;
    } else if (info->si_code == SI_TIMER) { // an alarm that somebody else sent carries no address
        std::atomic<bool>* const flag = flag_;
        if (flag && flag == info->si_value.sival_ptr) *flag = true;
    }
}

void MainSt::SetStop() {
    if (mainThread_) mainThread_->SetStop();
}

bool MainSt::StopRequested() const { return mainThread_ && mainThread_->StopRequested(); }

void MainSt::SetAlarm(Time::Span const& delay) {
    SetTimer_(Time::Monotonic() + (delay < Time::Span::Zero() ? Time::Span::Zero() : delay));
}

void MainSt::SetAlarm(long milliseconds) { SetAlarm(Milliseconds_(milliseconds)); }

void MainSt::CancelAlarm() { SetTimer_(Time::Span::Zero()); }

void MainSt::SetTimer_(Time::Span const& deadline) {
    if (!initialized_) return;
    itimerspec value = {};
    value.it_value = deadline;
    timer_settime(alarmTimer_, TIMER_ABSTIME, &value, nullptr); // the arguments are sound
}

void MainSt::MaskAlarm() { pthread_sigmask(SIG_BLOCK, &alarmSet_, nullptr); }

void MainSt::UnmaskAlarm() { pthread_sigmask(SIG_UNBLOCK, &alarmSet_, nullptr); }
