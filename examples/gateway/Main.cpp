// gateway: the sample daemon. Samples the counters of its machine, keeps a state file up to date and a
// history, raises events when its links change, and tells its status as XML and as JSON when it ends.

#include "Config.h"
#include "Crash.h"
#include "EventPrinter.h"
#include "History.h"
#include "Interfaces.h"
#include "Pressure.h"
#include "Report.h"
#include "Sampler.h"
#include "StateFile.h"
#include "Telemetry.h"
#include "ThreadLoad.h"

#include "zeb/core/Time.h"
#include "zeb/event/Bus.h"
#include "zeb/event/SystemEvents.h"
#include "zeb/io/StdStream.h"
#include "zeb/runtime/Main.h"
#include "zeb/timer/Timer.h"

#include <cstdlib>
#include <cstring>

namespace {

constexpr int EXIT_USAGE = 2;     // a wrong command line, or a configuration that cannot be used
constexpr long QUEUE_IDLE = 5000; // milliseconds after which the thread of the tasks ends

struct Options {
    bool console = false;
    enum StatusT { NONE, SHORT, FULL } status = NONE; // to be printed at the end
    char const* root = "";                            // of the folders /proc and /sys
    CrashT crash = CRASH_NONE;                        // as soon as it runs
    char const* config = nullptr;

    bool Parse(int argc, char** argv) {
        for (int i = 1; i < argc; ++i) {
            if (strcmp(argv[i], "--console") == 0) {
                console = true;
            } else if (strcmp(argv[i], "--status") == 0) {
                status = SHORT;
            } else if (strcmp(argv[i], "--full") == 0) {
                status = FULL;
            } else if (strcmp(argv[i], "--root") == 0 && i + 1 < argc) {
                root = argv[++i];
            } else if (strcmp(argv[i], "--crash") == 0 && i + 1 < argc && ParseCrash(argv[i + 1], crash)) {
                ++i;
            } else if (argv[i][0] != '-' && !config) {
                config = argv[i];
            } else {
                return false;
            }
        }
        return config != nullptr;
    }
};

class Gateway : public Main {
public:
    static constexpr char const IDENT[] = "Gateway";

    explicit Gateway(Options const& options)
        : Main("gateway")
        , options_(options) {}

    // False, with one line for the user, if the configuration cannot be used.
    bool Configure() {
        StringAccumulator error;
        if (config_.Load(options_.config, error)) return true;
        Io::StdErr() << "gateway: " << options_.config << ": "
                     << (error.Valid() ? error.Cstr() : "out of memory") << Io::Endl;
        if (!options_.console) Log(Log::ERROR, IDENT, options_.config, "%1") << error.Str();
        return false;
    }

    int Run() override {
        if (!Start_()) {
            Stop_();
            return EXIT_FAILURE;
        }
        Log(Log::INFO, IDENT, config_.Name().Cstr(), "started");
        (void)Event::Raise(Event::SystemReady(Time::Monotonic()), nullptr, Event::ASYNC, Event::DIRECT);
        heartbeat_.Set(config_.HeartbeatPeriod());
        Crash(options_.crash);
        (void)WaitForStop(Time::Span(-1)); // without a limit
        Stop_();
        bool const good = options_.status == Options::NONE || PrintStatus_();
        Log(Log::INFO, IDENT, config_.Name().Cstr(), "stopped");
        return good ? EXIT_SUCCESS : EXIT_FAILURE;
    }

private:
    // What fails has been reported.
    bool Start_() {
        bool const isWhole = queue_.Initialized() && stateFile_.Initialized() && heartbeat_.Initialized() &&
                             history_.Initialized() && load_.Initialized();
        if (!isWhole || stateFile_.Start().Failed()) return false;
        if (!interfaces_.Start() || (options_.console && !eventPrinter_.Start()) || !sampler_.Start())
            return false;
        history_.Start();
        load_.Activate();
        pressure_.Start(config_.Name());
        return true;
    }

    void Stop_() {
        heartbeat_.Cancel();
        pressure_.Stop();
        load_.Deactivate();
        history_.Deactivate();
        sampler_.Stop();
        stateFile_.Stop();
        eventPrinter_.Stop();
    }

    void OnHeartbeat_() {
        (void)Event::Raise(Event::Heartbeat(), nullptr, Event::ASYNC, Event::DIRECT);
        heartbeat_.Set(config_.HeartbeatPeriod());
    }

    bool PrintStatus_() const {
        Io::StdOut out;
        Report const report{config_, telemetry_, history_, interfaces_, load_};
        if (options_.status == Options::SHORT) return report.PrintXml(out, Report::SHORT);
        return report.PrintXml(out, Report::FULL) && report.PrintJson(out);
    }

    // Each stands behind what it uses, so that it ends first.
    Options const& options_;
    Config config_;
    Telemetry telemetry_;
    Interfaces interfaces_;
    EventPrinter eventPrinter_;
    Pressure pressure_;
    History history_{telemetry_};
    ThreadLoad load_;
    Task::Queue queue_{"State", QUEUE_IDLE, nullptr};
    StateFile stateFile_{config_, telemetry_, queue_};
    Sampler sampler_{config_, options_.root, telemetry_, stateFile_};
    Timer<Gateway> const heartbeat_{"Heartbeat", this, &Gateway::OnHeartbeat_, nullptr};
};

} // namespace

int main(int argc, char** argv) {
    Options options;
    if (!options.Parse(argc, argv)) {
        Io::StdErr() << "usage: gateway [--console] [--status | --full] [--root FOLDER] [--crash "
                        "null|stack|abort] CONFIG"
                     << Io::Endl;
        return EXIT_USAGE;
    }
    Gateway gateway(options);
    if (!gateway.Initialized()) return EXIT_FAILURE;
    if (options.console) {
        Log::ConsoleMode();
    } else {
        Log::ProcessIdent(argc, argv);
    }
    if (!gateway.Configure()) return EXIT_USAGE;
    return gateway.Run();
}
