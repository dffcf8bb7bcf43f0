// Children of a test: an owner that notes what became of its process, and what the system knows of them.
#pragma once

#include "tests/runtime/Worker.h"
#include "zeb/core/StringMap.h"
#include "zeb/core/StringVector.h"
#include "zeb/process/ExecImpl.h"
#include "zeb/process/SpawnImpl.h"

#include <filesystem>
#include <string>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr SysCall FORK = SysCall::fork;
#else
constexpr SysCall FORK = SysCall::clone;
#endif

// What is read until the end of it.
inline std::string ReadAll(int fd) {
    std::string all;
    char data[4096];
    for (ssize_t count; (count = TEMP_FAILURE_RETRY(read(fd, data, sizeof data))) > 0;)
        all.append(data, static_cast<size_t>(count));
    return all;
}

// What a process wants to be made of.
struct KidOptions {
    bool talks = false; // with the test, by its standard streams
    Process::StopSignalT stop = Process::STOP_SIGNAL_TERM;
    unsigned long killMs = 20000;
    Process::SessionT session = Process::SESSION_NEW;
    int oomScore = 0;
    char const *chroot = "", *executable = "/bin/sh";
};

struct Kid : Process::Owner {
    using BodyT = std::function<void(Kid&)>;

    explicit Kid(std::string const& script, KidOptions const& with = {}, BodyT onEnd = {}, char const* name = "kid")
        : body(std::move(onEnd))
        , process(new Process(name, with.executable, *this, with.oomScore, with.talks ? &io : nullptr, Process::OUTPUT_KEEP,
                              with.stop, with.killMs, with.session, with.chroot, 0, 0, Process::IO_PRIO_DEFAULT)) {
        char const* const arguments[] = {"-c", script.c_str(), nullptr};
        if (!script.empty() && process->SetArguments(arguments).Failed()) ADD_FAILURE() << name;
    }
    ~Kid() override { process.reset(), Close(); }

    bool AttachTo(Xml::Node&) const override { return true; }
    void OnProcessTerminated_(Process const* which, int exitCode, int signal) override {
        EXPECT_EQ(which, process.get());
        if (body) body(*this);
        end = "exit " + std::to_string(exitCode) + " signal " + std::to_string(signal);
        ++ends;
    }
    // How it has ended, once it has for the n-th time.
    std::string Await(int times = 1) {
        EXPECT_TRUE(::Await([&] { return ends >= times; }));
        return end;
    }
    ReturnT Start() { return process->Start(); }
    std::string Run() {
        int const next = ends + 1; // it may have ended when it is told to have started
        return Start() == Process::STARTED ? Await(next) : "not started";
    }
    // The number that it prints, -1 without output.
    int Number() const {
        char text[16] = {};
        return read(io, text, sizeof text - 1) > 0 ? atoi(text) : -1;
    }
    void Close() { (void)(io < 0 || close(std::exchange(io, -1))); }
    // All that it prints.
    std::string Output() {
        std::string const all = ReadAll(io);
        return Close(), all;
    }

    int io = -1;
    BodyT body;
    std::unique_ptr<Process> process;
    std::string end;
    std::atomic<int> ends = 0;
};

struct KidTest : WithMainThread {
    KidTest() {
        sigemptyset(&child_), sigaddset(&child_, SIGCHLD);
        pthread_sigmask(SIG_BLOCK, &child_, nullptr);
        prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0); // children of children come here, too, when they are orphans
    }
    ~KidTest() override {
        prctl(PR_SET_CHILD_SUBREAPER, 0, 0, 0, 0);
        EXPECT_EQ(Posix::Exec_::Instance(), nullptr);
        EXPECT_EQ(OpenDescriptors(), descriptors_);
        EXPECT_TRUE(waitid(P_ALL, 0, nullptr, WEXITED | WNOHANG | WNOWAIT) != 0 && errno == ECHILD) << "children are left";
        pthread_sigmask(SIG_UNBLOCK, &child_, nullptr);
    }
    // The lines of Process since the last time, without its name, but those of orphans.
    std::string Said() {
        std::string all;
        for (std::string const& line : log_.Take())
            if (line.find(" Process: ") == 1 && line.find("unknown PID") == std::string::npos)
                all += line[0] + line.substr(10) + "\n";
        return all;
    }
    bool AwaitOrphan(int pid) const {
        return log_.Await("C Process: a process with an unknown PID [" + std::to_string(pid) + "] terminated.");
    }
    long const descriptors_ = OpenDescriptors();
    sigset_t child_;
};
