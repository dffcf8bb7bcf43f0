// A helper that is started again when it ends, a child that is talked to, and a command of the shell.
#include "zeb/core/Log.h"
#include "zeb/process/IoProcess.h"
#include "zeb/process/Shell.h"
#include "zeb/runtime/Condition.h"
#include "zeb/runtime/Main.h"
#include "zeb/timer/Timer.h"

namespace {

class Helper : public Process::Owner {
public:
    Helper() {
        char const* const arguments[] = {"-c", "sleep 0.02; exit 3", nullptr};
        if (process_.Initialized()) (void)process_.SetArguments(arguments); // it would do nothing without
    }
    ~Helper() override {
        SetOver_();
        restart_.Cancel();
        process_.Stop();
        Mutex::Guard const held(changed_);
        while (running_)
            changed_.Wait(-1L); // for the kill delay at most
    }

    bool Start() {
        SetRunning_(true); // the end may be told ahead of the return of Start()
        if (process_.Start().Succeeded()) return true;
        SetRunning_(false);
        return false;
    }

    int Ends() const {
        Mutex::Guard const held(changed_);
        return ends_;
    }

    bool AttachTo(Xml::Node&) const override { return true; }

    // On the execution thread: to start again is the business of another.
    void OnProcessTerminated_(Process const*, int exitCode, int signal) override {
        Log(Log::WARNING, "Helper", nullptr, "ended with status %1, signal %2") << exitCode << signal;
        Mutex::Guard const held(changed_);
        ++ends_;
        running_ = false;
        changed_.Broadcast();
        if (!over_) restart_.Set(10L);
    }

private:
    // On the thread of the timers.
    void Restart_() {
        if (!Start()) restart_.Set(1000L);
    }

    void SetOver_() {
        Mutex::Guard const held(changed_);
        over_ = true;
    }
    void SetRunning_(bool running) {
        Mutex::Guard const held(changed_);
        running_ = running;
    }

    Condition changed_{Mutex::SERVICE_OWNER}; // below the places of timers

    // Guarded by changed_.
    int ends_ = 0;
    bool running_ = false;
    bool over_ = false;

    Timer<Helper> const restart_{"Helper", this, &Helper::Restart_, nullptr};
    Process process_{"helper",
                     "sh",
                     *this,
                     100,
                     nullptr,
                     Process::OUTPUT_KEEP,
                     Process::STOP_SIGNAL_TERM,
                     2000,
                     Process::SESSION_NEW,
                     CString::Nil(),
                     0,
                     0,
                     Process::IO_PRIO_IDLE};
};

bool Sort() {
    Io::Process sort("sort", "sort", Io::MODE_READ_WRITE, Io::EOL_LF, Process::STOP_SIGNAL_TERM, 2000,
                     CString::Nil());
    sort.SetTimeout(5000);
    if (!sort.Start()) return false;
    sort << "pear" << Io::Endl << "apple" << Io::Endl;
    String line;
    bool const sorted = sort.EndInput() && sort.ReadLine(line) && line == "apple";
    return sort.Wait() == 0 && sorted;
}

class Program : public Main {
public:
    Program()
        : Main("processes") {}

    int Run() override {
        Helper helper;
        if (!helper.Start() || !Sort() || Util::Shell("exit 4", 5000) != 4) return 1;
        while (helper.Ends() < 2)
            if (WaitForStop(20)) return 0;
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
