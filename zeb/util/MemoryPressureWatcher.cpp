#include "zeb/util/MemoryPressureWatcher.h"

#include "zeb/core/Log.h"
#include "zeb/core/Time.h"
#include "zeb/event/Bus.h"
#include "zeb/event/LibraryEvents.h"
#include "zeb/io/PollableFile.h"
#include "zeb/runtime/Condition.h"
#include "zeb/runtime/StatusLog.h"
#include "zeb/runtime/Thread.h"

#include <fcntl.h>
#include <new>
#include <utility>

namespace Linux {

namespace {

constexpr char const MONITOR[] = "/proc/pressure/memory";
constexpr unsigned long BLOCK_SIZE = 64; // holds the trigger

constexpr Time::Span MIN_INTERVAL(500);
constexpr Time::Span MAX_INTERVAL(10000);
constexpr unsigned long MIN_BUSY = 50; // milliseconds
constexpr unsigned long MAX_BUSY = 1000;
constexpr unsigned long MICROSECONDS = 1000; // in a millisecond
constexpr unsigned long ALL = 100;           // percent

constexpr int WAIT_PERIOD = 3330; // milliseconds: of a wait, and until memory is tried again
constexpr int DRAIN_PERIOD = 1;
constexpr long ERROR_PERIOD = Io::Pollable::POLL_PERIOD; // until a file that reports an error is asked again

void LogOom_(CString const& name, unsigned line = __builtin_LINE()) {
    Log(Log::CRITICAL, MemoryPressureWatcher::IDENT, name.Cstr(), "").Oom(ReturnT::Oom(line));
}

} // namespace

class MemoryPressureWatcher::Impl_ final : public Thread {
public:
    static constexpr char const* IDENT = MemoryPressureWatcher::IDENT;

    Impl_(CString const& name, Event::BaseDelegate const* delegate, unsigned long percentage,
          Time::Span const& interval);
    ~Impl_() override;

    bool Initialized() const override { return initialized_; }
    ReturnT Run() override;
    bool Stop() override;
    void Proceed();

private:
    bool Copy_(CString const& name, Event::BaseDelegate const* delegate);
    ReturnT Start_(Time::Span const& interval);
    bool SetTrigger_(unsigned long busy);
    ReturnT Poll_(int timeout, bool& isReady);
    void AwaitProceed_();
    ReturnT Fail_(char const* text, unsigned line = __builtin_LINE()) const;

    // Fixed after construction, but for the file, which is used by the thread alone then.
    String name_;
    Io::PollableFile file_{MONITOR, O_RDWR, Io::EOL_LF, BLOCK_SIZE};
    AutoPtr<Event::BaseDelegate> delegate_;
    bool initialized_ = false;
    unsigned long percentage_;
    unsigned long interval_; // milliseconds

