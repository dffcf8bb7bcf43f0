// Shows the stack of a thread, and with the argument "crash" the report of one that dies.
#include "zeb/runtime/Backtrace.h"
#include "zeb/runtime/Main.h"
#include "zeb/runtime/Thread.h"

#include <cstdio>
#include <cstring>
#include <unistd.h>

namespace {

int* volatile nowhere = nullptr;

struct Program : Main {
    Program()
        : Main("crashes") {}

    // Each frame of this very call.
    int Run() override {
        Backtrace backtrace(Backtrace::NAMES);
        if (Thread::GetBacktrace(Thread::TID_SELF, backtrace, nullptr, 0) != 0) return 1;
        backtrace.Demangle();
        printf("\"%s\":\n", backtrace.ThreadName());
        for (Backtrace::Frame const frame : backtrace)
            printf("  %s+0x%lx\n", frame.Name(), frame.NameOffset());
        if (backtrace.Truncated()) printf("  %s\n", Backtrace::CUT);
        return backtrace.Empty();
    }
};

struct Crasher : Thread {
    Crasher()
        : Thread("Crasher") {}

    ReturnT Run() override {
        *nowhere = 1; // here it dies
        return ReturnT::Done();
    }
};

} // namespace

int main(int argc, char** argv) {
    setpgid(0, 0); // the group that a crash ends
    Program program;
    if (!program.Initialized()) return 1;
    if (argc < 2 || strcmp(argv[1], "crash") != 0) return program.Run();
    Crasher crasher;
    if (crasher.Start().Failed()) return 1;
    while (!program.WaitForStop(1000)) {
    }
    return crasher.Stop() ? 0 : 1;
}
