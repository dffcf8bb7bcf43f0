// What other threads ask of the execution thread.

#include "zeb/core/AutoPtr.h"
#include "zeb/core/ErrorString.h"
#include "zeb/process/ExecImpl.h"
#include "zeb/runtime/StatusLog.h"

#include <cerrno>
#include <new>

namespace Posix {

Exec_::Info_* Exec_::Find_(ProcessInstance_ const& instance) {
    for (Info_* const info : entries_)
        if (&info->instance == &instance) return info;
    return nullptr;
}

Exec_::Info_* Exec_::Find_(int pid) {
    for (Info_* const info : entries_)
        if (info->pid == pid) return info;
    return nullptr;
}

// The entry for a request that this thread itself must not make; null, logged.
Exec_::Info_* Exec_::Admit_(ProcessInstance_ const& instance, char const* inThread, char const* unknown) {
    Info_* const info = DifferentContext() ? Find_(instance) : nullptr;
    if (!info)
        Log(Log::CRITICAL, Process::IDENT, nullptr, DifferentContext() ? unknown : inThread) << instance.name;
    return info;
}

bool Exec_::IsUsed_(Info_ const& info) const {
    return starting_ == &info || terminating_ == &info || startQueue_.Find(&info) != startQueue_.Size();
}

ReturnT Exec_::Refuse_(ReturnT const& code, char const* message, ProcessInstance_ const& instance) {
    return StatusLog(code, Log::CRITICAL, Process::IDENT, nullptr, message) << instance.name;
}

bool Exec_::Register(ProcessInstance_& instance) {
    Mutex::Guard const held(condition_);
    if (!DifferentContext() || Find_(instance)) {
        Log(Log::CRITICAL, Process::IDENT, nullptr,
            DifferentContext() ? "\"%1\" already registered"
                               : "new \"%1\" can not be registered in an execution thread context")
            << instance.name;
        return false;
    }
    AutoPtr<Info_, StdDeleter> info(new (std::nothrow) Info_(instance));
    if (info && entries_.PushBack(info)) return true;
    Log(Log::CRITICAL, Process::IDENT, instance.name.Cstr(), "").Oom(ReturnT::Oom());
    return false;
}

void Exec_::Unregister(ProcessInstance_& instance) {
    Mutex::Guard const held(condition_);
    Info_* info = Admit_(instance, "\"%1\" process can not be unregistered in an execution thread context",
                         "\"%1\" was not registered");
    if (info) {
        info->flags |= Info_::UNREGISTERING;
        while (IsUsed_(*info))
            condition_.Wait(-1L);
        if (info->pid != -1)
            Log(Log::CRITICAL, Process::IDENT, nullptr, "\"%1\" was not terminated") << instance.name;
    } else {
        // The object ends all the same. Nobody can be waited for here.
        info = Find_(instance);
        if (!info) return;
        startQueue_.Remove(startQueue_.Find(info));
        if (terminating_ == info) terminating_ = nullptr;
    }
    entries_.Free(entries_.Find(info));
}

ReturnT Exec_::BeginStart(ProcessInstance_& instance) {
    Mutex::Guard const held(condition_);
    Info_* const info = Find_(instance);
    if (!info)
        return Refuse_(Process::START_UNREGISTERED, "unable to start unregistered \"%1\" process", instance);
    while (terminating_ == info) // its callback is over
        condition_.Wait(-1L);
    if (info->pid != -1 || IsUsed_(*info))
        return Refuse_(Process::BUSY, "unable to start \"%1\" busy process", instance);
    if (!info->arguments.Assign(instance.arguments) || !info->environment.Assign(instance.environment) ||
        !startQueue_.PushBack(info))
        return StatusLog(ReturnT::Oom(), Log::CRITICAL, Process::IDENT, instance.name.Cstr(), "").SetOom();
    if (Kill(SIGCHLD)) return Process::STARTED;
    startQueue_.Remove(startQueue_.Find(info));
    return Refuse_(Process::NOT_NOTIFIED, "unable to notify an execution thread to start \"%1\" process",
                   instance);
}

ReturnT Exec_::AwaitStart(ProcessInstance_& instance) {
    Mutex::Guard const held(condition_);
    Info_ const* const info = Find_(instance);
    while (starting_ != info)
        condition_.Wait(-1L);
    if (info->pid != -1)
        return StatusLog(Process::STARTED, Log::INFO, Process::IDENT, instance.name.Cstr(), "").SetDone();
    return StatusLog(Process::START_FAILED, Log::ERROR, Process::IDENT, nullptr, "failed to start \"%1\"")
           << instance.name;
}

void Exec_::EndStart() {
    Mutex::Guard const held(condition_);
    starting_ = nullptr;
    condition_.Broadcast();
}

// The group that the child leads; the child alone when it leads none.
void Exec_::KillGroup_(Info_& info) {
    if (killpg(info.pid, SIGKILL) != 0) (void)kill(info.pid, SIGKILL); // of a group or not, it is to die
    info.flags |= Info_::GROUP_KILLED;
}

bool Exec_::Stop(ProcessInstance_& instance) {
    Mutex::Guard const held(condition_);
    Info_* const info = Admit_(instance, "unable to stop \"%1\" process in an execution thread context",
                               "unable to stop an unregistered \"%1\" process");
    if (!info) return false;
    Process::StopSignalT const wanted = instance.settings.stopSignal;
    if (wanted == Process::STOP_SIGNAL_NONE || !info->IsAlive()) return true;
    if (wanted >= Process::STOP_SIGNAL_KILL) return KillGroup_(*info), true;
    // A child that cannot be signalled is killed when its time is over.
    (void)kill(info->pid, wanted == Process::STOP_SIGNAL_TERM ? SIGTERM : SIGINT);
    return true;
}

bool Exec_::Kill(ProcessInstance_& instance) {
    Mutex::Guard const held(condition_);
    Info_* const info = Admit_(instance, "unable to kill \"%1\" process in an execution thread context",
                               "unable to kill an unregistered \"%1\" process");
    if (!info) return false;
    if (!info->IsAlive()) return true;
    KillGroup_(*info);
    Log(Log::WARNING, Process::IDENT, nullptr, "\"%1\" has been killed") << instance.name;
    return true;
}

ReturnT Exec_::Signal(ProcessInstance_ const& instance, int signal, Process::ScopeT scope) {
    Mutex::Guard const held(condition_);
    Info_ const* const info = Find_(instance);
    if (!info)
        return Refuse_(Process::SIGNAL_UNREGISTERED,
                       "unable to send a signal to an unregistered \"%1\" process", instance);
    if (!info->IsAlive())
        return StatusLog(Process::SIGNAL_STOPPED, Log::ERROR, Process::IDENT, nullptr,
                         "failed to send signal %1 to \"%2\": process stopped")
               << signal << instance.name;
    bool const group = scope == Process::SCOPE_GROUP;
    int const result = group                             ? killpg(info->pid, signal)
                       : scope == Process::SCOPE_PROCESS ? kill(info->pid, signal)
                                                         : 0;
    int const error = result == 0 ? 0 : errno;
    if (error == 0)
        return StatusLog(Process::SIGNAL_SENT, Log::INFO, Process::IDENT, instance.name.Cstr(), "").SetDone();
    return StatusLog(group ? Process::GROUP_SIGNAL_FAILED : Process::SIGNAL_FAILED, Log::ERROR,
                     Process::IDENT, nullptr,
                     group ? "unable to send %1 signal to \"%2\" process group: %3"
                           : "unable to send %1 signal to \"%2\" process: %3")
           << signal << instance.name << ErrorString(error);
}

} // namespace Posix
