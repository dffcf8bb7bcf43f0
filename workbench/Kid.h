// A child program that a test starts by a line of the shell, and an owner that notes what became of it.
//
//     TEST_F(GreeterTest, GreetsWhoWritesToIt) { // a WithMainThread
//         Kid kid("read name; echo hello $name; exit 3", {.talks = true});
//         ASSERT_EQ(kid.Start(), Process::STARTED);
//         EXPECT_EQ(write(kid.io, "you\n", 4), 4);
//         EXPECT_EQ(kid.Output(), "hello you\n");
//         EXPECT_EQ(kid.Await(), "exit 3 signal -1");
//     }
//
// Header only, as Threads.h.
//
// Owns       its Process, which a body may take away and destroy, and its end of the pair of sockets
// Threads    one starts it and reads what became of it; the body runs on the execution thread of the library,
//            where no process may be stopped or destroyed but this one
// Waits      Await() for 10 real seconds at most; Output() until the child, and all that hold its end, have
//            closed it
// Destroy    stops the child, as any Process
#pragma once

#include "workbench/Threads.h"
#include "zeb/process/Process.h"

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <utility>

#include <unistd.h>

#include <gtest/gtest.h>

// What is read until the end of it.
inline std::string ReadAll(int fd) {
    std::string all;
    char data[4096];
    for (ssize_t count; (count = TEMP_FAILURE_RETRY(read(fd, data, sizeof data))) > 0;)
        all.append(data, static_cast<size_t>(count));
    return all;
}

// What a Process is made of; see its header.
struct KidOptions {
    bool talks = false; // with the test, by its standard streams
    Process::StopSignalT stop = Process::STOP_SIGNAL_TERM;
    unsigned long killMs = 20000;
    Process::SessionT session = Process::SESSION_NEW;
    int oomScore = 0;
    char const *chroot = "", *executable = "/bin/sh";
};

struct Kid : Process::Owner {
    // Called when it has ended, ahead of what Await() waits for.
    using BodyT = std::function<void(Kid&)>;

    explicit Kid(std::string const& script, KidOptions const& with = {}, BodyT onEnd = {},
                 char const* name = "kid")
        : body(std::move(onEnd))
        , process(new Process(name, with.executable, *this, with.oomScore, with.talks ? &io : nullptr,
                              Process::OUTPUT_KEEP, with.stop, with.killMs, with.session, with.chroot, 0, 0,
                              Process::IO_PRIO_DEFAULT)) {
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
    // How it has ended, "exit 0 signal -1", once it has for the n-th time.
    std::string Await(int times = 1) {
        EXPECT_TRUE(::Await([&] { return ends >= times; }));
        return end;
    }
    ReturnT Start() { return process->Start(); }
    // Starts it and waits for its end.
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

    int io = -1; // this end, when it talks
    BodyT body;
    std::unique_ptr<Process> process;
    std::string end;
    std::atomic<int> ends = 0;
};
