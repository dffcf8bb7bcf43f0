#include "zeb/process/ExecImpl.h"

#include "zeb/core/ErrorString.h"
#include "zeb/core/Time.h"
#include "zeb/process/SpawnImpl.h"
#include "zeb/runtime/Status.h"

#include <cerrno>
#include <new>
#include <sys/wait.h>

namespace Posix {

namespace {

constexpr char const THREAD_NAME[] = "Process manager";
constexpr timespec POLL_TIMEOUT = {0, 100000000};
constexpr long ERROR_PAUSE_MS = 1000;

// The signal is taken by the thread; with a handler it is not ignored.
void OnSignal_(int) {}

bool SetAction_(void (*handler)(int)) {
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = SA_NOCLDSTOP;
    return sigaction(SIGCHLD, &action, nullptr) == 0;
}

} // namespace

constinit Mutex const Exec_::guard(Mutex::EXEC_GUARD);
constinit Exec_* Exec_::instance_ = nullptr;
constinit unsigned long Exec_::count_ = 0;

Exec_::Exec_()
    : Thread(THREAD_NAME) {}

Exec_::~Exec_() {
    if (!started_) return;
    SetStop();
    (void)Kill(SIGCHLD); // it runs
    if (!Stop()) Log(Log::CRITICAL, Process::IDENT, nullptr, "unable to stop the execution thread");
}

void Exec_::Leave() {
    if (--count_ != 0 || !instance_ || !instance_->DifferentContext()) return;
    delete instance_;
    instance_ = nullptr;
    (void)SetAction_(SIG_DFL); // the arguments are sound
}

bool Exec_::Create() {
    if (instance_) return true;
    if (!SetAction_(OnSignal_)) {
        int const error = errno;
        Log(Log::CRITICAL, Process::IDENT, nullptr, "unable to initialize a signal handler: %1")
            << ErrorString(error);
    } else {
        Exec_* const exec = new (std::nothrow) Exec_;
        if (exec) exec->started_ = exec->Thread::Initialized() && exec->Start().Succeeded();
        if (exec && exec->started_) return instance_ = exec, true;
        delete exec;
        (void)SetAction_(SIG_DFL); // the arguments are sound
        Log(Log::CRITICAL, Process::IDENT, nullptr, "unable to initialize and start the execution thread");
    }
    Log(Log::CRITICAL, Process::IDENT, nullptr, "unable to create an execution object");
    return false;
}

ReturnT Exec_::Initialize() {
    if (sigemptyset(&waitSet_) == 0 && sigaddset(&waitSet_, SIGCHLD) == 0) {
        // A wake-up that comes ahead of the wait must stay pending, whatever the program blocks.
        int const error = pthread_sigmask(SIG_BLOCK, &waitSet_, nullptr);
        if (!error) return ReturnT::Done();
        errno = error;
    }
    int const error = errno;
    Log(Log::CRITICAL, Process::IDENT, nullptr, "unable to setup a signal mask: %1") << ErrorString(error);
    return ReturnT::Fail();
}

ReturnT Exec_::Run() {
    bool polling = true;
    do
        polling = Turn_(polling);
    while (!StopRequested());
    return SelfStatus()->Code();
}

bool Exec_::Turn_(bool polling) {
    int const signal = sigtimedwait(&waitSet_, nullptr, polling ? &POLL_TIMEOUT : nullptr);
    int const error = signal < 0 ? errno : 0;
    if (error == EINTR) return polling;
    if (error != 0 && error != EAGAIN) {
        Log(Log::CRITICAL, Process::IDENT, nullptr, "signal wait error: %1") << ErrorString(error);
        (void)Sleep(ERROR_PAUSE_MS); // cut short by the stop of the thread
        return polling;
    }
    Mutex::Guard const held(condition_);
    if (error == EAGAIN) return PollAll_();
    ServeStarts_();
    Reap_();
    return AnyTerminated_();
}

bool Exec_::PollAll_() {
    // An entry that a callback moves out of its turn is polled the next time.
    for (unsigned long i = 0; i < entries_.Size(); ++i)
        (void)DoPoll_(*entries_[i]);
    return AnyTerminated_();
}

bool Exec_::AnyTerminated_() const {
    for (Info_ const* const info : entries_)
        if ((info->flags & Info_::TERMINATED) != 0) return true;
    return false;
}

void Exec_::ServeStarts_() {
    while (starting_ || !startQueue_.Empty()) {
        if (starting_) {
            condition_.Wait(-1L);
            continue;
        }
        starting_ = startQueue_.Front();
        startQueue_.Remove(0);
        ProcessInstance_ const& instance = starting_->instance;
        ProcessInstance_::Settings_ const& settings = instance.settings;
        starting_->pid = Spawn_({.name = instance.name,
                                 .path = instance.path,
                                 .arguments = starting_->arguments,
                                 .environment = starting_->environment,
                                 .chroot = instance.chroot,
                                 .ioDescriptor = settings.ioDescriptor,
                                 .output = settings.output,
                                 .session = settings.session,
                                 .oomScore = settings.oomScore,
                                 .uid = settings.uid,
                                 .gid = settings.gid,
                                 .ioPrio = settings.ioPrio});
        condition_.Broadcast();
    }
}

void Exec_::Reap_() {
    int status = 0;
    for (;;) {
        int const pid = waitpid(-1, &status, WNOHANG | WUNTRACED | WCONTINUED);
        if (pid < 1) return;
        TakeStatus_(pid, status);
    }
}

void Exec_::TakeStatus_(int pid, int status) {
    Info_* const info = Find_(pid);
    bool const stopped = WIFSTOPPED(status);
    if (stopped || WIFCONTINUED(status)) {
        if (!info) return;
        Log(Log::WARNING, Process::IDENT, nullptr, "process \"%1\" %2")
            << info->instance.name << (stopped ? "stopped" : "continued");
        return;
    }
    if (!info) {
        Log(Log::CRITICAL, Process::IDENT, nullptr, "a process with an unknown PID [%1] terminated") << pid;
        return;
    }
    info->status = status;
    info->exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    info->flags |= Info_::TERMINATED;
    (void)DoPoll_(*info); // what is left to do is seen by its flag
}

bool Exec_::DoPoll_(Info_& info) {
    if ((info.flags & Info_::TERMINATED) == 0) return false;
    if (info.Signal() != -1 && AwaitGroup_(info)) return true;
    if ((info.flags & Info_::UNREGISTERING) != 0) {
        Log(Log::CRITICAL, Process::IDENT, nullptr, "\"%1\" process is unregistering without stopping")
            << info.instance.name;
    } else if (!Deliver_(info)) {
        return false;
    }
    info.Reset();
    return false;
}

// True while members of the group of a child that was killed are left. They are killed once.
bool Exec_::AwaitGroup_(Info_& info) {
    bool const killed = (info.flags & Info_::GROUP_KILLED) != 0;
    if (killpg(info.pid, killed ? 0 : SIGKILL) == 0) {
        if (killed) return true;
        Log(Log::WARNING, Process::IDENT, nullptr, "killing all processes in \"%1\" group...")
            << info.instance.name;
        info.flags |= Info_::GROUP_KILLED;
        return true;
    }
    int const error = errno;
    if (error == ESRCH) return false;
    if (error == 0) return true;
    Log(Log::ERROR, Process::IDENT, nullptr, "failed to %1 child processes of \"%2\": %3, retrying...")
        << (killed ? "wait" : "kill") << info.instance.name << ErrorString(error);
    return true;
}

// False if the owner has destroyed the process, and the entry with it.
bool Exec_::Deliver_(Info_& info) {
    ProcessInstance_& instance = info.instance;
    terminating_ = &info;
    condition_.Unlock();
    instance.BeginTermination();
    instance.owner.OnProcessTerminated_(&instance.process, info.exitCode, info.Signal());
    bool const alive = terminating_ == &info; // this thread alone changes it
    if (alive) instance.EndTermination();
    (void)condition_.Lock(); // fails only for a lock that is held already
    terminating_ = nullptr;
    condition_.Broadcast();
    return alive;
}

int Exec_::Info_::Signal() const { return WIFSIGNALED(status) ? WTERMSIG(status) : -1; }

void Exec_::Info_::Reset() {
    pid = -1;
    exitCode = -1;
    flags &= ~(GROUP_KILLED | TERMINATED);
}

} // namespace Posix
