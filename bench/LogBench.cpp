// A line of the log beside what a program would otherwise write it with: its text alone, and the whole way to
// a console that throws it away. A name is <operation>/<who>.

#include "zeb/core/Log.h"

#include <benchmark/benchmark.h>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <string>
#include <unistd.h>

#ifdef ZEB_PEER_FMT
#include <fmt/format.h>
#endif

namespace {

// Four arguments, a text of 95 characters.
constexpr char const NAME[] = "GigabitEthernet0";
constexpr char const ADDRESS[] = "192.168.117.23";
constexpr char const STATE[] = "unreachable";
constexpr int PORT = 51413;
constexpr unsigned long TRIES = 12;

// Standard output for the length of a benchmark.
class NullOutput {
public:
    NullOutput()
        : saved_((fflush(stdout), dup(1))) {
        int const null = open("/dev/null", O_WRONLY | O_CLOEXEC);
        dup2(null, 1);
        close(null);
        setvbuf(stdout, nullptr, _IONBF, 0);
    }
    ~NullOutput() {
        dup2(saved_, 1);
        close(saved_);
    }

private:
    int saved_;
};

void TextOurs(benchmark::State& state) {
    for (auto _ : state) {
        Log log(Log::ERROR, "Bench", NAME, "the neighbour %1:%2 is %3 after %4 attempts, giving up");
        log << ADDRESS << PORT << STATE << TRIES << Log::QUIET;
        benchmark::DoNotOptimize(log.MakeMessage_(nullptr));
    }
}
BENCHMARK(TextOurs)->Name("Log.Text/ours");

void TextSnprintf(benchmark::State& state) {
    char text[1024];
    for (auto _ : state) {
        snprintf(text, sizeof text, "\"%s\": the neighbour %s:%d is %s after %lu attempts, giving up.", NAME,
                 ADDRESS, PORT, STATE, TRIES);
        benchmark::DoNotOptimize(text);
    }
}
BENCHMARK(TextSnprintf)->Name("Log.Text/snprintf");

#ifdef ZEB_PEER_FMT
void TextFmt(benchmark::State& state) {
    char text[1024];
    for (auto _ : state) {
        *fmt::format_to_n(
             text, sizeof text - 1,
             fmt::runtime("\"{0}\": the neighbour {1}:{2} is {3} after {4} attempts, giving up."), NAME,
             ADDRESS, PORT, STATE, TRIES)
             .out = '\0';
        benchmark::DoNotOptimize(text);
    }
}
BENCHMARK(TextFmt)->Name("Log.Text/fmt");
#endif

void ConsoleOurs(benchmark::State& state) {
    NullOutput const output;
    Log::ConsoleMode();
    for (auto _ : state)
        Log(Log::ERROR, "Bench", NAME, "the neighbour %1:%2 is %3 after %4 attempts, giving up")
            << ADDRESS << PORT << STATE << TRIES;
}
BENCHMARK(ConsoleOurs)->Name("Log.Console/ours");

void ConsolePrintf(benchmark::State& state) {
    NullOutput const output;
    for (auto _ : state) {
        time_t const now = time(nullptr);
        tm parts;
        char text[32];
        strftime(text, sizeof text, "%b %e %H:%M:%S", localtime_r(&now, &parts));
        printf("[%c] %s zeb: %s: \"%s\": the neighbour %s:%d is %s after %lu attempts, giving up.\n", 'E',
               text, "Bench", NAME, ADDRESS, PORT, STATE, TRIES);
    }
}
BENCHMARK(ConsolePrintf)->Name("Log.Console/printf");

// No way is shorter: the line as it is, and the call.
void ConsoleWrite(benchmark::State& state) {
    NullOutput const output;
    std::string const line(130, 'x');
    for (auto _ : state)
        benchmark::DoNotOptimize(write(1, line.data(), line.size()));
}
BENCHMARK(ConsoleWrite)->Name("Log.Console/write");

} // namespace
