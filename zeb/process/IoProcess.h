#pragma once

// Io::Process: a child program whose standard input and output are a stream. For a child that is only to be
// kept, or that talks to somebody else, take Process (zeb/process/Process.h); for one shell command Shell.h.
//
//   Io::Process sort("sort", "sort", Io::MODE_READ_WRITE, Io::EOL_LF, Process::STOP_SIGNAL_TERM, 2000, "");
//   if (!sort.Start()) ...
//   sort << "b" << Io::Endl << "a" << Io::Endl;
//   sort.EndInput();
//   while (sort.NextLine(line)) ...
//   int const status = sort.Wait();
//
// The two ends share a socket: what the child prints and nobody reads fills it, and then the child stands
// still, and so does who goes on writing to it. Standard error goes the way of standard output; without
// MODE_READ both are thrown away. Of a child that is read from with a limit, SetTimeout() gives the limit.
//
// Owns       the process, its end of the socket from Start() to the next one or StopWait(), and the blocks
// Threads    one, which is not the execution thread; the end of the child comes from that, under the lock
// Waits      each transfer as long as SetTimeout says; an interruption of the thread ends it. Start() for the
//            start of the program, StopWait() and the destructor for the end of the child. Wait() and
//            Execute() stop the child when the thread is interrupted, and then wait for its end, which comes
//            with the kill delay at the latest
// Locks      those held stand below IO_PROCESS, and no callback of an owner of a process takes them
// Destroy    anywhere but on the execution thread; pending output goes out for a second at most
//            (PollableBase::Finish), and a child that runs is stopped and waited for
// Restart    Start() stops a run that is still in hand, and drops what was unread or unsent of it; a failed
//            state is cleared, one that is broken is final. Output of a child that has ended can be read
//            until then
// Failure    STATE_BROKEN, logged, when it could not be made; later by state: STATE_RESET when the child
// takes
//            no more. The words about the child itself are those of Process
// Memory     taken at construction, and by what Process takes

#include "zeb/io/PollableBase.h"
#include "zeb/io/PollableStream.h"
#include "zeb/io/SocketBase.h"
#include "zeb/process/Process.h"
#include "zeb/runtime/Condition.h"
#include "zeb/stream/Memory.h"

namespace Io {

class ZEB_PUBLIC Process : public PollableStream, public ::Process::Owner {
public:
    static constexpr char const IDENT[] = "Io::Process";

    // The child is a session of its own, with the OOM score 0. `chroot` is its root directory, empty for that
    // of this program.
    Process(CString const& name, CString const& executable, ModeT mode, EndOfLineT eol,
            ::Process::StopSignalT stopSignal, unsigned long killTimeoutMs, CString const& chroot);
    ~Process() override;

    // Those of Process, for the next Start().
    ReturnT SetArguments(char const* const* arguments) { return process_.SetArguments(arguments); }
    ReturnT SetArguments(StringVector const& arguments) { return process_.SetArguments(arguments); }
    ReturnT PushArgument(CString const& argument) { return process_.PushArgument(argument); }
    ReturnT SetEnvironment(char const* const* variables) { return process_.SetEnvironment(variables); }
    ReturnT SetEnvironment(StringMap const& variables) { return process_.SetEnvironment(variables); }
    ReturnT SetEnvironment(CString const& name, CString const& value) {
        return process_.SetEnvironment(name, value);
    }

    bool Start();

    // Hands pending output out and tells the child that its input is at an end; what it prints can still be
    // read. False by the state.
    bool EndInput();

    // Asks the child to end, without waiting.
    bool Stop() { return process_.Stop(); }

    // The exit status of the run, -1 for a child that was killed; 0 when there was no run.
    int StopWait();
    int Wait();

    // A negative time-out waits without limit; at its end the result is 1 and the child goes on.
    int Wait(long timeoutMs, bool& timedOut, bool& interrupted);

    // A run from Start() on, 1 when that failed; at the time-out the child is stopped. The pointers may be
    // null.
    int Execute(long timeoutMs, bool* timedOut, bool* interrupted);

    bool IsRunning() const;

    // Unread bytes in the input buffer.
    bool ObjIReady() const override;

    // Of the owner of the process. The first adds nothing.
    bool AttachTo(Xml::Node& node) const override;
    void OnProcessTerminated_(::Process const* process, int exitCode, int signal) override;

private:
    static constexpr unsigned long BUFFER_SIZE = 4096;

    int StopWait_();
    void Rewind_();

    Condition condition_{Mutex::IO_PROCESS};

    // Guarded by the lock.
    bool ended_ = true;
    int exitCode_ = 0;

    // Of the owner's thread.
    ModeT mode_;
    int fd_ = -1;
    ::Process process_;
    SocketBase base_;
    PollableBase pollableBase_;
    EndOfLineT eol_;
    Buffer input_;
    Buffer output_;
    Memory memory_;
};

} // namespace Io
