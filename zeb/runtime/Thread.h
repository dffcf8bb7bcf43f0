#pragma once

// Thread: a system thread with a name, a Status, a stack of the locks it holds and a private environment,
// listed in one registry. A subclass gives the work in Run(), and overrides Initialize() and Cleanup() as it
// needs. For work that comes in pieces take a Task::Queue, for work at a given time a Timer.
//
//   class Poller : public Thread {
//   public:
//       Poller() : Thread("Poller") {}
//       ~Poller() override { if (!Stopped()) Stop(); }
//       ReturnT Run() override {
//           while (Sleep(1000)) Poll_();                  // false once the thread is to stop
//           return ReturnT::Done();
//       }
//   };
//
// Owns     its records and its Status. The owner stops the thread before the object ends, or the derived part
//          goes while Run() uses it; what still runs at the end of the base class is logged, stopped and
//          joined. The object of the main thread (ThreadMain, of which Main takes care) is made before and
//          destroyed behind all others.
// Threads  operations on a thread may be called from any thread, the static ones act on the calling thread.
//          On a thread that something else has made Self() and SelfStatus() are null, locks are not
//          monitored, and nothing is interrupted.
// Waits    Start() until Initialize() has run in the new thread, which is its outcome; Stop() until the
//          thread has ended and was joined. Nothing ends these waits. Stop() raises the flags "stop
//          requested" and "interrupted": Sleep() and the waits of streams test the second one at least every
//          333 milliseconds. Mutex::Lock(), Condition::Wait() and system calls of one's own do not. A thread
//          that waits there is woken by its class, which overrides Stop() (see Condition.h).
// Locks    hold none around Start() and Stop() that Initialize(), Run() or Cleanup() takes.
// Restart  Start() after Stop() runs the same object again, with its own status as the target, and with
//          interruptions unmasked. The environment stays.
// Failure  misuse (started twice, stopped from itself, not running) is logged in words and refused.
// Memory   taken at construction and in Start(), which then fails; a report takes none.
//
// The first 15 bytes of the name are what the system shows (ps -L, gdb).

#include "zeb/core/Array.h"
#include "zeb/core/Buffer.h"
#include "zeb/core/CString.h"
#include "zeb/core/Export.h"
#include "zeb/core/Log.h"
#include "zeb/core/PVector.h"
#include "zeb/core/ReturnT.h"
#include "zeb/core/String.h"
#include "zeb/core/TimeSpan.h"
#include "zeb/runtime/Backtrace.h"
#include "zeb/runtime/Mutex.h"
#include "zeb/runtime/Status.h"

class Trace_;

namespace Xml {
class Node;
}

class ZEB_PUBLIC Runnable {
public:
    virtual ~Runnable();
    virtual ReturnT Run() = 0;
};

class ZEB_PUBLIC Thread : public Runnable {
public:
    static constexpr char const IDENT[] = "Thread";

    static constexpr int TID_UNKNOWN = 0;
    static constexpr int TID_SELF = Log::Backtrace::TID_SELF;

    static constexpr unsigned long STACK_SIZE = 0xA0000;

    // Codes of Start(). All but the first are failures.
    static constexpr ReturnT STARTED{0x00220001};
    static constexpr ReturnT NOT_CREATED{0x80220001};
    static constexpr ReturnT ALREADY_RUNNING{0x80220002};
    static constexpr ReturnT START_FROM_SELF{0x80220003};
    static constexpr ReturnT ATTRIBUTES_FAILED{0x80220004};
    static constexpr ReturnT CREATE_FAILED{0x80220005};
    static constexpr ReturnT INITIALIZE_FAILED{0x80220006};

    enum MaskT_ : unsigned { INTERRUPT_MASK = 0, INTERRUPT_UNMASK = 1 };
    enum LockPushT_ : unsigned { PUSH_ACQUIRED = 0, PUSH_RELEASED = 1 };
    enum LockPopT_ : unsigned { POP_ACQUIRED = 0, POP_RELEASED = 1 };

    class Lock;
    class State;
    class Monitor; // zeb/stats/ThreadMonitor.h

    // A worker thread, not started. An empty name is refused, and so is a worker without a main thread.
    explicit Thread(CString const& name);
    ~Thread() override;
    Thread(Thread const&) = delete;
    Thread& operator=(Thread const&) = delete;

    // True if the thread was stopped. A subclass whose thread waits on something of its own wakes it first,
    // and then calls this one.
    virtual bool Stop();
    virtual bool Initialized() const;

