#include "tests/process/Kids.h"
#include "zeb/runtime/Environment.h"

namespace {

using ProcessTest = KidTest;
using CodesT = std::vector<ReturnT>;

TEST_F(ProcessTest, TheOwnerIsToldHowItEnded) {
    std::string const group = "W killing all processes in \"kid\" group...\n", killed = "W \"kid\" has been killed.\n";
    constexpr auto SAME = Process::SESSION_INHERIT;
    struct {
        char const* script; // one that talks is stopped then
        KidOptions with;
        std::string end, lines;
    } const rows[] = {
        {"exit 0", {}, "exit 0 signal -1", ""},
        {"exit 255", {.session = SAME}, "exit 255 signal -1", ""},
        {"kill -6 $$", {}, "exit -1 signal 6", ""},
        {"sleep 99 & kill -15 $$", {}, "exit -1 signal 15", group},
        {"sleep 99 & echo >&0; wait", {}, "exit -1 signal 15", group},
        {"trap 'exit 9' INT; echo >&0; while :; do sleep .01; done", {.stop = Process::STOP_SIGNAL_INT}, "exit 9 signal -1", ""},
        {"sleep 99 & echo >&0; wait", {.stop = Process::STOP_SIGNAL_KILL}, "exit -1 signal 9", ""},
        {"echo >&0; exec sleep 99", {.stop = Process::STOP_SIGNAL_KILL, .session = SAME}, "exit -1 signal 9", ""},
        {"trap '' TERM; sleep 99 & echo >&0; wait", {.killMs = 50}, "exit -1 signal 9", killed},
        {"trap '' TERM; echo >&0; exec sleep 99", {.killMs = 50, .session = SAME}, "exit -1 signal 9", killed},
        {"echo >&0; exec sleep 99", {.stop = Process::STOP_SIGNAL_NONE, .killMs = 0}, "exit -1 signal 9", killed},
    };
    for (auto [script, with, end, lines] : rows) {
        with.talks = true;
        Kid kid(script, with, [](Kid& self) { EXPECT_EQ(ReadAll(self.io), "") << "somebody of the group is left"; });
        for (int run = 1; run <= 2; ++run, kid.Close()) {
            ASSERT_EQ(kid.Start(), Process::STARTED);
            EXPECT_TRUE(!strstr(script, ">&0") || (kid.Number() == 0 && kid.process->Stop() && kid.process->Stop()));
            EXPECT_EQ(kid.Await(run), end) << script;
        }
        EXPECT_EQ(Said(), lines + lines) << script;
    }
}

TEST_F(ProcessTest, AnExitLeavesTheGroupAlone) {
    Kid kid("sleep 99 & echo $! >&0; exit 3", {.talks = true});
    EXPECT_EQ(kid.Run(), "exit 3 signal -1");
    int const orphan = kid.Number();
    ASSERT_GT(orphan, 0);
    EXPECT_EQ(kill(orphan, SIGKILL), 0);
    EXPECT_EQ(kid.Output(), "");
    EXPECT_TRUE(AwaitOrphan(orphan));
}

TEST_F(ProcessTest, AStopAndItsEndAreToldWhenSomethingElseHappens) {
    Kid kid("echo $$ >&0; kill -STOP $$; read line; exit $line", {.talks = true}), wake("exit 0", {}, {}, "wake");
    auto const isStopped = [](int pid) {
        return Await([&] { return ReadWholeFile("/proc/" + std::to_string(pid) + "/stat").find(") T ") != std::string::npos; });
    };
    auto const isTold = [&](char const* what) { return log_.Await("W Process: process \"kid\" " + std::string(what)); };
    ASSERT_EQ(kid.Start(), Process::STARTED);
    EXPECT_TRUE(isStopped(kid.Number()));
    EXPECT_EQ(wake.Run(), "exit 0 signal -1");
    EXPECT_TRUE(isTold("stopped."));
    EXPECT_EQ(kid.process->Signal(SIGCONT, Process::SCOPE_GROUP), Process::SIGNAL_SENT);
    EXPECT_EQ(wake.Run(), "exit 0 signal -1");
    EXPECT_TRUE(isTold("continued."));
    EXPECT_EQ(write(kid.io, "5\n", 2), 2);
    EXPECT_EQ(kid.Await(), "exit 5 signal -1");
    int const stranger = fork();
    if (stranger == 0) raise(SIGSTOP), _exit(0);
    EXPECT_TRUE(isStopped(stranger) && wake.Run() == wake.Run());
    EXPECT_EQ(log_.Lines().size(), 2u);
    kill(stranger, SIGKILL);
    EXPECT_TRUE(AwaitOrphan(stranger));
}

TEST_F(ProcessTest, WithinTheCallbackProcessesStayAsTheyAre) {
    Kid running("exec sleep 99", {}, {}, "running"), idle("exit 0", {}, {}, "idle");
    auto doomed = std::make_unique<Kid>("exec sleep 99", KidOptions(), Kid::BodyT(), "doomed");
    ASSERT_TRUE(running.Start() == Process::STARTED && doomed->Start() == Process::STARTED);
    Kid kid("exit 1", {}, [&](Kid& self) {
        EXPECT_EQ((CodesT{self.Start(), idle.Start(), running.Start(), self.process->Signal(0, Process::SCOPE_PROCESS),
                          doomed->process->Signal(SIGKILL, Process::SCOPE_GROUP)}),
                  (CodesT{Process::START_IN_TERMINATION, Process::START_IN_EXECUTION_THREAD, Process::ALREADY_STARTED,
                          Process::SIGNAL_STOPPED, Process::SIGNAL_SENT}));
        EXPECT_TRUE(self.process->PushArgument("x").Succeeded());
        EXPECT_TRUE(!self.process->Stop() && running.process->Stop() && idle.process->Stop());
        EXPECT_FALSE(Kid("", {}, {}, "new").process->Initialized());
        doomed.reset();
    });
    EXPECT_EQ(kid.Run(), "exit 1 signal -1");
    EXPECT_TRUE(log_.Await("unknown PID"));
    EXPECT_EQ(Said(), "C \"kid\": unable to start within a termination context.\n"
                      "C unable to start \"idle\" in an execution thread context.\n"
                      "E \"running\": unable to start, a process already started.\n"
                      "E failed to send signal 0 to \"kid\": process stopped.\n"
                      "C \"kid\": unable to stop within a termination context.\n"
                      "C unable to stop \"running\" process in an execution thread context.\n"
                      "C new \"new\" can not be registered in an execution thread context.\nE \"new\": unable to register.\n"
                      "E unable to create and initialize \"new\" process.\n"
                      "C \"doomed\" process can not be unregistered in an execution thread context.\n");
    EXPECT_TRUE(running.process->Stop());
    EXPECT_EQ(running.Await(), "exit -1 signal 15");
}

TEST_F(ProcessTest, AnOwnerThatDestroysItsProcessInTheCallbackIsSurvived) {
    EXPECT_EQ(Kid("exit 1", {}, [](Kid& self) { delete self.process.release(); }).Run(), "exit 1 signal -1");
    EXPECT_EQ(Kid("exit 2").Run(), "exit 2 signal -1");
    EXPECT_EQ(Said(), "C \"kid\" process can not be unregistered in an execution thread context.\n");
}

TEST_F(ProcessTest, StartsAwaitStopsAndCallbacks) {
    std::binary_semaphore entered(0), leave(0);
    Kid kid("exec sleep 99", {.stop = Process::STOP_SIGNAL_NONE, .killMs = 30},
            [&](Kid&) { entered.release(), leave.acquire(); });
    ASSERT_EQ(kid.Start(), Process::STARTED);
    EXPECT_EQ(kid.Start(), Process::ALREADY_STARTED);
    EXPECT_TRUE(kid.process->Stop());
    std::atomic<int> started = 0;
    std::thread first([&] { started += kid.Start() == Process::STARTED; });
    entered.acquire();
    std::thread second([&] { started += kid.Start() == Process::ALREADY_STARTED; });
    Clock::RealPause(20);
    EXPECT_EQ(started, 0);
    leave.release();
    first.join(), second.join();
    EXPECT_EQ(started, 2);
    EXPECT_TRUE(kid.process->Stop());
    leave.release();
    EXPECT_EQ(kid.Await(2), "exit -1 signal 9");
}

TEST_F(ProcessTest, AProcessThatIsDestroyedGoesOnByItself) {
    Kid forgotten("read line; exit 0", {.talks = true}, {}, "forgotten");
    ASSERT_EQ(forgotten.Start(), Process::STARTED);
    std::binary_semaphore entered(0), leave(0);
    auto kid = std::make_unique<Kid>("exit 0", KidOptions(), [&](Kid&) { entered.release(), leave.acquire(); });
    forgotten.process.reset();
    EXPECT_EQ(Said(), "C \"forgotten\" was not terminated.\n");
    forgotten.Close();
    EXPECT_TRUE(log_.Await("unknown PID"));
    ASSERT_EQ(kid->Start(), Process::STARTED);
    entered.acquire();
    std::atomic<bool> destroyed = false;
    std::thread destroyer([&] { kid.reset(), destroyed = true; });
    Clock::RealPause(20);
    EXPECT_FALSE(destroyed);
    leave.release();
    destroyer.join();
}

TEST_F(ProcessTest, RefusedRequestsHaveTheirCodesAndWords) {
    Kid kid("exec sleep 99", {.talks = true}), failing("", {.executable = "/etc/passwd"}, {}, "failing");
    EXPECT_TRUE(failing.Start().Failed() && failing.process->Signal(9, Process::SCOPE_GROUP).Failed() && failing.process->Stop());
    Posix::Exec_& exec = *Posix::Exec_::Instance();
    {
        Calls calls;
        calls.ScriptFailure("pthread_kill 0 EINVAL");
        EXPECT_EQ(kid.Start(), Process::NOT_NOTIFIED);
    }
    auto const signal = [&](int number, int scope) { return kid.process->Signal(number, static_cast<Process::ScopeT>(scope)); };
    EXPECT_EQ((CodesT{kid.Start(), signal(999, 0), signal(999, 1), signal(999, 2), signal(SIGTERM, 0)}),
              (CodesT{Process::STARTED, Process::SIGNAL_FAILED, Process::GROUP_SIGNAL_FAILED, Process::SIGNAL_SENT,
                      Process::SIGNAL_SENT}));
    EXPECT_EQ(kid.Await(), "exit -1 signal 15");
    EXPECT_EQ((CodesT{signal(15, 1), kid.Start()}), (CodesT{Process::SIGNAL_STOPPED, Process::STILL_OPEN}));
    kid.Close();
    ProcessInstance_ stray(*kid.process, kid, {}), own(*kid.process, kid, {});
    (void)stray.name.Assign("stray"), (void)own.Register("own", "/bin/true", "");
    EXPECT_EQ((CodesT{stray.Start(), exec.Signal(stray, 9, Process::SCOPE_GROUP)}),
              (CodesT{Process::START_UNREGISTERED, Process::SIGNAL_UNREGISTERED}));
    EXPECT_FALSE(exec.Stop(stray) || exec.Kill(stray) || exec.Register(own));
    exec.Unregister(stray), stray.OnTimer_();
    EXPECT_EQ((CodesT{exec.BeginStart(own), exec.BeginStart(own), exec.AwaitStart(own)}),
              (CodesT{Process::STARTED, Process::BUSY, Process::STARTED}));
    exec.EndStart();
    EXPECT_EQ(kid.Await(2), "exit 0 signal -1");
    EXPECT_TRUE(stray.Stop() && exec.Stop(own) && exec.Kill(own)); // nothing is there to be stopped
    EXPECT_EQ(Said(), "E \"/etc/passwd\" is not an executable.\nE unable to create and initialize \"failing\" process.\n"
                      "C system failed [0xcffd****].\nC system failed [0xcffd****].\n"
                      "C unable to notify an execution thread to start \"kid\" process.\n"
                      "E unable to send 999 signal to \"kid\" process: invalid argument.\n"
                      "E unable to send 999 signal to \"kid\" process group: invalid argument.\n"
                      "E failed to send signal 15 to \"kid\": process stopped.\n"
                      "C \"kid\": unable to start, I/O descriptors are still opened.\n"
                      "C unable to start unregistered \"stray\" process.\n"
                      "C unable to send a signal to an unregistered \"stray\" process.\n"
                      "C unable to stop an unregistered \"stray\" process.\n"
                      "C unable to kill an unregistered \"stray\" process.\nC \"own\" already registered.\n"
                      "C \"stray\" was not registered.\nC unable to kill an unregistered \"stray\" process.\n"
                      "C unable to start \"own\" busy process.\n");
}

TEST_F(ProcessTest, ArgumentsAndVariablesAreThoseOfTheNextStart) {
    Kid kid("set | grep ^KID_; echo $*", {.talks = true});
    Process& process = *kid.process;
    auto const run = [&] { return kid.Run() == "exit 0 signal -1" ? kid.Output() : kid.end; };
    char const* const list[] = {"KID_A", "1", "KID_B", "2", nullptr};
    char const *const odd[] = {"KID_C", "3", "KID_D", nullptr}, *const bad[] = {"KID_C", "3", "KID=", "4", nullptr};
    char const* const words[] = {"-c", "set | grep ^KID_; ionice", nullptr};
    StringMap map, badMap;
    StringVector arguments;
    EXPECT_TRUE(map.Set("KID_M", "5") && badMap.Set("", "6") && arguments.Assign(words));
    EXPECT_EQ((CodesT{process.SetEnvironment(list), process.SetEnvironment(odd), process.SetEnvironment(bad),
                      process.SetEnvironment(badMap), process.SetEnvironment("a b", "7")}),
              (CodesT{Process::ENVIRONMENT_SET, Process::NO_VALUE, Process::BAD_VARIABLE, Process::BAD_VARIABLE,
                      Process::BAD_VARIABLE}));
    EXPECT_TRUE(process.PushArgument("zero").Succeeded() && process.PushArgument("one").Succeeded());
    EXPECT_EQ(run(), "KID_A='1'\nKID_B='2'\none\n");
    EXPECT_EQ(
        (CodesT{process.UnsetEnvironment("KID_A"), process.UnsetEnvironment("KID_A"), process.SetEnvironment("KID_C", "8")}),
        (CodesT{Process::ENVIRONMENT_UNSET, Process::NOT_SET, Process::ENVIRONMENT_SET}));
    EXPECT_EQ(run(), "KID_B='2'\nKID_C='8'\none\n");
    EXPECT_EQ(process.SetEnvironment(map), Process::ENVIRONMENT_SET);
    EXPECT_TRUE(process.SetArguments(arguments).Succeeded());
    process.SetIoPriority(Process::IO_PRIO_IDLE);
    EXPECT_EQ(run(), "KID_M='5'\nidle\n");
    process.ClearEnvironment();
    EXPECT_EQ(run(), "idle\n");
    std::string const refused = "E \"kid\": bad environment variable: ";
    EXPECT_EQ(Said(), "C \"KID_D\" environment variable has no value.\n" + refused + "\"KID=\".\n" + refused + "\"\".\n" +
                          refused + "\"a b\".\n");
    process.ClearArguments();
    int const next = kid.ends + 1;
    EXPECT_EQ(kid.Start(), Process::STARTED);
    kid.Close(); // the input of a shell without a script ends
    EXPECT_EQ(kid.Await(next), "exit 0 signal -1");
}

// Memory, the log and the environment are used meanwhile: a child that waited for one of their locks would hang.
TEST_F(ProcessTest, HundredsOfChildrenOfEightThreadsAreAllTold) {
    std::atomic<bool> over = false;
    std::atomic<int> right = 0;
    std::vector<std::thread> threads, noise;
    Kid first("exit 0"); // keeps the execution thread
    std::function<void()> const sources[] = {[] { free(malloc(100000)); }, [] { Log(Log::INFO, "noise", nullptr, "noise"); },
                                             [] {
                                                 StringMap map;
                                                 (void)Environment::GetAll(map);
                                             }};
    for (auto const& source : sources)
        noise.emplace_back([&] {
            for (int i = 0; !over; ++i) source(), i % 100 == 0 ? Clock::RealPause(2) : (void)0;
        });
    for (int i = 0; i < 8; ++i)
        threads.emplace_back([&right, i] {
            Kid kid("exit " + std::to_string(i)), other("kill -$((1 + $0)) $$");
            (void)other.process->PushArgument(std::to_string(i).c_str());
            for (int run = 1; run <= 13; ++run) {
                bool const started = kid.Start() == Process::STARTED && other.Start() == Process::STARTED;
                right += started && kid.Await(run) == "exit " + std::to_string(i) + " signal -1";
                right += other.Await(run) == "exit -1 signal " + std::to_string(i + 1);
            }
        });
    for (std::thread& thread : threads) thread.join();
    over = true;
    for (std::thread& thread : noise) thread.join();
    EXPECT_EQ(right, 8 * 13 * 2);
}

TEST_F(ProcessTest, WhatCannotBeMadeIsNotInitialized) {
    std::string const last = "E unable to create and initialize \"kid\" process.\n",
                      object = "C unable to create an execution object.\n",
                      thread = "C unable to initialize and start the execution thread.\n" + object,
                      score = "E \"kid\": invalid process OOM score: \"", range = "\" (valid range is -999...999).\n";
    struct {
        KidOptions options;
        std::string call, lines;
    } const rows[] = {
        {{.oomScore = -1000}, "", score + "-1000" + range},
        {{.oomScore = 1000}, "", score + "1000" + range},
        {{.executable = " "}, "", ""},
        {{.executable = "/nonexistent"}, "", "E \"/nonexistent\" executable not found.\n"},
        {{}, "sigaction 0 EINVAL", "C unable to initialize a signal handler: invalid argument.\n" + object},
        {{}, "pthread_create 0 EAGAIN", "C \"kid\": unable to initialize a timer.\n"},
        {{}, "pthread_create 1 EAGAIN", thread},
        {{}, "pthread_sigmask 0 EINVAL", "C unable to setup a signal mask: invalid argument.\n" + thread},
    };
    for (auto const& [options, call, lines] : rows) {
        Calls calls(Calls::ScopeT::PROCESS);
        calls.ScriptFailure(call);
        EXPECT_FALSE(Kid("", options).process->Initialized()) << lines;
        EXPECT_EQ(Said(), lines + last);
    }
    for (int const oomScore : {-999, 999}) EXPECT_TRUE(Kid("", {.oomScore = oomScore}).process->Initialized());
    struct sigaction action;
    sigaction(SIGCHLD, nullptr, &action);
    EXPECT_EQ(action.sa_handler, SIG_DFL);
}

TEST_F(ProcessTest, MemoryThatEndsFailsTheOperationAndChangesNothing) {
    ForEveryAllocation([&](Heap& heap) {
        log_.Clear();
        heap.Arm();
        Kid kid("", {.executable = "/bin/true"});
        heap.Disarm();
        EXPECT_EQ(kid.process->Initialized(), !heap.Fired());
        EXPECT_EQ(log_.Has("unable to create and initialize \"kid\""), heap.Fired());
    });
    Kid kid("set | grep ^KID_; echo $0", {.talks = true});
    Process& process = *kid.process;
    EXPECT_TRUE(process.PushArgument("zero").Succeeded() && process.SetEnvironment("KID_A", "1").Succeeded());
    char const *const arguments[] = {"-c", "exit 1", "other", nullptr}, *const variables[] = {"KID_A", "2", nullptr};
    StringVector vector;
    StringMap map;
    EXPECT_TRUE(vector.Assign(arguments) && map.Set("KID_B", "3"));
    {
        Heap heap(1, Heap::ModeT::FOREVER);
        heap.Arm();
        CodesT const codes = {process.SetArguments(arguments),
                              process.SetArguments(vector),
                              process.PushArgument("more"),
                              process.SetEnvironment(variables),
                              process.SetEnvironment(map),
                              process.SetEnvironment("KID_C", "4"),
                              kid.Start()};
        heap.Disarm();
        for (ReturnT const& code : codes) EXPECT_TRUE(code.IsOom()) << &code - codes.data();
    }
    EXPECT_EQ(kid.Run(), "exit 0 signal -1");
    EXPECT_EQ(kid.Output(), "KID_A='1'\nzero\n");
}

TEST_F(ProcessTest, TheExecutionThreadGetsOverFailingCalls) {
    Clock clock;
    Kid kid("sleep 99 & kill -9 $$");
    Calls calls(Calls::ScopeT::PROCESS);
    calls.Script(SysCall::killpg, {Calls::Fail(EPERM), Calls::Fail(0), Calls::Real(), Calls::Fail(EPERM), Calls::Fail(0)});
    ASSERT_EQ(kid.Start(), Process::STARTED);
    EXPECT_TRUE(Await([&] { return clock.Advance(50), kid.ends == 1; }));
    std::string const tail = " child processes of \"kid\": operation not permitted, retrying...\n";
    EXPECT_EQ(Said(), "E failed to kill" + tail + "W killing all processes in \"kid\" group...\n" + "E failed to wait" + tail);
    calls.Script(SysCall::sigtimedwait, {Calls::Fail(EINVAL), Calls::Fail(EINTR)});
    Kid other("exit 0");
    EXPECT_EQ(other.Start(), Process::STARTED);
    EXPECT_TRUE(Await([&] { return clock.Advance(200), other.ends == 1 && calls.Left(SysCall::sigtimedwait) == 0; }));
    EXPECT_EQ(Said(), "C signal wait error: invalid argument.\n");
}

TEST_F(ProcessTest, ExecuteRunsToTheEndWhereThereIsNoProcess) {
    StringVector arguments;
    EXPECT_TRUE(arguments.PushBack("-c") && arguments.PushBack(""));
    StringMap environment;
    EXPECT_TRUE(environment.Set("KID", "7"));
    auto const execute = [&](char const* script, char const* path = "/bin/sh") {
        EXPECT_TRUE(arguments[1].Assign(script));
        return Process::Execute("kid", path, arguments, environment);
    };
    EXPECT_EQ(execute("exit $KID"), 7);
    EXPECT_EQ(execute("kill -9 $$"), 1);
    EXPECT_EQ(execute("", "/nonexistent"), 1);
    {
        Calls calls;
        calls.Script(SysCall::waitpid, {Calls::Fail(EINTR), Calls::Real(), Calls::Fail(ECHILD)});
        EXPECT_EQ(execute("exit 6"), 6);
        EXPECT_EQ(execute("exit 0"), 1);
        EXPECT_GT(wait(nullptr), 0);
    }
    Kid const kid("");
    EXPECT_EQ(execute("exit 7"), 1);
    EXPECT_EQ(Said(), "C \"kid\": unable to start (unable to execute a process: no such file or directory).\n"
                      "C \"kid\": no child processes.\n"
                      "C \"kid\": unable to execute in multithread environment.\n");
}

} // namespace