    Condition const condition_{Mutex::PRE_ULTIMATE};
    bool proceed_ = false; // guarded by the condition
};

MemoryPressureWatcher::Impl_::Impl_(CString const& name, Event::BaseDelegate const* delegate,
                                    unsigned long percentage, Time::Span const& interval)
    : Thread("Memory pressure watcher")
    , percentage_(percentage)
    , interval_(static_cast<unsigned long>(interval.Milliseconds())) {
    if (Copy_(name, delegate)) {
        initialized_ = Start_(interval).Succeeded();
    } else {
        LogOom_(name);
    }
}

MemoryPressureWatcher::Impl_::~Impl_() {
    if (!initialized_ || Stop()) return;
    Log(Log::CRITICAL, IDENT, name_.Cstr(), "").Fail(ReturnT::Fail());
}

bool MemoryPressureWatcher::Impl_::Copy_(CString const& name, Event::BaseDelegate const* delegate) {
    if (delegate != nullptr) delegate_.Reset(delegate->Clone());
    return name_.Assign(name.Cstr(), name.Size()) && (delegate == nullptr || delegate_);
}

ReturnT MemoryPressureWatcher::Impl_::Start_(Time::Span const& interval) {
    if (interval < MIN_INTERVAL || interval > MAX_INTERVAL)
        return Fail_("interval must be within [0,5 ... 10,0] s");
    unsigned long busy = 0;
    bool const isHuge = __builtin_mul_overflow(interval_, percentage_, &busy);
    busy /= ALL;
    if (isHuge || busy < MIN_BUSY || busy > MAX_BUSY) return Fail_("invalid busy time");
    if (!file_.Ok()) return Fail_("unable to open monitor file");
    if (!SetTrigger_(busy)) return Fail_("unable to write to monitor file");
    ReturnT const started = Thread::Start();
    return started.Succeeded() ? started : Fail_("");
}

bool MemoryPressureWatcher::Impl_::SetTrigger_(unsigned long busy) {
    file_.SetTimeout(WAIT_PERIOD);
    file_ << "some " << busy * MICROSECONDS << ' ' << interval_ * MICROSECONDS << Io::Endl;
    if (file_.Flush()) return true;
    (void)file_.OutBuffer().PTruncate(0); // cannot fail; what was refused is no loss to tell of
    return false;
}

ReturnT MemoryPressureWatcher::Impl_::Fail_(char const* text, unsigned line) const {
    return StatusLog(ReturnT::Fail(line), Log::CRITICAL, IDENT, name_.Cstr(), text).SetFail();
}

ReturnT MemoryPressureWatcher::Impl_::Run() {
    while (!StopRequested()) {
        AutoPtr<Event::Base> event(new (std::nothrow) Event::MemoryPressure(Event::MemoryPressure::HIGH));
        AutoPtr<Event::BaseDelegate> acceptor(delegate_ ? delegate_->Clone() : nullptr);
        if (!event || (delegate_ && !acceptor)) {
            LogOom_(name_);
            if (!Sleep(WAIT_PERIOD)) return ReturnT::Done();
            continue;
        }
        bool isReady = false;
        ReturnT const found = Poll_(WAIT_PERIOD, isReady);
        if (StopRequested()) break;
        if (found.Failed() && found != Io::Pollable::TIMED_OUT) return Fail_("monitor file is gone");
        if (isReady) {
            Log(Log::WARNING, IDENT, name_.Cstr(), "high memory pressure detected: threshold %1%% of %2 ms")
                << percentage_ << interval_;
            Event::Raise(event, acceptor, Event::ASYNC, Event::DIRECT);
            AwaitProceed_();
            // What was reported of the episode that is over does not count.
            while (isReady && !StopRequested())
                (void)Poll_(DRAIN_PERIOD, isReady); // a failure is found again by the wait that follows
        } else if (found.Succeeded()) {
            (void)Sleep(ERROR_PERIOD); // that was interrupted ends the loop
        }
    }
    return ReturnT::Done();
}

// What an earlier look found, an error too, is forgotten.
ReturnT MemoryPressureWatcher::Impl_::Poll_(int timeout, bool& isReady) {
    file_.ClearReady_();
    file_.ClearState_();
    Io::Pollable* object = &file_;
    Io::ModeT const request = Io::MODE_PRIORITY;
    pollfd found;
    ReturnT const code = Io::Pollable::Wait(&object, &request, &found, 1, timeout, IDENT);
    isReady = code.Succeeded() && (found.revents & POLLPRI) != 0;
    return code;
}

void MemoryPressureWatcher::Impl_::AwaitProceed_() {
    Mutex::Guard const guard(condition_);
    while (!proceed_ && !StopRequested())
        (void)condition_.Wait(-1L); // the loop tests what it waits for
    proceed_ = false;
}

void MemoryPressureWatcher::Impl_::Proceed() {
    Mutex::Guard const guard(condition_);
    proceed_ = true;
    condition_.Broadcast();
}

bool MemoryPressureWatcher::Impl_::Stop() {
    SetStop();
    Proceed();
    return Thread::Stop();
}

MemoryPressureWatcher::MemoryPressureWatcher(CString const& name,
                                             AutoPtr<Event::BaseDelegate, StdDeleter>& delegate,
                                             unsigned long percentage, Time::Span const& interval)
    : delegate_(std::move(delegate))
    , percentage_(percentage)
    , interval_(interval) {
    if (name_.Assign(name.Cstr(), name.Size())) {
        (void)Activate(); // Initialized() tells
    } else {
        LogOom_(name);
    }
}

MemoryPressureWatcher::~MemoryPressureWatcher() { Shutdown(); }

bool MemoryPressureWatcher::IsActive() const { return impl_ != nullptr && !impl_->Stopped(); }

bool MemoryPressureWatcher::Activate() {
    if (IsActive()) return true;
    Shutdown(); // of one that has ended
    AutoPtr<Impl_> impl(new (std::nothrow) Impl_(name_, delegate_.Ptr(), percentage_, interval_));
    if (!impl) LogOom_(name_);
    initialized_ = impl && impl->Initialized();
    if (initialized_) impl_ = impl.Release();
    return initialized_;
}

void MemoryPressureWatcher::Shutdown() { delete std::exchange(impl_, nullptr); }

void MemoryPressureWatcher::Proceed() {
    if (impl_ != nullptr) impl_->Proceed();
}

} // namespace Linux
