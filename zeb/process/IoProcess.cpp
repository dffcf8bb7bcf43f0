#include "zeb/process/IoProcess.h"

#include "zeb/core/Time.h"
#include "zeb/io/DeadlineImpl.h"
#include "zeb/io/Descriptor.h"
#include "zeb/runtime/Thread.h"

namespace Io {

namespace {

constexpr long STEP_MS = 333; // between two looks at the interruption

} // namespace

Process::Process(CString const& name, CString const& executable, ModeT mode, EndOfLineT eol,
                 ::Process::StopSignalT stopSignal, unsigned long killTimeoutMs, CString const& chroot)
    : Stream(input_, output_, eol_, mode_)
    , PollableStream(*this, IDENT, fd_, mode_, input_, output_, eol_)
    , mode_(mode)
    , process_(name, executable, *this, 0, &fd_,
               (mode & MODE_READ) != 0 ? ::Process::OUTPUT_KEEP : ::Process::OUTPUT_DISCARD, stopSignal,
               killTimeoutMs, ::Process::SESSION_NEW, chroot, 0, 0, ::Process::IO_PRIO_DEFAULT)
    , base_(fd_, mode_, IDENT, *this)
    , pollableBase_(base_, *this, IDENT)
    , eol_(eol)
    , input_(pollableBase_, *this)
    , output_(pollableBase_, *this)
    , memory_(BUFFER_SIZE, mode_, *this, input_, output_) {
    if (memory_.Allocate() && process_.Initialized()) return;
    Log(Log::ERROR, IDENT, nullptr, "\"%1\" is broken") << name;
    Break_();
}

Process::~Process() {
    // What this object was attached to may be gone.
    Attach(this);
    if (fd_ != -1) pollableBase_.Finish(output_, nullptr);
    (void)StopWait(); // nobody asks any more
}

bool Process::Start() {
    {
        Mutex::Guard const held(condition_);
        if (!ended_ || fd_ != -1) (void)StopWait_(); // that of the run before
        ended_ = false;
    }
    Rewind_();
    bool const started = process_.Start().Succeeded();
    if (started && Descriptor::SetNonblocked(fd_, IDENT, Log::VERBOSE_ON, nullptr)) return true;
    Mutex::Guard const held(condition_);
    if (started) (void)StopWait_(); // it has not begun
    ended_ = true;
    return false;
}

void Process::Rewind_() {
    (void)input_.GSkip(input_.GCount());
    (void)output_.PTruncate(0); // neither can fail
    base_.SetEos(false);
    ClearReady_();
    ClearState_();
}

bool Process::EndInput() {
    if (!Flush()) return false;
    int error = 0;
    if (Descriptor::Shutdown(fd_, MODE_READ, IDENT, nullptr, Log::VERBOSE_ON, &error)) return true;
    SetSysError_(error);
    return false;
}

int Process::StopWait() {
    Mutex::Guard const held(condition_);
    return StopWait_();
}

int Process::StopWait_() {
    (void)process_.Stop(); // true, but in a callback
    while (!ended_)
        condition_.Wait(-1L);
    int error = 0;
    if (!Descriptor::Close(fd_, IDENT, nullptr, Log::VERBOSE_ON, &error)) SetSysError_(error);
    return exitCode_;
}

int Process::Wait() {
    bool timedOut, interrupted;
    return Wait(-1, timedOut, interrupted);
}

int Process::Wait(long timeoutMs, bool& timedOut, bool& interrupted) {
    timedOut = interrupted = false;
    Time::Span const deadline = Time::Monotonic() + Time::Span(timeoutMs);
    Mutex::Guard const held(condition_);
    while (!ended_) {
        if (!interrupted && Thread::SelfInterrupted()) {
            interrupted = true;
            (void)process_.Stop(); // true, but in a callback
        }
        long step = STEP_MS;
        if (timeoutMs >= 0) {
            int const left = Time::MillisecondsTo(deadline);
            timedOut = Time::Monotonic() >= deadline;
            if (timedOut) return 1;
            if (left < step) step = left + 1; // cut down
        }
        condition_.Wait(step);
    }
    return exitCode_;
}

int Process::Execute(long timeoutMs, bool* timedOut, bool* interrupted) {
    bool isOver = false, isInterrupted = false;
    int result = 1;
    if (Start()) {
        result = Wait(timeoutMs, isOver, isInterrupted);
        if (isOver) result = StopWait();
    }
    if (timedOut) *timedOut = isOver;
    if (interrupted) *interrupted = isInterrupted;
    return result;
}

bool Process::IsRunning() const {
    Mutex::Guard const held(condition_);
    return !ended_;
}

bool Process::ObjIReady() const { return InBuffer().GCount() > 0; }

bool Process::AttachTo(Xml::Node&) const {
    Mutex::Guard const held(condition_);
    return true;
}

void Process::OnProcessTerminated_(::Process const*, int exitCode, int) {
    Mutex::Guard const held(condition_);
    exitCode_ = exitCode;
    ended_ = true;
    condition_.Broadcast();
}

} // namespace Io
