// A program that samples on a timer, tells changes by events, and writes them down later, once.
#include "zeb/core/Time.h"
#include "zeb/event/Bus.h"
#include "zeb/event/Delegate.h"
#include "zeb/event/InterfaceLinkEvents.h"
#include "zeb/runtime/Main.h"
#include "zeb/task/TaskApply.h"
#include "zeb/timer/Timer.h"

namespace {

constexpr long PERIOD = 10; // milliseconds

// Raises an event at each change.
class Link {
public:
    void Start() { timer_.Set(PERIOD); }
    ~Link() { timer_.Cancel(); }

private:
    void OnTimer_() {
        speed_ += 1000;
        (void)Event::Raise(Event::IfLinkSpeedChanged("wan0", speed_, speed_), nullptr, Event::ASYNC,
                           Event::DIRECT);
        timer_.Set(PERIOD);
    }

    uint64_t speed_ = 0; // used by the timer alone
    Timer<Link> const timer_{"Link", this, &Link::OnTimer_, nullptr};
};

// However often it is asked for, it runs once in 50 milliseconds, on the thread of a task queue.
class Report : public Task::ApplyBase {
public:
    explicit Report(Task::Queue& queue)
        : ApplyBase("Report", queue, mutex_, APPLY_EARLIEST, RUN_LOCKED) {}
    ~Report() override {
        Event::Unsubscribe(CString::Nil(), this, onSpeed_.Ident());
        Mutex::Guard const guard(mutex_);
        if (guard.Held()) Cleanup();
    }

    bool Start() { return Initialized() && Event::Subscribe("Event::Type::IfLinkSpeedChanged", onSpeed_); }
    unsigned long Count() const {
        Mutex::Guard const guard(mutex_);
        return guard.Held() ? count_ : 0;
    }

private:
    // On the thread of the bus, with mutex_ held.
    void OnSpeed_(Event::IfLinkSpeedChanged const& event) {
        speed_ = event.SpeedRx();
        Enqueue(50);
    }
    void Apply_() override {
        ++count_;
        Log(Log::INFO, "Report", nullptr, "speed is %1") << speed_;
    }

    mutable Mutex mutex_{Mutex::INTERFACE};

    // Guarded by mutex_.
    uint64_t speed_ = 0;
    unsigned long count_ = 0;

    Event::Delegate<Report> const onSpeed_{"Report", this, &Report::OnSpeed_, &mutex_};
};

class Program : public Main {
public:
    Program()
        : Main("events") {}

    int Run() override {
        Task::Queue queue("Reports", 1000, nullptr);
        Report report(queue);
        Link link;
        if (!queue.Initialized() || !report.Start()) return 1;
        link.Start();
        while (!StopRequested() && report.Count() < 3)
            Sleep(20);
        return 0;
    }
};

} // namespace

int main() {
    Program program;
    if (!program.Initialized()) return 1;
    Log::ConsoleMode();
    return program.Run();
}
