#pragma once

// The state of a Process, shared with the execution thread. Not installed.

#include "zeb/core/String.h"
#include "zeb/core/StringMap.h"
#include "zeb/core/StringVector.h"
#include "zeb/process/Process.h"
#include "zeb/runtime/Condition.h"
#include "zeb/timer/Timer.h"

class Thread;

class ProcessInstance_ : public Condition {
public:
    enum StateT : uint32_t { STOPPED = 0, RUNNING = 1, STOPPING = 2, KILLING = 3 };

    // What the constructor of the Process was given, as it stands.
    struct Settings_ {
        int* ioDescriptor = nullptr;
        Process::OutputT output = Process::OUTPUT_KEEP;
        Process::StopSignalT stopSignal = Process::STOP_SIGNAL_TERM;
        unsigned long killTimeoutMs = 0;
        Process::SessionT session = Process::SESSION_INHERIT;
        Process::OomScoreT oomScore = 0;
        unsigned uid = 0;
        unsigned gid = 0;
        Process::IoPrioT ioPrio = Process::IO_PRIO_DEFAULT;
    };

    ProcessInstance_(Process& process, Process::Owner& owner, Settings_ const& settings);
    ~ProcessInstance_() override;

    // False, logged, if it could not be registered.
    bool Register(CString const& name, CString const& executable, CString const& chroot);

    ReturnT Start();
    bool Stop();

    // On the execution thread: the run of the process is over, and its owner is told.
    void BeginTermination();
    void EndTermination();

    // On the thread of the timer, with the lock held.
    void OnTimer_();

    // Fixed after construction.
    Process& process;
    Process::Owner& owner;
    String name;
    String path;
    String chroot;
    bool registered = false;

    // Guarded by the lock of the object itself; read by the execution thread while Start() waits for it.
    Settings_ settings;
    StringVector arguments;
    StringMap environment;

private:
    bool FindPath_(CString const& executable);
    bool IsOomScoreValid_() const;
    ReturnT Start_();
    bool IsTerminating_() const;

    // Guarded by the lock of the object itself.
    StateT state_ = STOPPED;
    Thread* terminationThread_ = nullptr; // in the callback
    unsigned long starters_ = 0;          // threads in Start()

    Timer<ProcessInstance_> const killTimer_;
};
