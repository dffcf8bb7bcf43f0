#include "zeb/process/ProcessInstanceImpl.h"

#include "zeb/filesystem/File.h"
#include "zeb/process/ExecImpl.h"
#include "zeb/runtime/StatusLog.h"

#include <climits>

using Posix::Exec_;

namespace {

constexpr char const QUEUE_NAME[] = "Process kill timer";

} // namespace

ProcessInstance_::ProcessInstance_(Process& handle, Process::Owner& toldOwner, Settings_ const& given)
    : Condition(PROCESS)
    , process(handle)
    , owner(toldOwner)
    , settings(given)
    , killTimer_(Process::IDENT, this, &ProcessInstance_::OnTimer_, this, QUEUE_NAME) {
    Mutex::Guard const held(Exec_::guard);
    Exec_::Enter();
}

ProcessInstance_::~ProcessInstance_() {
    killTimer_.Cancel();
    if (registered) Exec_::Instance()->Unregister(*this); // without the guard, for which a callback may wait
    Mutex::Guard const held(Exec_::guard);
    Exec_::Leave();
}

bool ProcessInstance_::Register(CString const& newName, CString const& executable, CString const& root) {
    Mutex::Guard const held(Exec_::guard);
    if (!name.Assign(newName) || !chroot.Assign(root)) {
        Log(Log::CRITICAL, Process::IDENT, newName.Cstr(), "").Oom(ReturnT::Oom());
        return false;
    }
    if (!FindPath_(executable) || !IsOomScoreValid_() || !Exec_::Create()) return false;
    if (!killTimer_.Initialized()) {
        Log(Log::CRITICAL, Process::IDENT, name.Cstr(), "unable to initialize a timer");
        return false;
    }
    registered = Exec_::Instance()->Register(*this);
    if (!registered) Log(Log::ERROR, Process::IDENT, name.Cstr(), "unable to register");
    return registered;
}

// What the child executes: under a root of its own the path is the one that it sees.
bool ProcessInstance_::FindPath_(CString const& executable) {
    if (Process::FindExecutable(executable, CString::Nil(), chroot, path, Log::VERBOSE_ON).Failed())
        return false;
    if (chroot.Empty()) return true;
    String root;
    if (!FileSystem::File::GetCanonicalPath(chroot, root)) return false;
    if (root.Size() > 1) path.Erase(0, root.Size()); // it begins with it
    return true;
}

bool ProcessInstance_::IsOomScoreValid_() const {
    constexpr Process::OomScoreT LOWEST = Process::OOM_SCORE_MIN, HIGHEST = Process::OOM_SCORE_MAX;
    if (settings.oomScore >= LOWEST && settings.oomScore <= HIGHEST) return true;
    Log(Log::ERROR, Process::IDENT, name.Cstr(), "invalid process OOM score: \"%1\" (valid range is %2...%3)")
        << settings.oomScore << LOWEST << HIGHEST;
    return false;
}

bool ProcessInstance_::IsTerminating_() const {
    return terminationThread_ && terminationThread_ == Thread::Self();
}

ReturnT ProcessInstance_::Start() {
    Mutex::Guard const held(*this);
    if (IsTerminating_())
        return StatusLog(Process::START_IN_TERMINATION, Log::CRITICAL, Process::IDENT, name.Cstr(),
                         "unable to start within a termination context");
    Exec_ const* const exec = Exec_::Instance();
    bool const waits = !exec || exec->DifferentContext();
    while (waits && (starters_ != 0 || terminationThread_))
        Wait(-1L);
    if (state_ == RUNNING)
        return StatusLog(Process::ALREADY_STARTED, Log::ERROR, Process::IDENT, name.Cstr(),
                         "unable to start, a process already started");
    if (!waits)
        return StatusLog(Process::START_IN_EXECUTION_THREAD, Log::CRITICAL, Process::IDENT, nullptr,
                         "unable to start \"%1\" in an execution thread context")
               << name;
    ++starters_;
    ReturnT const code = Start_();
    --starters_;
    Broadcast();
    return code;
}

ReturnT ProcessInstance_::Start_() {
    while (state_ != STOPPED)
        Wait(-1L);
    if (settings.ioDescriptor && *settings.ioDescriptor != -1)
        return StatusLog(Process::STILL_OPEN, Log::CRITICAL, Process::IDENT, name.Cstr(),
                         "unable to start, I/O descriptors are still opened");
    Exec_& exec = *Exec_::Instance();
    ReturnT code = exec.BeginStart(*this);
    if (code.Failed()) return code;
    // The execution thread may be in a callback that takes this lock; other starts and stops keep out.
    Unlock();
    code = exec.AwaitStart(*this);
    (void)Lock(); // fails only for a lock that is held already
    if (code.Succeeded()) state_ = RUNNING;
    exec.EndStart();
    return code;
}

bool ProcessInstance_::Stop() {
    Mutex::Guard const held(*this);
    if (IsTerminating_()) {
        Log(Log::CRITICAL, Process::IDENT, name.Cstr(), "unable to stop within a termination context");
        return false;
    }
    Exec_& exec = *Exec_::Instance();
    while (starters_ != 0 && exec.DifferentContext())
        Wait(-1L);
    if (state_ != RUNNING || !exec.Stop(*this)) return true;
    state_ = STOPPING;
    long const timeout =
        settings.killTimeoutMs > LONG_MAX ? LONG_MAX : static_cast<long>(settings.killTimeoutMs);
    killTimer_.Set(timeout);
    return true;
}

void ProcessInstance_::BeginTermination() {
    Mutex::Guard const held(*this);
    killTimer_.Cancel();
    state_ = STOPPED;
    terminationThread_ = Thread::Self();
}

void ProcessInstance_::EndTermination() {
    Mutex::Guard const held(*this);
    terminationThread_ = nullptr;
    Broadcast();
}

void ProcessInstance_::OnTimer_() {
    if (Exec_::Instance()->Kill(*this)) state_ = KILLING;
}
