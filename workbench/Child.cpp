#include "workbench/Child.h"

#include "workbench/Workbench.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <ostream>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace {

constexpr int FAILED_EXPECTATION = 113;

void Execute(std::vector<std::string> const& command) {
    std::vector<char*> pointers;
    for (std::string const& word : command)
        pointers.push_back(const_cast<char*>(word.c_str()));
    pointers.push_back(nullptr);
    execvp(pointers[0], pointers.data());
    fprintf(stderr, "cannot run %s: %s\n", pointers[0], strerror(errno));
    _exit(127);
}

} // namespace

Child Child::Fork(std::function<int()> const& body, long limitMs) {
    unsigned long const failedBefore = Workbench::FailedParts();
    Child child = Spawn(
        [&] {
            int const code = body();
            bool const failed = Workbench::FailedParts() != failedBefore;
            return failed ? FAILED_EXPECTATION : code;
        },
        {}, limitMs);
    if (child.exitCode_ == FAILED_EXPECTATION)
        ADD_FAILURE() << "expectations failed in a child:\n" << child.output_ << child.errors_;
    return child;
}

// The folder of the programs of this build: beside the test's own, unless the environment names one.
static std::string Programs() {
    if (char const* const named = getenv("ZEB_TEST_PROGRAMS"); named != nullptr) return named;
    return std::filesystem::read_symlink("/proc/self/exe").parent_path();
}

// The head of a command that starts a program of this build: one for another processor needs its emulator.
static std::vector<std::string> StartOf(std::string const& program) {
    std::vector<std::string> command;
    if (char const* const emulator = getenv("ZEB_TEST_EMULATOR"); emulator != nullptr) {
        std::string const words = emulator;
        for (std::size_t at = 0, end; at < words.size(); at = end + 1) {
            end = std::min(words.find(' ', at), words.size());
            if (end != at) command.push_back(words.substr(at, end - at));
        }
    }
    command.push_back(program);
    return command;
}

std::vector<std::string> Child::Built(std::string const& name, std::vector<std::string> const& arguments) {
    std::vector<std::string> command = StartOf(Programs() + "/" + name);
    command.insert(command.end(), arguments.begin(), arguments.end());
    return command;
}

Child Child::Program(std::vector<std::string> const& command, std::string const& input, long limitMs) {
    return Spawn(
        [&command] {
            Execute(command);
            return 127;
        },
        input, limitMs);
}

Child Child::Spawn(std::function<int()> const& inChild, std::string const& input, long limitMs) {
    Workbench::Own const own;
    int out[2], err[2], in[2];
    if (pipe2(out, O_CLOEXEC) != 0 || pipe2(err, O_CLOEXEC) != 0 || pipe2(in, O_CLOEXEC) != 0) abort();
    fflush(nullptr);
    pid_t const pid = fork();
    if (pid < 0) abort();
    if (pid == 0) {
        Workbench::Own::Reset();
        dup2(out[1], 1);
        dup2(err[1], 2);
        dup2(in[0], 0);
        for (int const fd : {out[0], out[1], err[0], err[1], in[0], in[1]})
            close(fd);
        signal(SIGPIPE, SIG_DFL);
        int const code = inChild();
        fflush(nullptr);
        _exit(code);
    }
    for (int const fd : {out[1], err[1], in[0]})
        close(fd);
    Child child;
    child.Collect(pid, out[0], err[0], in[1], input, limitMs);
    return child;
}

void Child::Collect(int pid, int out, int err, int in, std::string const& input, long limitMs) {
    long const began = Workbench::RealMilliseconds();
    std::size_t sent = 0;
    std::string* const texts[] = {&output_, &errors_};
    pollfd fds[] = {{out, POLLIN, 0}, {err, POLLIN, 0}, {in, POLLOUT, 0}};
    fcntl(in, F_SETFL, O_NONBLOCK);
    while (fds[0].fd >= 0 || fds[1].fd >= 0) {
        if (fds[2].fd >= 0 && sent == input.size()) {
            close(fds[2].fd);
            fds[2].fd = -1;
        }
        timespec const slice = {0, 20000000};
        Workbench::RealPoll(fds, 3, slice);
        for (int i = 0; i < 2; ++i) {
            if (fds[i].fd < 0 || fds[i].revents == 0) continue;
            char block[4096];
            ssize_t const got = read(fds[i].fd, block, sizeof(block));
            if (got > 0) texts[i]->append(block, static_cast<std::size_t>(got));
            if (got > 0) continue;
            close(fds[i].fd);
            fds[i].fd = -1;
        }
        if (fds[2].fd >= 0 && fds[2].revents != 0) {
            ssize_t const put = write(fds[2].fd, input.data() + sent, input.size() - sent);
            sent = put < 0 ? input.size() : sent + static_cast<std::size_t>(put);
        }
        if (Workbench::RealMilliseconds() - began < limitMs || timedOut_) continue;
        timedOut_ = true;
        kill(pid, SIGKILL);
    }
    if (fds[2].fd >= 0) close(fds[2].fd);
    int status = 0;
    while (waitpid(pid, &status, WNOHANG) == 0) {
        if (Workbench::RealMilliseconds() - began >= limitMs && !timedOut_) {
            timedOut_ = true;
            kill(pid, SIGKILL);
        }
        Workbench::RealSleep(1);
    }
    if (WIFEXITED(status)) exitCode_ = WEXITSTATUS(status);
    if (WIFSIGNALED(status)) signal_ = WTERMSIG(status);
}

std::ostream& operator<<(std::ostream& out, Child const& child) {
    out << "exit code " << child.exitCode_ << ", signal " << child.signal_;
    if (child.timedOut_) out << ", killed at its time limit";
    return out << "\n--- standard output\n" << child.output_ << "--- standard error\n" << child.errors_;
}
