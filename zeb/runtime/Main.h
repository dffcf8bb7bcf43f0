#pragma once

// Main: the frame of a program with threads. The program derives one class from it, makes one object in its
// main function before anything else, tests Initialized(), sets logging up, calls Run() and returns the code:
//
//   int main(int argc, char** argv) {
//       Daemon daemon;
//       if (!daemon.Initialized()) return EXIT_FAILURE;
//       Log::ProcessIdent(argc, argv);
//       return daemon.Run();
//   }
//
// The constructor wraps the calling thread in a ThreadMain, ignores SIGPIPE, and blocks the signals SIGALRM,
// SIGCHLD, SIGHUP, SIGINT, SIGTERM and SIGUSR2 in this thread and so in all later ones. No handler runs for
// them: Run() polls StopRequested() between its units of work. The object is destroyed last, after all
// threads. A failure shows in Initialized() and as a text on standard error.

#include "zeb/core/Export.h"
#include "zeb/runtime/ThreadMain.h"

#include <signal.h>

#include <atomic>

class ZEB_PUBLIC Main {
public:
    static constexpr char const IDENT[] = "Main";

    // The ident leads the texts on standard error; it must live on.
    explicit Main(char const* ident);
    virtual ~Main();
    Main(Main const&) = delete;
    Main& operator=(Main const&) = delete;

    virtual int Run() = 0;

    bool Initialized() const { return initialized_; }

    // From any thread.
    void SetStop() { stop_ = true; }

    // True once SIGINT or SIGTERM has arrived or SetStop() was called. Does not wait. For the main thread.
    bool StopRequested() const;

private:
    void RestoreSignals_() const;
    void TakeSignal_() const;

    sigset_t waitSet_;
    sigset_t blockedSet_;
    bool initialized_ = false;
    mutable std::atomic<bool> stop_ = false;
    ThreadMain* mainThread_;
};
