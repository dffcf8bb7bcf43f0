#pragma once

// Process: a child program, started, watched and stopped while other threads run. One hidden thread of the
// program, the execution thread ("Process manager"), starts every child, waits for all of them, and tells the
// owner of each when it has ended. A daemon that is to be kept running takes a Service, a child that is
// talked to by its standard input and output an Io::Process.
//
//   class Dhcp : public Process::Owner {
//   public:
//       bool Start() { return process_.Initialized() && process_.Start().Succeeded(); }
//       bool AttachTo(Xml::Node&) const override { return true; }
//       void OnProcessTerminated_(Process const*, int exitCode, int signal) override { ... }
//
//   private:
//       Process process_{"dhcp", "udhcpc", *this, 0, nullptr, Process::OUTPUT_KEEP,
//       Process::STOP_SIGNAL_TERM,
//                        2000, Process::SESSION_NEW, CString::Nil(), 0, 0, Process::IO_PRIO_DEFAULT};
//   };
//
// Owns     copies of all texts; the owner, and the variable of the descriptor, outlive the object. Make it
// the
//          last member of its owner, so that it goes first.
// Child    begins with the arguments and variables that stood at Start(), an empty signal mask, no descriptor
//          but 0, 1 and 2, and the directory and umask of this program.
// Threads  any but the execution thread. SIGCHLD is blocked in all threads of the program, as Main and MainSt
//          see to. Every child of the program is reaped here: popen(), system() and waitpid() of others lose
//          theirs.
// Waits    Start() until the program has replaced the child, or has failed to, and ahead of that for the end
//          of a run that was told to stop, for other calls of Start(), and for callbacks: that of any owner
//          holds up every start. The destructor waits for the callback of its own process. Stop() waits for
//          a Start() in progress alone. Nothing interrupts these waits.
// Locks    hold none around Start() and the destructor that the callback of an owner takes. Those held stand
//          below EXEC_GUARD for construction and destruction, below PROCESS for all else.
// Callback OnProcessTerminated_() comes on the execution thread, without a lock of the library. Within it no
//          Process is made, destroyed, started or stopped: that is refused in words. Set a timer, post a
//          task. Signal() and the operations on arguments and variables may be used.
// Destroy  with the child stopped: one that still runs goes on by itself, and the log says so.
// Group    with SESSION_NEW the child leads a process group, which is killed as a whole. With SESSION_INHERIT
//          it stays in that of this program, and the child alone can be killed.
// Failure  by code, and in the log. An object that could not be made is not Initialized(): its operations
//          fail, and Stop() is true.
// Memory   taken at construction, by Start() and by what changes arguments or variables; without it the
//          operation fails and changes nothing.

#include "zeb/core/CString.h"
#include "zeb/core/Export.h"
#include "zeb/core/Log.h"
#include "zeb/core/ReturnT.h"
#include "zeb/event/BaseDelegate.h"

class ProcessInstance_;
class String;
class StringMap;
class StringVector;

namespace Xml {
class Node;
}

class ZEB_PUBLIC Process {
public:
    static constexpr char const IDENT[] = "Process";

    // From OOM_SCORE_MIN, which the kernel spares longest, to OOM_SCORE_MAX, which it kills first when memory
    // runs out.
    using OomScoreT = int;
    static constexpr OomScoreT OOM_SCORE_MIN = -999;
    static constexpr OomScoreT OOM_SCORE_MAX = 999;

    // Of standard output and standard error, for a child with an I/O descriptor.
    enum OutputT : unsigned { OUTPUT_KEEP = 0, OUTPUT_DISCARD = 1 };

    // What Stop() sends: nothing, SIGTERM or SIGINT to the process, or SIGKILL to its group at once.
    enum StopSignalT : unsigned {
        STOP_SIGNAL_NONE = 0,
        STOP_SIGNAL_TERM = 1,
        STOP_SIGNAL_INT = 2,
        STOP_SIGNAL_KILL = 3
    };
    enum SessionT : unsigned { SESSION_INHERIT = 0, SESSION_NEW = 1 };
    enum IoPrioT : unsigned { IO_PRIO_DEFAULT = 0, IO_PRIO_IDLE = 1 };

    // Whom a signal reaches. Of any other value nobody.
    enum ScopeT : unsigned { SCOPE_PROCESS = 0, SCOPE_GROUP = 1 };

    // Start().
    static constexpr ReturnT STARTED{0x000803E8};
    static constexpr ReturnT START_FAILED{0x800803E8};
    static constexpr ReturnT START_IN_EXECUTION_THREAD{0xC00803E8};
    static constexpr ReturnT START_IN_TERMINATION{0xC00803F2};
    static constexpr ReturnT ALREADY_STARTED{0x800803F2};
    static constexpr ReturnT START_UNREGISTERED{0xC00803FC};
    static constexpr ReturnT BUSY{0xC0080406};
    static constexpr ReturnT NOT_NOTIFIED{0xC0080410};
    static constexpr ReturnT STILL_OPEN{0xC008041A};

    // Signal().
    static constexpr ReturnT SIGNAL_SENT{0x000807D0};
    static constexpr ReturnT SIGNAL_STOPPED{0x800807D0};
    static constexpr ReturnT SIGNAL_UNREGISTERED{0xC00807D0};
    static constexpr ReturnT SIGNAL_FAILED{0x800807DA};
    static constexpr ReturnT GROUP_SIGNAL_FAILED{0x800807E4};

