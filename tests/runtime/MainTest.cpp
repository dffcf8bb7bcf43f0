#include "zeb/runtime/Main.h"

#include "tests/runtime/Worker.h"
#include "workbench/Calls.h"
#include "workbench/Child.h"
#include "zeb/core/Time.h"
#include "zeb/runtime/MainImpl.h"
#include "zeb/runtime/MainSt.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <string>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

struct Daemon : Main {
    Daemon()
        : Main("daemon") {}
    int Run() override { return StopRequested() ? 1 : 0; }
};

struct Tool : MainSt {
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
std::string InChild(BodyT const& body) {
    Child const child = Child::Run(body);
    EXPECT_EQ(child.ExitCode(), 0) << child;
    return child.Output() + child.Errors();
}

constexpr char const BLOCKED[] = "HUP INT USR2 ALRM TERM CHLD";

TEST(Main, TakesSignalsBetweenUnitsOfWork) {
    EXPECT_STREQ(MainIdent_(), "Main");
    EXPECT_EQ(MainGroup_(), -1);
    for (int const number : {SIGTERM, SIGINT}) {
        InChild([number] {
            LogCapture log;
            Calls calls;
            Daemon daemon;
            ASSERT_TRUE(daemon.Initialized());
            EXPECT_STREQ(MainIdent_(), "daemon");
            EXPECT_EQ(MainGroup_(), getpid());
            calls.Script(SysCall::sigtimedwait,
                         {Calls::Return(SIGHUP), Calls::Fail(EINVAL), Calls::Fail(EAGAIN), Calls::Fail(EINTR)});
            for (int i = 0; i < 4; ++i) EXPECT_FALSE(daemon.StopRequested());
            EXPECT_EQ(log.Take(),
                      (LogCapture::LinesT{"W Main: caught signal 1, ignored.", "E Main: signal wait error: invalid argument."}));
            kill(getpid(), SIGHUP);
            kill(getpid(), SIGPIPE);
            EXPECT_EQ(daemon.Run(), 0);
            for (int i = 0; i < 2; ++i) { // nobody looks for the second one
                kill(getpid(), number);
                EXPECT_EQ(daemon.Run(), 1);
            }
            EXPECT_EQ(log.Take(), LogCapture::LinesT{"I Main: stopping..."});
            for (int const late : {SIGALRM, SIGHUP, SIGTERM, SIGINT, SIGUSR2, SIGCHLD}) kill(getpid(), late);
            calls.Script(SysCall::sigtimedwait, {Calls::Real(), Calls::Fail(EINTR)});
        }); // none of them ends the program with the frame
    }
}

// What happens at the beginning of a wait: a signal, SetStop(), an interruption, a failure of the system.
Calls::Step Happens(char what, Main& main) {
    if (what == 'T' || what == 'I') return Calls::Do([=] { kill(getpid(), what == 'T' ? SIGTERM : SIGINT); });
    if (what == 's') return Calls::Do([&] { main.SetStop(); });
    if (what == 'i') return Calls::Do([self = Thread::Self()] { RunInWorker([&] { self->Interrupt(); }); });
    return what == '-' ? Calls::Real() : Calls::Fail(what == 'r' ? EINTR : EINVAL);
}

TEST(Main, WaitsForAStopSignal) {
    struct Row {
        char what;
        long timeout, waited; // milliseconds
        bool stop;
    } const rows[] = {
        {'-', 1000, 1000, false}, {'-', 0, 0, false}, {'r', 500, 500, false}, {'v', 50, 50, false},
        {'T', 9000, 0, true},     {'I', -1, 0, true}, {'s', -1, 333, true},   {'i', 9000, 333, false},
    };
    InChild([&] {
        for (Row const& row : rows) {
            Clock clock(Clock::ModeT::AUTO);
            Daemon daemon;
            Calls calls;
            calls.Script(SysCall::sigtimedwait, {Happens(row.what, daemon)});
            EXPECT_EQ(daemon.WaitForStop(row.timeout), row.stop);
            EXPECT_EQ(daemon.StopRequested(), row.stop);
            EXPECT_NEAR(static_cast<double>(clock.Moved()) / 1e6, row.waited, 0.01) << row.what;
        }
    });
}

TEST(Main, BlocksSignalsForItsLifeAndExistsOnce) {
    EXPECT_EQ(InChild([] {
                  LogCapture log;
                  {
                      Daemon daemon;
                      RunInWorker([&] {
                          EXPECT_EQ(Blocked(), BLOCKED);
                          daemon.SetStop();
                      });
                      EXPECT_TRUE(daemon.StopRequested());
                      EXPECT_FALSE(Daemon().Initialized());
                      EXPECT_EQ(HandlerOf(SIGPIPE), SIG_IGN) << "the first one still has its signals";
                      EXPECT_EQ(Blocked(), BLOCKED);
                      Tool tool;
                      tool.SetStop();
                      tool.SetAlarm(1L);
                      EXPECT_FALSE(tool.Initialized() || tool.StopRequested());
                  }
                  EXPECT_EQ(HandlerOf(SIGPIPE), SIG_DFL);
                  EXPECT_EQ(Blocked(), "");
                  EXPECT_EQ(Thread::Self(), nullptr);
                  EXPECT_TRUE(log.Take().empty());
              }),
              "daemon: failed to wrap the main thread.\ntool: failed to wrap the main thread.\n");
}

// What the life of a frame says on standard error and in the log when a system call fails behind so many
// others.
template<class FrameT>
void ExpectFailure(SysCall call, unsigned long before, std::string const& text, bool initialized) {
    std::string const said = InChild([&] {
        LogCapture log;
        Calls calls;
        if (before) calls.Script(call, {Calls::Real()}, before);
        calls.Script(call, {Calls::Fail(EPERM)});
        EXPECT_EQ(FrameT().Initialized(), initialized);
        for (std::string const& line : log.Take()) fprintf(stderr, "%s\n", line.c_str());
    });
    EXPECT_EQ(said, text + ".\n");
}

TEST(Main, SaysWhyItFailed) {
    std::string const why = ": operation not permitted", failed = "daemon: failed to ";
    ExpectFailure<Daemon>(SysCall::sigaltstack, 0,
                          failed + "setup the alternate signal stack" + why + "\n" + failed + "wrap the main thread", false);
    for (auto const& [call, before, what] :
         {std::tuple(SysCall::pthread_condattr_setclock, 0, "trace object"), {SysCall::sigaction, 1, "trace signal handler"}}) {
        std::string const setUp = std::string("setup ") + (before ? "a " : "the ") + what;
        ExpectFailure<Daemon>(call, static_cast<unsigned long>(before),
                              failed + setUp + why + ".\n" + failed + "wrap the main thread", false);
    }
    for (unsigned long const before : {2UL, 7UL})
        ExpectFailure<Daemon>(SysCall::sigaction, before, failed + "setup signal handlers" + why, false);
    ExpectFailure<Daemon>(SysCall::pthread_sigmask, 0, failed + "block signals" + why, false);
    ExpectFailure<Daemon>(SysCall::pthread_sigmask, 1, failed + "unblock signals" + why, true);
    ExpectFailure<Daemon>(SysCall::sigaction, 8, failed + "restore signal handlers" + why, true);
    for (auto const& [call, before] :
         {std::pair(SysCall::pthread_sigmask, 0), {SysCall::sigaction, 2}, {SysCall::sigaction, 3}, {SysCall::timer_create, 0}})
        ExpectFailure<Tool>(call, static_cast<unsigned long>(before), "C tool: system failed [0xcffd****]", false);
}

TEST(MainSt, RaisesAnAlarm) {
    InChild([] {
        Tool tool;
        ASSERT_TRUE(tool.Initialized());
        EXPECT_EQ(Blocked(), "HUP INT USR2 PIPE CHLD");
        kill(getpid(), SIGPIPE);
        kill(getpid(), SIGALRM); // not ours: no address comes with it
        siginfo_t other = {};    // or that of another timer
        other.si_code = SI_TIMER;
        other.si_value.sival_int = 8;
        EXPECT_EQ(syscall(SYS_rt_sigqueueinfo, getpid(), SIGALRM, &other), 0);
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
void ExpectLogged(int number, std::string const& text) {
    std::string const output = InChild([number] {
        Log::ConsoleMode();
        FrameT frame;
        Calls calls; // the signal comes while the lock of the log is held
        calls.Script(SysCall::write, {Calls::Do([number] {
                         errno = ERANGE;
                         raise(number);
                         EXPECT_EQ(errno, ERANGE);
                     })});
        Log(Log::INFO, "T", nullptr, "interrupted");
        EXPECT_FALSE(Thread::SelfInterrupted() || frame.StopRequested());
        frame.SetStop();
        EXPECT_TRUE(frame.StopRequested());
    });
    EXPECT_NE(output.find(" zeb: Thread: " + text), std::string::npos) << output;
}

TEST(Main, HandlersLogWithoutHarm) {
    ExpectLogged<Daemon>(SIGUSR1, "interrupted by a signal.\n");
    ExpectLogged<Tool>(SIGUSR1, "interrupted by a signal.\n");
    ExpectLogged<Tool>(SIGTERM, "\"Main\": system failed [0x"); // a thread cannot interrupt itself
}

} // namespace
