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
    for (ssize_t count; (count = read(fd, data, sizeof data)) > 0 || (count < 0 && errno == EINTR);)
        if (count > 0) all.append(data, static_cast<std::size_t>(count));
    return all;
}

inline bool HasChildren() { return waitid(P_ALL, 0, nullptr, WEXITED | WNOHANG | WNOWAIT) == 0 || errno != ECHILD; }

// What a process wants to be made of.
struct KidOptions {
    int* io = nullptr;
    Process::OutputT output = Process::OUTPUT_KEEP;
    Process::StopSignalT stop = Process::STOP_SIGNAL_TERM;
    unsigned long killMs = 20000;
    Process::SessionT session = Process::SESSION_NEW;
    int oomScore = 0;
    char const* chroot = "";
    char const* executable = "/bin/sh";
};

struct Kid : Process::Owner {
    using BodyT = std::function<void(Kid&)>;

    explicit Kid(std::string const& script, KidOptions const& with = {}, BodyT onEnd = {}, char const* name = "kid")
        : body(std::move(onEnd))
        , process(new Process(name, with.executable, *this, with.oomScore, with.io, with.output, with.stop, with.killMs,
                              with.session, with.chroot, 0, 0, Process::IO_PRIO_DEFAULT)) {
        char const* const arguments[] = {"-c", script.c_str(), nullptr};
        if (!script.empty() && process->SetArguments(arguments).Failed()) ADD_FAILURE() << name;
    }
    ~Kid() override { process.reset(); }

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

    BodyT body;
    std::unique_ptr<Process> process;
    std::string end;
    std::atomic<int> ends = 0;
};

// The lines but those of orphans, and of how a thread or a timer has failed.
inline std::string Join(LinesT const& lines) {
    std::string all;
    for (std::string const& line : lines)
        if (line.find(" Process: ") == 1 && line.find("unknown PID") == std::string::npos) all += line + "\n";
    return all;
}

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
        EXPECT_FALSE(HasChildren());
        pthread_sigmask(SIG_UNBLOCK, &child_, nullptr);
    }
    long const descriptors_ = OpenDescriptors();
    sigset_t child_;
};
