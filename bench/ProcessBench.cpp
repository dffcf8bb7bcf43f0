// Children: from the start of "/bin/true" to its exit status, in a program that has touched that many MB, and
// a block there and back through "cat". A name is <operation>/<who>/<MB touched>.

#include "zeb/core/AutoPtr.h"
#include "zeb/process/IoProcess.h"
#include "zeb/runtime/ThreadMain.h"

#include <benchmark/benchmark.h>

#include <csignal>
#include <cstring>
#include <memory>
#include <semaphore>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#ifdef ZEB_PEER_GLIB
#include <glib.h>
#endif

#ifdef ZEB_PEER_POCO
#include <Poco/Process.h>
#endif

namespace {

constexpr char const PROGRAM[] = "/bin/true";
char* const ARGUMENTS[] = {const_cast<char*>(PROGRAM), nullptr};

void Block(int how) {
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGCHLD);
    pthread_sigmask(how, &set, nullptr);
}

// Ours, and the frame that it needs.
class Ours : public Process::Owner {
public:
    Ours() { Block(SIG_BLOCK); }
    ~Ours() override {
        process_.reset();
        Block(SIG_UNBLOCK);
    }
    bool AttachTo(Xml::Node&) const override { return true; }
    void OnProcessTerminated_(Process const*, int exitCode, int) override {
        status_ = exitCode;
        ended_.release();
    }
    int Run() {
        if (process_->Start().Failed()) return -1;
        ended_.acquire();
        return status_;
    }

private:
    AutoPtr<ThreadMain> const main_{ThreadMain::New("bench")};
    std::binary_semaphore ended_{0};
    int status_ = 0;
    std::unique_ptr<Process> process_ = std::make_unique<Process>(
        "true", PROGRAM, *this, 0, nullptr, Process::OUTPUT_KEEP, Process::STOP_SIGNAL_TERM, 2000,
        Process::SESSION_NEW, CString::Nil(), 0, 0, Process::IO_PRIO_DEFAULT);
};

int Await(int pid) {
    int status = -1;
    waitpid(pid, &status, 0);
    return status;
}

struct PosixSpawn {
    static int Run() {
        pid_t pid;
        return posix_spawn(&pid, PROGRAM, nullptr, nullptr, ARGUMENTS, environ) == 0 ? Await(pid) : -1;
    }
};

struct ForkAndExec {
    static int Run() {
        int const pid = fork();
        if (pid == 0) {
            execve(PROGRAM, ARGUMENTS, environ);
            _exit(1);
        }
        return Await(pid);
    }
};

#ifdef ZEB_PEER_GLIB
struct Glib {
    static int Run() {
        GPid pid;
        auto const flags = static_cast<GSpawnFlags>(G_SPAWN_DO_NOT_REAP_CHILD);
        if (!g_spawn_async(nullptr, const_cast<char**>(ARGUMENTS), nullptr, flags, nullptr, nullptr, &pid,
                           nullptr))
            return -1;
        return Await(pid);
    }
};
#endif

#ifdef ZEB_PEER_POCO
struct PocoProcess {
    static int Run() { return Poco::Process::launch(PROGRAM, Poco::Process::Args()).wait(); }
};
#endif

template<class RunnerT>
void Start(benchmark::State& state) {
    auto const size = static_cast<std::size_t>(state.range(0)) << 20;
    std::unique_ptr<char[]> const touched(new char[size + 1]);
    memset(touched.get(), 1, size + 1);
    benchmark::DoNotOptimize(touched.get());
    RunnerT runner;
    for (auto _ : state)
        if (runner.Run() != 0) state.SkipWithError("the child failed");
}

#define PEER(RunnerT, name)                                                                                  \
    BENCHMARK(Start<RunnerT>)                                                                                \
        ->Name("Process.Start/" name)                                                                        \
        ->Arg(0)                                                                                             \
        ->Arg(128)                                                                                           \
        ->UseRealTime()                                                                                      \
        ->Unit(benchmark::kMillisecond)

PEER(Ours, "ours");
PEER(PosixSpawn, "posix_spawn");
PEER(ForkAndExec, "fork_exec");
#ifdef ZEB_PEER_GLIB
PEER(Glib, "glib");
#endif
#ifdef ZEB_PEER_POCO
PEER(PocoProcess, "poco");
#endif

void Echo(benchmark::State& state) {
    Block(SIG_BLOCK);
    {
        AutoPtr<ThreadMain> const main(ThreadMain::New("bench"));
        Io::Process cat("cat", "/bin/cat", Io::MODE_READ_WRITE, Io::EOL_LF, Process::STOP_SIGNAL_TERM, 2000,
                        CString::Nil());
        std::string block(static_cast<std::size_t>(state.range(0)), 'x');
        bool ok = cat.Start();
        for (auto _ : state)
            ok = ok && cat.WriteAll(block.data(), block.size()) && cat.Flush() &&
                 cat.InBuffer().ReadAll(block.data(), block.size());
        if (!ok) state.SkipWithError("the child failed");
    }
    Block(SIG_UNBLOCK);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * state.range(0));
}
BENCHMARK(Echo)->Name("Process.Echo/ours")->Arg(100)->Arg(65536)->UseRealTime();

// The same through a pair of sockets of one's own.
void EchoPlain(benchmark::State& state) {
    int pair[2];
    bool ok = socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair) == 0;
    int const pid = fork();
    if (pid == 0) {
        dup2(pair[1], 0);
        dup2(pair[1], 1);
        execl("/bin/cat", "cat", nullptr);
        _exit(1);
    }
    close(pair[1]);
    std::string block(static_cast<std::size_t>(state.range(0)), 'x');
    for (auto _ : state) {
        ok = ok && write(pair[0], block.data(), block.size()) == static_cast<ssize_t>(block.size());
        for (std::size_t done = 0; ok && done < block.size();) {
            ssize_t const count = read(pair[0], block.data() + done, block.size() - done);
            ok = count > 0;
            done += static_cast<std::size_t>(count);
        }
    }
    if (!ok) state.SkipWithError("the child failed");
    close(pair[0]);
    waitpid(pid, nullptr, 0);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * state.range(0));
}
BENCHMARK(EchoPlain)->Name("Process.Echo/socketpair")->Arg(100)->Arg(65536)->UseRealTime();

} // namespace
