#include "zeb/runtime/Main.h"

#include "tests/runtime/Worker.h"
#include "tests/support/Calls.h"
#include "tests/support/Child.h"
#include "tests/support/LogCapture.h"
#include "zeb/core/Time.h"
#include "zeb/runtime/MainImpl.h"
#include "zeb/runtime/MainSt.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <string>
#include <unistd.h>

namespace {

class Daemon : public Main {
public:
    Daemon()
        : Main("daemon") {}
    int Run() override { return StopRequested() ? 1 : 0; }
};

class Tool : public MainSt {
public:
    Tool()
        : MainSt("tool") {}
    int Run() override { return 0; }
};

// Those of the signals that the calling thread blocks.
std::string Blocked() {
    sigset_t set;
    pthread_sigmask(SIG_BLOCK, nullptr, &set);
    std::string names;
    for (int number = 1; number < 32; ++number) {
        if (sigismember(&set, number)) names += std::string(names.empty() ? "" : " ") + sigabbrev_np(number);
    }
    return names;
}

void (*HandlerOf(int number))(int) {
    struct sigaction action = {};
    sigaction(number, nullptr, &action);
    return action.sa_handler;
}

// Runs the body in a process of its own, and expects it to end well.
template<class BodyT>
void InChild(BodyT const& body) {
    Child const child = Child::Run(body);
    EXPECT_EQ(child.ExitCode(), 0) << child;
}

constexpr char const BLOCKED[] = "HUP INT USR2 ALRM TERM CHLD";

TEST(Main, TakesSignalsBetweenUnitsOfWork) {
    EXPECT_STREQ(MainIdent_(), "Main");
    EXPECT_EQ(MainGroup_(), -1);
    for (int const number : {SIGTERM, SIGINT}) {
        InChild([number] {
            LogCapture log;
            Daemon daemon;
            ASSERT_TRUE(daemon.Initialized());
            EXPECT_STREQ(MainIdent_(), "daemon");
            EXPECT_EQ(MainGroup_(), getpid());
            for (int const harmless : {SIGHUP, SIGPIPE})
                kill(getpid(), harmless);
            EXPECT_EQ(daemon.Run(), 0);
            kill(getpid(), number);
            EXPECT_EQ(daemon.Run(), 1);
            kill(getpid(), number); // nobody looks for the second one
            EXPECT_EQ(daemon.Run(), 1);
            EXPECT_EQ(log.Take(), LogCapture::LinesT{"I Main: stopping..."});
            for (int const pending : {SIGHUP, number})
                signal(pending, SIG_IGN);
        });
    }
}

TEST(Main, BlocksSignalsForItsLife) {
    InChild([] {
        LogCapture log;
        {
            Daemon daemon;
            RunInWorker([&] {
                EXPECT_EQ(Blocked(), BLOCKED);
                daemon.SetStop();
            });
            EXPECT_TRUE(daemon.StopRequested());
            EXPECT_EQ(HandlerOf(SIGPIPE), SIG_IGN);
        }
        EXPECT_EQ(HandlerOf(SIGPIPE), SIG_DFL);
        EXPECT_EQ(Blocked(), "");
        EXPECT_EQ(Thread::Self(), nullptr);
        EXPECT_TRUE(log.Take().empty());
    });
}

TEST(Main, ReportsOtherSignalsAndErrors) {
    InChild([] {
        LogCapture log;
        Daemon daemon;
        Calls calls;
        calls.Script(SysCall::sigtimedwait,
                     {Calls::Return(SIGHUP), Calls::Fail(EINVAL), Calls::Fail(EAGAIN), Calls::Fail(EINTR)});
        for (int i = 0; i < 4; ++i)
            EXPECT_FALSE(daemon.StopRequested());
        EXPECT_EQ(log.Take(), (LogCapture::LinesT{"W Main: caught signal 1, ignored.",
                                                  "E Main: signal wait error: invalid argument."}));
    });
}

TEST(Main, SaysOnStandardErrorWhyItFailed) {
    struct Row {
        SysCall call;
        int before; // calls that succeed
        std::string text;
    } const rows[] = {
        {SysCall::sigaltstack, 0,
         "setup the alternate signal stack: operation not permitted\ndaemon: failed to wrap the main "
         "thread.\n"},
        {SysCall::sigaction, 1, "setup signal handlers: operation not permitted.\n"},
        {SysCall::pthread_sigmask, 0, "block signals: operation not permitted.\n"},
        {SysCall::pthread_sigmask, 1, "unblock signals: operation not permitted.\n"},
        {SysCall::sigaction, 2, "restore signal handlers: operation not permitted.\n"},
    };
    for (Row const& row : rows) {
        Child const child = Child::Run([&] {
            Calls calls;
            for (int i = 0; i < row.before; ++i)
                calls.Script(row.call, {Calls::Real()});
            calls.Script(row.call, {Calls::Fail(EPERM)});
            Daemon daemon;
            return daemon.Initialized() ? 1 : 0;
        });
        EXPECT_EQ(child.Errors(), "daemon: failed to " + row.text);
        EXPECT_EQ(child.ExitCode(), &row - rows >= 3) << child; // the last two failures come at the end
    }
}

TEST(Main, ExistsOnce) {
    Child const child = Child::Run([] {
        Daemon daemon;
        {
            Daemon another;
            EXPECT_FALSE(another.Initialized());
        }
        EXPECT_EQ(HandlerOf(SIGPIPE), SIG_IGN) << "the first one still has its signals";
        EXPECT_EQ(Blocked(), BLOCKED);
        Tool tool;
        tool.SetStop();
        tool.SetAlarm(1L);
        EXPECT_FALSE(tool.Initialized() || tool.StopRequested());
    });
    EXPECT_EQ(child.ExitCode(), 0) << child;
    EXPECT_EQ(child.Errors(),
              "daemon: failed to wrap the main thread.\ntool: failed to wrap the main thread.\n");
}

// Waits for at most two seconds.
template<class ConditionT>
bool Await(ConditionT const& condition) {
    for (int i = 0; i < 2000 && !condition(); ++i)
        usleep(1000);
    return condition();
}

TEST(MainSt, RaisesAnAlarm) {
    InChild([] {
        Tool tool;
        ASSERT_TRUE(tool.Initialized());
        EXPECT_EQ(Blocked(), "HUP INT USR2 PIPE CHLD");
        kill(getpid(), SIGPIPE);
        kill(getpid(), SIGALRM); // not ours: no address comes with it
        tool.SetAlarm(30L);
        tool.CancelAlarm();
        usleep(60000);
        EXPECT_FALSE(tool.IsAlarmed());
        for (Time::Span const& delay : {Time::Span(-1), Time::Span(5)}) {
            tool.SetAlarm(delay);
            EXPECT_TRUE(Await([&] { return tool.IsAlarmed(); }));
            tool.ClearAlarm();
        }
        tool.MaskAlarm();
        tool.SetAlarm(0L);
        sigset_t pending;
        EXPECT_TRUE(Await([&] { return sigpending(&pending) == 0 && sigismember(&pending, SIGALRM) == 1; }));
        EXPECT_FALSE(tool.IsAlarmed());
        tool.UnmaskAlarm();
        EXPECT_TRUE(tool.IsAlarmed());
    });
}

// What a handler logs goes to the console here: it must not meet the heap, which a LogCapture uses.
template<class FrameT>
std::string LoggedBy(int number) {
    Child const child = Child::Run([number] {
        Log::ConsoleMode();
        FrameT frame;
        errno = ERANGE;
        raise(number);
        EXPECT_EQ(errno, ERANGE);
        EXPECT_FALSE(Thread::SelfInterrupted() || frame.StopRequested());
        frame.SetStop();
        EXPECT_TRUE(frame.StopRequested());
    });
    EXPECT_EQ(child.ExitCode(), 0) << child;
    unsigned long const ident = child.Output().find(" zeb: ");
    return ident == std::string::npos ? child.Output() : child.Output().substr(ident);
}

TEST(Main, HandlersLogWithoutHarm) {
    EXPECT_EQ(LoggedBy<Daemon>(SIGUSR1), " zeb: Thread: interrupted by a signal.\n");
    EXPECT_EQ(LoggedBy<Tool>(SIGUSR1), " zeb: Thread: interrupted by a signal.\n");
    // The signal is for the calling thread, which cannot interrupt itself.
    std::string const line = LoggedBy<Tool>(SIGTERM);
    EXPECT_EQ(line.substr(0, 39), " zeb: Thread: \"Main\": system failed [0x") << line;
}

TEST(MainSt, ReportsFailures) {
    struct Row {
        SysCall call;
        unsigned long before;
    } const rows[] = {{SysCall::pthread_sigmask, 0},
                      {SysCall::sigaction, 1},
                      {SysCall::sigaction, 2},
                      {SysCall::timer_create, 0}};
    for (Row const& row : rows) {
        InChild([&] {
            LogCapture log;
            Calls calls;
            if (row.before) calls.Script(row.call, {Calls::Real()}, row.before);
            calls.Script(row.call, {Calls::Fail(EPERM)});
            Tool tool;
            EXPECT_FALSE(tool.Initialized());
            EXPECT_EQ(log.Take(), LogCapture::LinesT{"C tool: system failed [0xcffd****]."});
        });
    }
}

} // namespace
