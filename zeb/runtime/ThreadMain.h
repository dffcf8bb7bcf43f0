#pragma once

// ThreadMain: the Thread object of the thread that called main. Main and MainSt make it for a program; a test
// or a tool without a frame makes it by itself:
//
//   AutoPtr<ThreadMain> const main(ThreadMain::New("tool"));
//
// Owns     an alternate signal stack for its thread. It is made before every other thread and destroyed
// behind
//          them; a second one in a process is refused, and without one there are no threads and no timers.
// Signals  SIGUSR1, on any thread, logs at Log::INFO that the thread was interrupted, with a backtrace. The
//          handler stays when the object goes.
// Failure  a null New(), and a text on standard error, as logging is not set up so early.

#include "zeb/core/Export.h"
#include "zeb/runtime/Thread.h"

class ZEB_PUBLIC ThreadMain : public Thread {
public:
    // Wraps the calling thread. Null on failure. The ident leads the texts on standard error.
    static ThreadMain* New(char const* ident);

    ~ThreadMain() override;

    bool Initialized() const override;

    // The code of the status.
    ReturnT Run() override;

private:
    explicit ThreadMain(char const* ident);

    SigAltStackManager_ stack_;
    bool traced_ = false;
};
