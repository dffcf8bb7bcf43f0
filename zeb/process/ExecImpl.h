#pragma once

// The execution thread: it starts all children, waits for them and tells their owners. Not installed.

#include "zeb/core/PVector.h"
#include "zeb/process/ProcessInstanceImpl.h"
#include "zeb/runtime/Condition.h"
#include "zeb/runtime/Thread.h"

#include <csignal>

namespace Posix {

class Exec_ final : public Thread {
public:
    // Ahead of all else of this folder; guards the one object and its count of users.
    static Mutex const guard;

    // The one object, or null. It lives while there is a registered instance.
    static Exec_* Instance() { return instance_; }

    // Users are counted, with the guard held; the last one ends the thread.
    static void Enter() { ++count_; }
    static void Leave();
    // Makes it unless it is there, with the guard held. False, logged, if it could not be had.
    static bool Create();

    ~Exec_() override;

    bool Initialized() const override { return Thread::Initialized() && started_; }
    ReturnT Initialize() override;
    ReturnT Run() override;

    // False, logged.
    bool Register(ProcessInstance_& instance);
    // Waits until nothing uses it any more.
    void Unregister(ProcessInstance_& instance);

    // A start in three steps: the first with the lock of the instance held, the second, which waits for the
    // child, without it, the third with the lock again. Between the last two this thread stands still.
    ReturnT BeginStart(ProcessInstance_& instance);
    ReturnT AwaitStart(ProcessInstance_& instance);
    void EndStart();

    // False, logged, if it was refused. With the lock of the instance held.
    bool Stop(ProcessInstance_& instance);
    bool Kill(ProcessInstance_& instance);
    using Thread::Kill;
    using Thread::Stop;

    ReturnT Signal(ProcessInstance_ const& instance, int signal, Process::ScopeT scope);

private:
    // An instance in the registry, and its child.
    struct Info_ {
        enum : unsigned long { UNREGISTERING = 1, GROUP_KILLED = 2, TERMINATED = 4 };

        explicit Info_(ProcessInstance_& of)
            : instance(of) {}

        // A child that has ended is none to be signalled: its number may be another's.
        bool IsAlive() const { return pid != -1 && (flags & TERMINATED) == 0; }
        // That has killed it, or -1.
        int Signal() const;
        void Reset();

        ProcessInstance_& instance;
        int pid = -1; // of its group, too
        int status = 0;
        int exitCode = -1;
        unsigned long flags = 0;
        StringVector arguments; // those of Start()
        StringMap environment;
    };

    Exec_();

    Info_* Find_(ProcessInstance_ const& instance);
    Info_* Find_(int pid);
    Info_* Admit_(ProcessInstance_ const& instance, char const* inThread, char const* unknown);
    bool IsUsed_(Info_ const& info) const;
    static ReturnT Refuse_(ReturnT const& code, char const* message, ProcessInstance_ const& instance);

    // With the lock held, which the first of them leaves for the callback of an owner. True if there is more
    // to wait for.
    bool DoPoll_(Info_& info);
    bool AwaitGroup_(Info_& info);
    bool Deliver_(Info_& info);
    bool PollAll_();
    bool AnyTerminated_() const;

    bool Turn_(bool polling);
    void ServeStarts_();
    void Reap_();
    void TakeStatus_(int pid, int status);
    static void KillGroup_(Info_& info);

    // Guards what follows.
    Condition condition_{Mutex::EXEC};
    AutoPVector<Info_, StdDeleter> entries_;
    PVector<Info_> startQueue_;
    Info_* starting_ = nullptr;    // forked; its Start() has not taken the result yet
    Info_* terminating_ = nullptr; // its owner is being called

    // Fixed after the start.
    bool started_ = false;
    sigset_t waitSet_;

    // Of the process.
    static Exec_* instance_;
    static unsigned long count_;
};

} // namespace Posix
