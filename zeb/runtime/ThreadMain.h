#pragma once

// ThreadMain: the Thread object of the thread that called main, made before every other thread and destroyed
// last. It gives the thread an alternate signal stack and installs the handler of the trace signal SIGUSR1,
// which logs at Log::INFO that the thread was interrupted, with a backtrace. A failure goes to standard
// error, as logging is not set up so early. A second one in a process is refused. Main and MainSt make it for
// a program.

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
