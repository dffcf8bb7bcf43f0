// A program frame, threads of both kinds, a timer and tasks: readings are taken on one thread, written down
// on another, and counted up once a burst of them is over.
#include "zeb/core/Time.h"
#include "zeb/event/LibraryEvents.h"
#include "zeb/runtime/Condition.h"
#include "zeb/runtime/Main.h"
#include "zeb/task/TaskApply.h"
#include "zeb/timer/Timer.h"

namespace {

// A thread that works at its own pace: Sleep() gives false once it is to stop.
class Meter : public Thread {
public:
    Meter()
        : Thread("Meter") {}
    ~Meter() override {
        if (!Stopped()) Stop();
    }

    ReturnT Run() override {
        while (Sleep(10)) {
            Mutex::Guard const guard(mutex_);
            if (guard.Held()) ++reading_;
        }
        return ReturnT::Done();
    }

    unsigned long Reading() const {
        Mutex::Guard const guard(mutex_);
        return guard.Held() ? reading_ : 0;
    }

private:
    mutable Mutex mutex_{Mutex::PRE_ULTIMATE};
    unsigned long reading_ = 0; // guarded by mutex_
};

// A thread that waits for work: nothing but a signal ends its wait, so its class wakes it to stop it.
class Printer : public Thread {
public:
    Printer()
        : Thread("Printer") {}
    ~Printer() override {
        if (!Stopped()) Stop();
    }

    void Print(unsigned long value) {
        Mutex::Guard const guard(changed_);
        value_ = value;
        changed_.Signal();
    }

    ReturnT Run() override {
        Mutex::Guard const guard(changed_);
        while (!StopRequested()) {
            if (value_ == 0) {
                changed_.Wait(-1L);
                continue;
            }
            Log(Log::INFO, "Printer", nullptr, "the reading is %1") << value_;
            value_ = 0;
        }
        return ReturnT::Done();
    }

    bool Stop() override {
        {
            Mutex::Guard const guard(changed_);
            SetStop();
            changed_.Signal();
        }
        return Thread::Stop();
    }

private:
    Condition changed_{Mutex::PRE_ULTIMATE};
    unsigned long value_ = 0; // guarded by changed_
};

// What is asked for often and done once, a moment behind the first request.
class Total : public Task::ApplyBase {
public:
    Total(Task::Queue& queue, Mutex& mutex)
        : ApplyBase("Total", queue, mutex, APPLY_EARLIEST, RUN_LOCKED)
        , mutex_(mutex) {}
    ~Total() override {
        Mutex::Guard const guard(mutex_);
        Cleanup();
    }

    int Runs() const { return runs_; } // with the mutex held

protected:
    void Apply_() override { ++runs_; }

private:
    Mutex& mutex_;
    int runs_ = 0; // guarded by mutex_
};

// A periodic timer: its callback, which runs with the lock held, sets it again.
class Display {
public:
    Display(Meter const& meter, Printer& printer, Task::Queue& queue)
        : meter_(meter)
        , printer_(printer)
        , total_(queue, mutex_) {
        refresh_.Set(20L);
    }
    ~Display() { refresh_.Cancel(); }

    int Totals() const {
        Mutex::Guard const guard(mutex_);
        return total_.Runs();
    }

private:
    void Refresh_() {
        printer_.Print(meter_.Reading());
        total_.Enqueue(30);
        refresh_.Set(20L);
    }

    Meter const& meter_;
    Printer& printer_;
    mutable Mutex mutex_{Mutex::DASHBOARD};
    Total total_; // guarded by mutex_
    Timer<Display> const refresh_{"Display", this, &Display::Refresh_, &mutex_};
};

class Program : public Main {
public:
    Program()
        : Main("runtime") {}

    int Run() override {
        Meter meter;
        Printer printer;
        if (meter.Start().Failed() || printer.Start().Failed()) return 1;
        Task::Queue queue("Totals", Time::Span::Zero(), nullptr);
        if (!queue.Initialized()) return 1;
        Display const display(meter, printer, queue);
        while (display.Totals() < 2) {
            if (WaitForStop(20)) break;
        }
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