    // Called in the new thread ahead of Run(); a failure ends it, and fails Start().
    virtual ReturnT Initialize();
    // Called in the new thread behind Run().
    virtual void Cleanup();

    ReturnT Start();

    CString const& Name() const;
    // Not started, or at its end. A thread that ended by itself still wants its Stop() before a new Start().
    bool Stopped() const;
    bool StopRequested() const;
    bool IsInterrupted() const;
    // The thread does not run, or is not the calling one.
    bool DifferentContext() const;

    // Ask the thread to end, without waiting.
    void SetStop();
    // Stop its blocking operations. Not for the calling thread itself.
    void Interrupt();
    void ClearInterrupt();
    // Sends a signal to the thread if it runs.
    bool Kill(int signal) const;

    static Thread* Self();
    static int Id(); // of the kernel
    static Status* SelfStatus();

    // Another target for the reports of the calling thread, which outlives its use. Null brings its own
    // status back.
    static void SetStatus(Status* status);

    // The calling thread has a Thread object and IsInterrupted(). What a blocking operation tests.
    static bool SelfInterrupted();

    // INTERRUPT_MASK hides the interruption from the calling thread until the matching INTERRUPT_UNMASK. They
    // count; while it is hidden Stop() waits for as long as the thread likes.
    static void SetInterruptMask(MaskT_ mask);

    static unsigned long StackAddress();
    static unsigned long StackGuardSize();

    // Sleeps for 50 milliseconds.
    static void Yield();

    // The private environment of the calling thread. False if there is no Thread object, no such key, or no
    // memory.
    static bool SetEnvironment(CString const& key, CString const& value);
    static bool GetEnvironment(CString const& key, String& value);
    static bool DelEnvironment(CString const& key);
    static bool HasEnvironment(CString const& key);

    // The ids of all running threads. False if memory ran out.
    static bool GetTids(Array<int>& tids);

    // The thread that holds the lock, or TID_UNKNOWN.
    static int OwnerId(Mutex const& mutex);

    // The stack of a thread, kernel side first, which the thread itself takes as soon as it runs: a signal
    // (SIGTRAP) interrupts it, also in a system call, which then goes on. `skip` counts for the calling
    // thread alone, by its id or TID_SELF, whose kernel side is left out. 0, or an error number: ESRCH if
    // there is no such thread of this library, or if it ends meanwhile. One request at a time goes on in a
    // process, the others wait; so does this call while the thread is stopped or blocks SIGTRAP, without end
    // and without regard to interruption. Not for signal handlers.
    static int GetBacktrace(int tid, Backtrace& backtrace, Backtrace::Regs* regs, unsigned long skip);

    // A snapshot of every thread and its locks. 0x00220190, or an Oom code with the output empty.
    static ReturnT GetStates(AutoPVector<State, StdDeleter>& states);

    // Appends an element "threads" with that snapshot and the figures of the monitor; threads without a lock
    // come first, then those that wait for one, and the longest holder last. 0x0022012C, or an Oom code.
    static ReturnT AttachThreadsTo(Monitor const& monitor, Xml::Node& node);

    // The lock stack, for Mutex and Condition, which see the bodies. Called by the thread itself.
    void LockPush_(Mutex const& mutex, LockPushT_ type, Time::Span const& now);
    void LockAcquired_(Mutex const& mutex, Time::Span const& now);
    void LockWaitStarted_(Mutex const& mutex, Time::Span const& now);
    void LockWaitFinished_(Mutex const& mutex, Time::Span const& now);
    void LockPop_(Mutex const& mutex, LockPopT_ type);
    bool LockIsAcquired_(Mutex const& mutex, Log::VerboseT verbose) const;

protected:
    // The main thread, which is the calling one.
    Thread();

private:
    class Control_;
    class CpuStats_;
    class LockRecord_;
    class Registry_;
    class SigAltStackManager_;

    friend class ThreadMain;

    ReturnT Create_(CString const& name);
    void Destroy_();
    void FreeRecords_();
    int BecomeMain_();
    int ReadStackInfo_();

    ReturnT Start_(int& error);
    ReturnT Launch_(pthread_attr_t const& attributes, int& error);
    char const* Stop_();
    void StopAndJoin_();
    void Abandon_();
    void Join_();
    static void* Routine_(void* argument);
    bool Begin_(SigAltStackManager_& stack);
    bool SetUp_(SigAltStackManager_& stack);
    void End_(SigAltStackManager_& stack);

