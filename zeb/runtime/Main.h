#pragma once

// Main: the frame of a program with threads. The program derives one class from it, makes one object in its
// main function before anything else, tests Initialized(), sets logging up, calls Run() and returns the code.
// For a program that works in one thread and wants an alarm take MainSt.
//
//   class Daemon : public Main {
//   public:
//       Daemon() : Main("daemon") {}
//       int Run() override {
//           while (!WaitForStop(1000)) Work();          // each second, until SIGINT or SIGTERM
//           return EXIT_SUCCESS;
//       }
//   };
//
//   int main(int argc, char** argv) {
//       Daemon daemon;
//       if (!daemon.Initialized()) return EXIT_FAILURE;  // standard error says why
//       Log::ProcessIdent(argc, argv);
//       return daemon.Run();
//   }
//
// Owns     the ThreadMain of the calling thread; so it is made before every other thread and lock, and is
//          destroyed behind them. The ident is kept as a view.
// Signals  SIGALRM, SIGCHLD, SIGHUP, SIGINT, SIGTERM and SIGUSR2 are blocked in this thread and so in all
//          later ones, SIGPIPE is ignored: no handler of a client runs for them. SIGINT and SIGTERM wait
//          until WaitForStop() or StopRequested() takes them; the others have no effect. The destructor drops
//          what has arrived meanwhile, so that a second SIGTERM does not kill a program that ends, and gives
//          the signals back their default actions.
// Threads  SetStop() from any; the rest is for the thread that made the object.
// Waits    WaitForStop() alone. Sleep(), Condition::Wait() and the waits of streams do not see a stop signal:
//          the main thread waits here, and leaves what takes long to other threads.
// Failure  shows in Initialized(), and as a text on standard error. A second one in a process is refused.

#include "zeb/core/Export.h"
#include "zeb/core/TimeSpan.h"
#include "zeb/runtime/ThreadMain.h"

#include <signal.h>

#include <atomic>

class ZEB_PUBLIC Main {
public:
    static constexpr char const IDENT[] = "Main";

    // The ident leads the texts on standard error.
    explicit Main(char const* ident);
    virtual ~Main();
    Main(Main const&) = delete;
    Main& operator=(Main const&) = delete;

    virtual int Run() = 0;

    bool Initialized() const { return initialized_; }

    // Makes StopRequested() true; a WaitForStop() ends within 333 milliseconds.
    void SetStop() { stop_ = true; }

    // True once SIGINT or SIGTERM has arrived or SetStop() was called. Does not wait.
    bool StopRequested() const;

    // Waits until StopRequested(), and gives it. SIGINT and SIGTERM end the wait at once, and so does the end
    // of the time; an interruption of the main thread ends it within 333 milliseconds. A negative time-out
    // waits without limit.
    bool WaitForStop(Time::Span const& timeout) const;
    bool WaitForStop(long milliseconds) const;

private:
    void RestoreSignals_() const;
    void TakeSignal_(Time::Span const& timeout) const;

    sigset_t waitSet_;
    sigset_t blockedSet_;
    bool initialized_ = false;
    mutable std::atomic<bool> stop_ = false;
    ThreadMain* mainThread_;
};
