// A program frame, a thread and a lock.
#include "zeb/core/Time.h"
#include "zeb/runtime/Main.h"

namespace {

class Counter : public Thread {
public:
    Counter()
        : Thread("Counter") {}

    // Ends when the thread is stopped: Sleep gives false then.
    ReturnT Run() override {
        while (Sleep(10)) {
            Mutex::Guard const guard(mutex_);
            if (guard.Held()) ++count_;
        }
        return ReturnT::Done();
    }

    unsigned long Count() const {
        Mutex::Guard const guard(mutex_);
        return guard.Held() ? count_ : 0;
    }

private:
    Mutex mutex_{Mutex::MONITOR};
    unsigned long count_ = 0; // guarded by mutex_
};

class Program : public Main {
public:
    Program()
        : Main("runtime") {}

    int Run() override {
        Counter counter;
        if (counter.Start().Failed()) return 1;
        while (counter.Count() < 5 && !WaitForStop(20)) {
        }
        bool const stopped = counter.Stop();
        Log(Log::INFO, "Program", nullptr, "counted to %1 or more") << 5;
        return stopped ? 0 : 1;
    }
};

} // namespace

int main() {
    Program program;
    if (!program.Initialized()) return 1;
    Log::ConsoleMode();
    return program.Run();
}