    // The processor load of the thread, bound while it runs. See ThreadMonitor.h.
    bool MakeCpuStats_();
    void FreeCpuStats_();
    bool BindCpuStats_();
    void UnbindCpuStats_();

    static Thread* FindTid_(int tid);
    static bool IsThere_(int tid);
    static int Request_(Trace_& trace, int tid, Backtrace& backtrace, Backtrace::Regs* regs);
    static bool PostTo_(Trace_& trace, int tid, Backtrace& backtrace, Backtrace::Regs* regs, bool kernelTaken,
                        int& error);

    void SetTid_(int tid);
    int Tid_() const;
    bool IsRunning_() const;
    static bool CopyStates_(AutoPVector<State, StdDeleter>& states);
    void LogFail_(ReturnT const& code, char const* text) const;
    void LockPopSlowly_(Mutex const& mutex, LockPopT_ type);
    void LogNotFound_(Mutex const& mutex) const;

    Status ownStatus_;
    Status* status_ = &ownStatus_;
    Control_* control_ = nullptr;
    LockRecord_* lockRecord_ = nullptr;
    CpuStats_* cpuStats_ = nullptr;
    unsigned worker_;
    unsigned long stackAddress_ = 0;
    unsigned long stackSize_ = 0;
    unsigned long stackGuardSize_ = 0;
};

// The alternate signal stack of the thread that makes it, on which an overflow of the usual one can be
// reported.
class Thread::SigAltStackManager_ {
public:
    static constexpr unsigned long SIZE = 26624;

    SigAltStackManager_() = default;
    ~SigAltStackManager_() { Disable(); }
    SigAltStackManager_(SigAltStackManager_ const&) = delete;
    SigAltStackManager_& operator=(SigAltStackManager_ const&) = delete;

    // 0 or an error number.
    int Enable();
    void Disable();
    bool IsEnabled() const { return enabled_; }

private:
    Buffer memory_;
    bool enabled_ = false;
};

// A snapshot of one lock on the stack of a thread.
class ZEB_PUBLIC Thread::Lock {
public:
    // One of three, compared by address; the text is the name. As the operation State() has the same name,
    // the type is written `class Thread::Lock::State`.
    class State : public CString {
    public:
        using CString::CString;
    };

    // A moment of the wall clock as text, "Nov 14 07:47:16"; empty if it is not known.
    struct Time {
        char text[32] = {};

        char const* Cstr() const { return text; }
    };

    static class State const RELEASED; // on its way to be taken
    static class State const ACQUIRED;
    static class State const WAITING; // given up while waiting on it

    Lock(Mutex::PrecedenceT precedence, class State const& state, struct Time const& since,
         ::Time::Span const& timespan);

    Mutex::PrecedenceT Precedence() const { return precedence_; }
    class State const& State() const {
        return *state_;
    }

    // The last change of the state, as text and on the monotonic clock.
    struct Time const& Since() const {
        return since_;
    }
    ::Time::Span const& Timespan() const { return timespan_; }

    // Appends an element "lock" as an array member. False if the document ran out of memory.
    bool AttachTo(Xml::Node& node) const;

private:
    Mutex::PrecedenceT precedence_;
    class State const* state_;
    struct Time since_;
    ::Time::Span timespan_;
};

// A snapshot of one thread and its lock stack, the first lock taken first.
class ZEB_PUBLIC Thread::State {
public:
    State(CString const& name, int tid, bool complete, Array<Lock>&& locks);
    State(State const& other);
    State& operator=(State const&) = delete;

    // False if memory ran out in construction.
    bool Initialized() const { return initialized_; }

    CString const& Name() const { return name_; }
    int Tid() const { return tid_; }
    Array<Lock> const& Locks() const { return locks_; }
    // False if an entry of the stack could not be stored when its lock was taken.
    bool LockListComplete() const { return complete_; }

    // Fills in the calls of the thread by Thread::GetBacktrace, or the words of what failed there. False if
    // memory ran out.
    bool GetBacktrace();

    // Appends an element "thread" as an array member. False if the document ran out of memory, or if the
    // monitor failed to append its part.
    bool AttachTo(Monitor const& monitor, Xml::Node& node) const;

private:
    String name_;
    int tid_;
    Array<Lock> locks_;
    bool complete_;
    String error_; // of the backtrace
    String calls_; // the backtrace
    bool initialized_;
};
