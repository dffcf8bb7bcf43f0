// gateway: the sample daemon. Samples the counters of its machine, keeps a state file up to date, and tells
// its status as XML and as JSON when it ends.

#include "Config.h"
#include "Report.h"
#include "Telemetry.h"
#include "Workers.h"

#include "zeb/core/Time.h"
#include "zeb/io/StdStream.h"
#include "zeb/runtime/Main.h"

#include <cstdlib>
#include <cstring>

namespace {

constexpr int EXIT_USAGE = 2; // a wrong command line, or a configuration that cannot be used
constexpr long POLL_PERIOD = 100;

struct Options {
    bool console = false;
    bool status = false;
    char const* proc = "/proc";
    char const* config = nullptr;

    bool Parse(int argc, char** argv) {
        for (int i = 1; i < argc; ++i) {
            if (strcmp(argv[i], "--console") == 0) {
                console = true;
            } else if (strcmp(argv[i], "--status") == 0) {
                status = true;
            } else if (strcmp(argv[i], "--proc") == 0 && i + 1 < argc) {
                proc = argv[++i];
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
        Sampler sampler(config_, options_.proc, telemetry_);
        StateWriter writer(config_, telemetry_);
        if (sampler.Start().Failed()) return EXIT_FAILURE;
        if (writer.Start().Failed()) {
            (void)sampler.Stop(); // the failure has been reported
            return EXIT_FAILURE;
        }
        Log(Log::INFO, IDENT, config_.Name().Cstr(), "started");
        while (!StopRequested())
            Sleep(POLL_PERIOD);
        bool const stopped = sampler.Stop() && writer.Stop();
        Log(Log::INFO, IDENT, config_.Name().Cstr(), "stopped");
        return (!options_.status || PrintStatus_()) && stopped ? EXIT_SUCCESS : EXIT_FAILURE;
    }

private:
    bool PrintStatus_() const {
        Io::StdOut out;
        return PrintXmlStatus(out, config_, telemetry_) && PrintJsonStatus(out, config_, telemetry_);
    }

    Options const& options_;
    Config config_;
    Telemetry telemetry_;
};

} // namespace

int main(int argc, char** argv) {
    Options options;
    if (!options.Parse(argc, argv)) {
        Io::StdErr() << "usage: gateway [--console] [--status] [--proc FOLDER] CONFIG" << Io::Endl;
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
