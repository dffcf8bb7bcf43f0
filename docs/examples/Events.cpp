// A program that samples on a timer, tells changes by events, and writes them down later, once; an event
// class of its own ends it.
#include "zeb/core/Time.h"
#include "zeb/event/Bus.h"
#include "zeb/event/Fields.h"
#include "zeb/event/InterfaceLinkEvents.h"
#include "zeb/runtime/Main.h"
#include "zeb/task/TaskApply.h"
#include "zeb/timer/Timer.h"

#include <atomic>

namespace {

constexpr long PERIOD = 10; // milliseconds

// An event of this program: what has been reported, and how often.
class Reported : public Event::Base {
public:
    static constexpr char IDENT[] = "Event::Type::Reported";

    Reported(CString const& what, unsigned long count) { SetInitialized_(fields_.Assign(what, count)); }

    char const* Ident() const override { return IDENT; }

    String const& What() const { return fields_.At<0>(); }
    unsigned long Count() const { return fields_.At<1>(); }

private:
    Base* Clone_() const override { return fields_.Clone<Reported>(); }

    Event::Fields<String, unsigned long> fields_;
};

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
        Event::Unsubscribe(onSpeed_);
        Mutex::Guard const guard(mutex_);
        if (guard.Held()) Cleanup();
    }

    bool Start() { return Initialized() && Event::Subscribe(onSpeed_); }

private:
    // On the thread of the bus, with mutex_ held.
    void OnSpeed_(Event::IfLinkSpeedChanged const& event) {
        speed_ = event.SpeedRx();
        Enqueue(50);
    }
    void Apply_() override {
        Log(Log::INFO, "Report", nullptr, "speed is %1") << speed_;
        (void)Event::Raise(Reported("speed", ++count_), nullptr, Event::ASYNC, Event::DIRECT);
    }

    Mutex mutex_{Mutex::INTERFACE};

    // Guarded by mutex_.
    uint64_t speed_ = 0;
    unsigned long count_ = 0;

    Event::Delegate<Report, Event::IfLinkSpeedChanged> const onSpeed_{"Report", this, &Report::OnSpeed_,
                                                                      &mutex_};
};

class Program : public Main {
public:
    Program()
        : Main("events") {}
    ~Program() override { Event::Unsubscribe(onReported_); }

    int Run() override {
        Task::Queue queue("Reports", 1000, nullptr);
        Report report(queue);
        Link link;
        if (!queue.Initialized() || !report.Start() || !Event::Subscribe(onReported_)) return 1;
        link.Start();
        while (!isDone_ && !WaitForStop(20)) {
        }
        return 0;
    }

private:
    // On the thread of the bus, without a lock.
    void OnReported_(Reported const& event) { isDone_ = event.Count() >= 3; }

    std::atomic<bool> isDone_ = false;
    Event::Delegate<Program, Reported> const onReported_{"events", this, &Program::OnReported_, nullptr};
};

} // namespace

int main() {
    Program program;
    if (!program.Initialized()) return 1;
    Log::ConsoleMode();
    return program.Run();
}
