// Runs code in a process of its own: for what ends a process, takes real signals, or needs a fresh one.
//
//     Child const child = Child::Run([] { abort(); });           // a fork of the test
//     EXPECT_EQ(child.Signal(), SIGABRT) << child;
//
// Owns       nothing of the process: it has ended, and its output is here, when Run() and Program() return
// Waits      for that end, at most for the limit of real time; then the child is killed, and TimedOut() says
// so Threads    a forked child has the calling thread only: a lock that another thread held stays locked in
// it Failure    expectations that fail in a forked child fail the test; a program that cannot be run ends
// with 127
#pragma once

#include <functional>
#include <iosfwd>
#include <string>
#include <type_traits>
#include <vector>

class Child {
public:
    static constexpr long DEFAULT_LIMIT_MS = 20000;

    // The exit code is what `body` returns, or 0 if it returns nothing. Only the calling thread exists in the
    // child.
    template<typename BodyT>
    static Child Run(BodyT const& body, long limitMs = DEFAULT_LIMIT_MS) {
        return Fork(
            [&body] {
                if constexpr (std::is_void_v<decltype(body())>) {
                    body();
                    return 0;
                } else {
                    return static_cast<int>(body());
                }
            },
            limitMs);
    }

    // Runs a program, found by PATH unless it has a slash, with `input` on its standard input.
    static Child Program(std::vector<std::string> const& command, std::string const& input = {},
                         long limitMs = DEFAULT_LIMIT_MS);

    // The command for Program() that runs a program of this build: `name` beside the test's own program, or
    // in the folder that ZEB_TEST_PROGRAMS names in the environment.
    static std::vector<std::string> Built(std::string const& name, std::vector<std::string> const& arguments);

    int ExitCode() const { return exitCode_; } // -1 if it did not exit
    int Signal() const { return signal_; }     // 0 if it was not killed by one
    bool TimedOut() const { return timedOut_; }
    std::string const& Output() const { return output_; }
    std::string const& Errors() const { return errors_; }

    friend std::ostream& operator<<(std::ostream& out, Child const& child);

private:
    static Child Fork(std::function<int()> const& body, long limitMs);
    static Child Spawn(std::function<int()> const& inChild, std::string const& input, long limitMs);
    void Collect(int pid, int out, int err, int in, std::string const& input, long limitMs);

    int exitCode_ = -1;
    int signal_ = 0;
    bool timedOut_ = false;
    std::string output_;
    std::string errors_;
};
