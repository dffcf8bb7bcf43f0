#include "zeb/runtime/Main.h"

#include "tests/runtime/Worker.h"
#include "zeb/runtime/MainImpl.h"
#include "zeb/runtime/MainSt.h"

#include <sys/syscall.h>

namespace {

template<class FrameT>
struct Frame : FrameT {
    Frame()
        : FrameT(std::is_same_v<FrameT, Main> ? "daemon" : "tool") {}
    int Run() override { return this->StopRequested() ? 1 : 0; }
};
using Daemon = Frame<Main>;
using Tool = Frame<MainSt>;

// Those of the signals that the calling thread blocks.
std::string Blocked() {
    sigset_t set;
    pthread_sigmask(SIG_BLOCK, nullptr, &set);
    std::string names;
    for (int number = 1; number < 32; ++number)
        if (sigismember(&set, number)) names += sigabbrev_np(number) + std::string(" ");
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

constexpr char const BLOCKED[] = "HUP INT USR2 ALRM TERM CHLD ";

TEST(Main, TakesSignalsBetweenUnitsOfWork) {
    auto const process = [] { return std::string(MainIdent_()) + std::to_string(MainGroup_()); };
    EXPECT_EQ(process(), "Main-1");
    for (int const number : {SIGTERM, SIGINT}) {
        InChild([&] {
            LogCapture log;
            Calls calls;
            Daemon daemon;
            ASSERT_TRUE(daemon.Initialized());
            EXPECT_EQ(process(), "daemon" + std::to_string(getpid()));
            for (auto const& step : {Calls::Return(SIGHUP), Calls::Fail(EINVAL), Calls::Fail(EAGAIN), Calls::Fail(EINTR)})
                EXPECT_FALSE((calls.Script(SysCall::sigtimedwait, {step}), daemon.StopRequested()));
            EXPECT_EQ(log.Take(), (LinesT{"W Main: caught signal 1, ignored.", "E Main: signal wait error: invalid argument."}));
            for (int const sent : {SIGHUP, SIGPIPE, number, number}) { // nobody looks for the second one
                kill(getpid(), sent);
                EXPECT_EQ(daemon.Run(), sent == number);
            }
            EXPECT_EQ(log.Take(), LinesT{"I Main: stopping..."});
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
    // The limit and the time waited in milliseconds, and whether it stops.
    std::tuple<char, long, long, bool> const rows[] = {// clang-format off
        {'-', 1000, 1000, false}, {'-', 0, 0, false}, {'r', 500, 500, false}, {'v', 50, 50, false}, {'T', 9000, 0, true},
        {'I', -1, 0, true}, {'s', -1, 333, true}, {'i', 9000, 333, false}};
    // clang-format on
    InChild([&] {
        for (auto const& [what, timeout, waited, stop] : rows) {
            Clock clock(Clock::ModeT::AUTO);
            Daemon daemon;
            Calls calls;
            calls.Script(SysCall::sigtimedwait, {Happens(what, daemon)});
            EXPECT_EQ((std::pair{daemon.WaitForStop(timeout), daemon.StopRequested()}), std::pair(stop, stop)) << what;
            EXPECT_NEAR(static_cast<double>(clock.Moved()) / 1e6, waited, 0.01) << what;
        }
    });
}

TEST(Main, BlocksSignalsForItsLifeAndExistsOnce) {
    std::string const said = InChild([] {
        LogCapture log;
        {
            Daemon daemon;
            RunInWorker([&] { EXPECT_EQ((daemon.SetStop(), Blocked()), BLOCKED); });
            EXPECT_TRUE(daemon.StopRequested() && !Daemon().Initialized());
            EXPECT_TRUE(HandlerOf(SIGPIPE) == SIG_IGN && Blocked() == BLOCKED) << "the first one still has its signals";
            Tool tool;
            tool.SetStop(), tool.SetAlarm(1L);
            EXPECT_FALSE(tool.Initialized() || tool.StopRequested());
        }
        EXPECT_TRUE(HandlerOf(SIGPIPE) == SIG_DFL && Thread::Self() == nullptr);
        EXPECT_EQ(Blocked() + testing::PrintToString(log.Take()), "{}");
    });
    EXPECT_EQ(said, "daemon: failed to wrap the main thread.\ntool: failed to wrap the main thread.\n");
}

// What the life of a frame says on standard error and in the log when a system call fails.
template<class FrameT>
std::string Failed(char const* call, bool initialized = false) {
    return InChild([&] {
        LogCapture log;
        Calls calls;
        calls.ScriptFailure(call);
        EXPECT_EQ(FrameT().Initialized(), initialized);
        fprintf(stderr, "%s", log.TakeText().c_str());
    });
}

TEST(Main, SaysWhyItFailed) {
    std::string const why = ": operation not permitted.\n", wrap = "daemon: failed to wrap the main thread.\n";
    std::tuple<char const*, std::string, bool> const rows[] = {
        {"sigaltstack 0 EPERM", "setup the alternate signal stack: operation not permitted\n" + wrap, false},
        // clang-format off
        {"pthread_condattr_setclock 0 EPERM", "setup the trace object" + why + wrap, false},
        {"sigaction 1 EPERM", "setup a trace signal handler" + why + wrap, false},
        {"sigaction 2 EPERM", "setup signal handlers" + why, false}, {"sigaction 7 EPERM", "setup signal handlers" + why, false},
        {"pthread_sigmask 0 EPERM", "block signals" + why, false}, {"pthread_sigmask 1 EPERM", "unblock signals" + why, true},
        {"sigaction 8 EPERM", "restore signal handlers" + why, true}};
    // clang-format on
    for (auto const& [call, text, good] : rows) EXPECT_EQ(Failed<Daemon>(call, good), "daemon: failed to " + text);
    for (char const* const call : {"pthread_sigmask 0 EPERM", "sigaction 2 EPERM", "sigaction 3 EPERM", "timer_create 0 EPERM"})
        EXPECT_EQ(Failed<Tool>(call), "C tool: system failed [0xcffd****].\n") << call;
}

TEST(MainSt, RaisesAnAlarm) {
    InChild([] {
        Tool tool;
        ASSERT_TRUE(tool.Initialized());
        EXPECT_EQ(Blocked(), "HUP INT USR2 PIPE CHLD ");
        kill(getpid(), SIGPIPE), kill(getpid(), SIGALRM); // not ours: no address comes with it
        siginfo_t other = {};                             // or that of another timer
        other.si_code = SI_TIMER, other.si_value.sival_int = 8;
        EXPECT_EQ(syscall(SYS_rt_sigqueueinfo, getpid(), SIGALRM, &other), 0);
        tool.SetAlarm(30L), tool.CancelAlarm();
        EXPECT_FALSE((usleep(60000), tool.IsAlarmed()));
        for (Time::Span const& delay : {Time::Span(-1), Time::Span(5)}) {
            tool.SetAlarm(delay);
            EXPECT_TRUE(Await([&] { return tool.IsAlarmed(); }));
            tool.ClearAlarm();
        }
        tool.MaskAlarm(), tool.SetAlarm(0L);
        sigset_t pending;
        EXPECT_TRUE(Await([&] { return sigpending(&pending) == 0 && sigismember(&pending, SIGALRM) == 1; }) && !tool.IsAlarmed());
        EXPECT_TRUE((tool.UnmaskAlarm(), tool.IsAlarmed()));
    });
}

// What a handler logs goes to the console here: it must not meet the heap, which a LogCapture uses.
template<class FrameT>
void ExpectLogged(int number, std::string const& text) {
    std::string const output = InChild([number] {
        Log::ConsoleMode();
        FrameT frame;
        Calls calls; // the signal comes while the lock of the log is held
        calls.Script(SysCall::write, {Calls::Do([number] { EXPECT_EQ((errno = ERANGE, raise(number), errno), ERANGE); })});
        Log(Log::INFO, "T", nullptr, "interrupted");
        EXPECT_FALSE(Thread::SelfInterrupted() || frame.StopRequested());
        EXPECT_TRUE((frame.SetStop(), frame.StopRequested()));
    });
    EXPECT_NE(output.find(" zeb: Thread: " + text), std::string::npos) << output;
}

TEST(Main, HandlersLogWithoutHarm) {
    ExpectLogged<Daemon>(SIGUSR1, "interrupted by a signal.\n");
    ExpectLogged<Tool>(SIGUSR1, "interrupted by a signal.\n");
    ExpectLogged<Tool>(SIGTERM, "\"Main\": system failed [0x"); // a thread cannot interrupt itself
}

} // namespace
