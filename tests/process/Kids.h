// Children of a test: an owner that notes what became of its process, and what the system knows of them.
#pragma once

#include "tests/runtime/Worker.h"
#include "workbench/Kid.h"
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
