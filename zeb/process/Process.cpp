#include "zeb/process/Process.h"

#include "zeb/core/ErrorString.h"
#include "zeb/process/ExecImpl.h"
#include "zeb/process/SpawnImpl.h"
#include "zeb/runtime/Environment.h"
#include "zeb/runtime/StatusLog.h"

#include <cerrno>
#include <new>
#include <sys/wait.h>

Process::Process(CString const& name, CString const& executable, Owner& owner, OomScoreT oomScore,
                 int* ioDescriptor, OutputT output, StopSignalT stopSignal, unsigned long killTimeoutMs,
                 SessionT session, CString const& chroot, unsigned uid, unsigned gid, IoPrioT ioPrio)
    : instance_(new (std::nothrow) ProcessInstance_(*this, owner,
                                                    {.ioDescriptor = ioDescriptor,
                                                     .output = output,
                                                     .stopSignal = stopSignal,
                                                     .killTimeoutMs = killTimeoutMs,
                                                     .session = session,
                                                     .oomScore = oomScore,
                                                     .uid = uid,
                                                     .gid = gid,
                                                     .ioPrio = ioPrio})) {
    if (instance_ && instance_->Register(name, executable, chroot)) return;
    delete instance_;
    instance_ = nullptr;
    (void)ReturnT(StatusLog(ReturnT::Fail(), Log::ERROR, IDENT, nullptr, // Initialized() tells
                            "unable to create and initialize \"%1\" process")
                  << name);
}

Process::~Process() { delete instance_; }

namespace {

ReturnT NotInitialized_() {
    return StatusLog(ReturnT::Fail(), Log::CRITICAL, Process::IDENT, nullptr, "").SetFail();
}

ReturnT NoMemory_(ProcessInstance_ const& instance) {
    return StatusLog(ReturnT::Oom(), Log::CRITICAL, Process::IDENT, instance.name.Cstr(), "").SetOom();
}

ReturnT Done_(ReturnT const& code, ProcessInstance_ const& instance) {
    return StatusLog(code, Log::INFO, Process::IDENT, instance.name.Cstr(), "").SetDone();
}

// A copy made by `assign`, in place of what is there.
template<class T, class AssignT>
ReturnT Replace_(ProcessInstance_* instance, T ProcessInstance_::*member, AssignT const& assign,
                 ReturnT const& done) {
    if (!instance) return NotInitialized_();
    T copy;
    if (!assign(copy)) return NoMemory_(*instance);
    Mutex::Guard const held(*instance);
    (instance->*member).Swap(copy);
    return Done_(done, *instance);
}

ReturnT CheckName_(ProcessInstance_ const& instance, CString const& name) {
    if (Environment::IsNameValid(name)) return Process::ENVIRONMENT_SET;
    return StatusLog(Process::BAD_VARIABLE, Log::ERROR, Process::IDENT, instance.name.Cstr(),
                     "bad environment variable: \"%1\"")
           << name;
}

} // namespace

ReturnT Process::Start() { return instance_ ? instance_->Start() : NotInitialized_(); }

bool Process::Stop() { return !instance_ || instance_->Stop(); }

ReturnT Process::Signal(int signal, ScopeT scope) const {
    if (!instance_) return NotInitialized_();
    return Posix::Exec_::Instance()->Signal(*instance_, signal, scope);
}

ReturnT Process::SetArguments(char const* const* arguments) {
    return Replace_(
        instance_, &ProcessInstance_::arguments, [&](StringVector& copy) { return copy.Assign(arguments); },
        ReturnT::Done());
}

ReturnT Process::SetArguments(StringVector const& arguments) {
    return Replace_(
        instance_, &ProcessInstance_::arguments, [&](StringVector& copy) { return copy.Assign(arguments); },
        ReturnT::Done());
}

ReturnT Process::PushArgument(CString const& argument) {
    if (!instance_) return NotInitialized_();
    Mutex::Guard const held(*instance_);
    return instance_->arguments.PushBack(argument) ? Done_(ReturnT::Done(), *instance_)
                                                   : NoMemory_(*instance_);
}

void Process::ClearArguments() {
    if (!instance_) return;
    Mutex::Guard const held(*instance_);
    instance_->arguments.Clear();
}

ReturnT Process::SetEnvironment(char const* const* environment) {
    if (!instance_) return NotInitialized_();
    StringMap copy;
    for (; environment && *environment; environment += 2) {
        ReturnT const code = CheckName_(*instance_, environment[0]);
        if (code.Failed()) return code;
        if (!environment[1])
            return StatusLog(NO_VALUE, Log::CRITICAL, IDENT, nullptr,
                             "\"%1\" environment variable has no value")
                   << environment[0];
        if (!copy.Set(environment[0], environment[1])) return NoMemory_(*instance_);
    }
    Mutex::Guard const held(*instance_);
    instance_->environment.Swap(copy);
    return Done_(ENVIRONMENT_SET, *instance_);
}

ReturnT Process::SetEnvironment(StringMap const& environment) {
    if (!instance_) return NotInitialized_();
    for (auto const& [name, value] : environment) {
        ReturnT const code = CheckName_(*instance_, name);
        if (code.Failed()) return code;
    }
    return Replace_(
        instance_, &ProcessInstance_::environment, [&](StringMap& copy) { return copy.Assign(environment); },
        ENVIRONMENT_SET);
}

ReturnT Process::SetEnvironment(CString const& name, CString const& value) {
    if (!instance_) return NotInitialized_();
    ReturnT const code = CheckName_(*instance_, name);
    if (code.Failed()) return code;
    Mutex::Guard const held(*instance_);
    return instance_->environment.Set(name, value) ? Done_(ENVIRONMENT_SET, *instance_)
                                                   : NoMemory_(*instance_);
}

ReturnT Process::UnsetEnvironment(CString const& name) {
    if (!instance_) return NotInitialized_();
    Mutex::Guard const held(*instance_);
    if (instance_->environment.Remove(name)) return Done_(ENVIRONMENT_UNSET, *instance_);
    return StatusLog(NOT_SET, Log::ERROR, IDENT, nullptr, ""); // without a line
}

void Process::ClearEnvironment() {
    if (!instance_) return;
    Mutex::Guard const held(*instance_);
    instance_->environment.Clear();
}

void Process::SetIoPriority(IoPrioT ioPrio) {
    if (!instance_) return;
    Mutex::Guard const held(*instance_);
    instance_->settings.ioPrio = ioPrio;
}

int Process::Execute(CString const& name, CString const& path, StringVector const& arguments,
                     StringMap const& environment) {
    Mutex::Guard const held(Posix::Exec_::guard);
    if (Posix::Exec_::Instance()) {
        Log(Log::CRITICAL, IDENT, name.Cstr(), "unable to execute in multithread environment");
        return 1;
    }
    int const pid = Posix::Spawn_({.name = name,
                                   .path = path,
                                   .arguments = arguments,
                                   .environment = environment,
                                   .chroot = CString::Nil()});
    if (pid < 0) return 1;
    int status = 0;
    int result;
    do
        result = waitpid(pid, &status, 0);
    while (result < 0 && errno == EINTR);
    if (result < 0) {
        int const error = errno;
        Log(Log::CRITICAL, IDENT, name.Cstr(), "%1") << ErrorString(error);
        return 1;
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}

Process::Owner::Owner()
    : BaseDelegate(IDENT, this, nullptr, 0, nullptr) {}

Process::Owner::~Owner() = default;

Event::BaseDelegate* Process::Owner::Clone() const { return nullptr; }

void Process::Owner::Handle(Event::Base const&) {}

Process::Monitor::~Monitor() = default;