    // Variables of the environment.
    static constexpr ReturnT ENVIRONMENT_SET{0x00080BB8};
    static constexpr ReturnT BAD_VARIABLE{0x80080BB8};
    static constexpr ReturnT NO_VALUE{0xC0080BB8};
    static constexpr ReturnT ENVIRONMENT_UNSET{0x00080FA0};
    static constexpr ReturnT NOT_SET{0x80080FA0};

    // FindExecutable().
    static constexpr ReturnT NOT_FOUND{0x80081388};
    static constexpr ReturnT NOT_CANONICAL{0x800813EC};
    static constexpr ReturnT TOO_MANY_LINKS{0x80081450};
    static constexpr ReturnT UNREADABLE_LINK{0x800814B4};
    static constexpr ReturnT NOT_EXECUTABLE{0x80081518};

    class Monitor;
    class Owner;

    // `name` is that in log lines. `executable` is a path, or a name that FindExecutable() looks for, once
    // and now. A null `ioDescriptor` leaves the child the standard streams of this program. Otherwise its 0,
    // 1 and 2 are one end of a socket, except for discarded output, and Start() stores the other end there,
    // which the client closes, setting -1, ahead of the next start. `killTimeoutMs` is how long after Stop()
    // the child is killed. `chroot` is the child's root directory, empty for that of this program; a `uid` or
    // `gid` of 0 changes nothing. The user is set ahead of the group, so that both together take a `uid` that
    // may still set groups.
    Process(CString const& name, CString const& executable, Owner& owner, OomScoreT oomScore,
            int* ioDescriptor, OutputT output, StopSignalT stopSignal, unsigned long killTimeoutMs,
            SessionT session, CString const& chroot, unsigned uid, unsigned gid, IoPrioT ioPrio);
    virtual ~Process();
    Process(Process const&) = delete;
    Process& operator=(Process const&) = delete;

    bool Initialized() const { return instance_ != nullptr; }

    // A process that was told to stop is waited for first. An Oom code when memory ran out.
    ReturnT Start();

    // Sends the stop signal and returns; the callback tells of the end. True as well when there is nothing to
    // stop; false within the callback of this process alone.
    bool Stop();

    // The group is that which the child leads, see above.
    ReturnT Signal(int signal, ScopeT scope) const;

    // Of the next Start(). The program's path goes ahead of the arguments, and is none of them. Done or Oom
    // codes; on failure the arguments are as they were. The list ends with a null pointer.
    ReturnT SetArguments(char const* const* arguments);
    ReturnT SetArguments(StringVector const& arguments);
    ReturnT PushArgument(CString const& argument);
    void ClearArguments();

    // Of the next Start(): what the child has in addition to the variables of this program, or instead of
    // them. The first two replace the whole set; the list has names and values by turns, and ends with a null
    // pointer. On failure the set is as it was.
    ReturnT SetEnvironment(char const* const* environment);
    ReturnT SetEnvironment(StringMap const& environment);
    ReturnT SetEnvironment(CString const& name, CString const& value);
    ReturnT UnsetEnvironment(CString const& name);
    void ClearEnvironment();

    // Of the next Start().
    void SetIoPriority(IoPrioT ioPrio);

    // The canonical path of a program. One that begins with "/" is that path; any other is looked for in the
    // current directory, then in those of `extraPath` and of the variable PATH, each a list with ":". The
    // first file of that name ends the search, whether it can be executed or not. With a `chroot` paths are
    // those within it, whose links are followed by its own root, and `resolved` has `chroot` ahead of it. The
    // codes above, a Fail code (an empty name, no PATH, a directory that cannot be looked at) or an Oom code;
    // on failure `resolved` is as it was.
    static ReturnT FindExecutable(CString const& executable, CString const& extraPath, CString const& chroot,
                                  String& resolved, Log::VerboseT verbose);

    // Runs a program to its end, on the calling thread: for a program without threads, while it has no
    // Process. The exit status; 1 if it was killed or could not be run.
    static int Execute(CString const& name, CString const& path, StringVector const& arguments,
                       StringMap const& environment);

private:
    ProcessInstance_* instance_;
};

// Who is told of the end of a process. As an event's delegate it stands for the object alone: it cannot be
// subscribed.
class ZEB_PUBLIC Process::Owner : public Event::BaseDelegate {
public:
    ~Owner() override = 0;

    // Adds what there is to tell of the process to its node in a report; true if that could be done.
    virtual bool AttachTo(Xml::Node& node) const = 0;

    // `exitCode` is the exit status, or -1; `signal` the one that has killed the process, or -1.
    virtual void OnProcessTerminated_(Process const* process, int exitCode, int signal) = 0;

    [[nodiscard]] BaseDelegate* Clone() const override;
    void Handle(Event::Base const& event) override;

protected:
    Owner();
};

// What a report of processes asks for each of them.
class ZEB_PUBLIC Process::Monitor {
public:
    virtual ~Monitor() = 0;
    virtual ReturnT AttachStatus(int pid, Xml::Node& node) const = 0;
};
