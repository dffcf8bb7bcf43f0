#include "tests/process/Kids.h"
#include "zeb/runtime/Environment.h"

namespace {

using ProcessTest = KidTest;

TEST_F(ProcessTest, TheOwnerIsToldHowItEnded) {
    std::string const group = "W Process: killing all processes in \"kid\" group...\n";
    struct {
        char const* script;
        Process::SessionT session;
        Process::StopSignalT stop;
        long killMs; // -1 for a process that is not stopped
        std::string end, lines;
    } const rows[] = {
        {"exit 0", Process::SESSION_NEW, Process::STOP_SIGNAL_TERM, -1, "exit 0 signal -1", ""},
        {"exit 255", Process::SESSION_INHERIT, Process::STOP_SIGNAL_TERM, -1, "exit 255 signal -1", ""},
        {"kill -6 $$", Process::SESSION_NEW, Process::STOP_SIGNAL_TERM, -1, "exit -1 signal 6", ""},
        {"sleep 99 & kill -15 $$", Process::SESSION_NEW, Process::STOP_SIGNAL_TERM, -1, "exit -1 signal 15", group},
        {"sleep 99 & echo >&0; wait", Process::SESSION_NEW, Process::STOP_SIGNAL_TERM, 20000, "exit -1 signal 15", group},
        {"trap 'exit 9' INT; echo >&0; while :; do sleep .01; done", Process::SESSION_NEW, Process::STOP_SIGNAL_INT, 20000,
         "exit 9 signal -1", ""},
        {"sleep 99 & echo >&0; wait", Process::SESSION_NEW, Process::STOP_SIGNAL_KILL, 20000, "exit -1 signal 9", ""},
        {"echo >&0; exec sleep 99", Process::SESSION_INHERIT, Process::STOP_SIGNAL_KILL, 20000, "exit -1 signal 9", ""},
        {"trap '' TERM; sleep 99 & echo >&0; wait", Process::SESSION_NEW, Process::STOP_SIGNAL_TERM, 50, "exit -1 signal 9",
         "W Process: \"kid\" has been killed.\n"},
        {"trap '' TERM; echo >&0; exec sleep 99", Process::SESSION_INHERIT, Process::STOP_SIGNAL_TERM, 50, "exit -1 signal 9",
         "W Process: \"kid\" has been killed.\n"},
        {"echo >&0; exec sleep 99", Process::SESSION_NEW, Process::STOP_SIGNAL_NONE, 0, "exit -1 signal 9",
         "W Process: \"kid\" has been killed.\n"},
    };
    for (auto const& row : rows) {
        int io = -1;
        Kid kid(row.script,
                {.io = &io, .stop = row.stop, .killMs = static_cast<unsigned long>(row.killMs), .session = row.session},
                [&](Kid&) { EXPECT_EQ(ReadAll(io), "") << "somebody of the group is left"; });
        for (int run = 1; run <= 2; ++run) {
            char byte;
            ASSERT_EQ(kid.Start(), Process::STARTED);
            bool const stopped = row.killMs < 0 || (read(io, &byte, 1) == 1 && kid.process->Stop() && kid.process->Stop());
            EXPECT_TRUE(stopped);
            EXPECT_EQ(kid.Await(run), row.end) << row.script;
            close(io), io = -1;
        }
        EXPECT_EQ(Join(log_.Take()), row.lines + row.lines) << row.script;
    }
}

TEST_F(ProcessTest, AnExitLeavesTheGroupAlone) {
    int io = -1;
    Kid kid("sleep 99 & echo $! >&0; exit 3", {.io = &io});
    EXPECT_EQ(kid.Run(), "exit 3 signal -1");
    char text[16] = {};
    EXPECT_GT(read(io, text, sizeof text), 0);
    EXPECT_EQ(kill(atoi(text), SIGKILL), 0);
    EXPECT_EQ(ReadAll(io), "");
    close(io);
    EXPECT_TRUE(log_.Await("C Process: a process with an unknown PID [" + std::to_string(atoi(text)) + "] terminated."));
}

TEST_F(ProcessTest, AStopAndItsEndAreToldWhenSomethingElseHappens) {
    int io = -1;
    char number[16] = {};
    Kid kid("echo $$ >&0; kill -STOP $$; read line; exit $line", {.io = &io}), wake("exit 0", {}, {}, "wake");
    auto const isStopped = [](int pid) {
        return Await([&] { return ReadWholeFile("/proc/" + std::to_string(pid) + "/stat").find(") T ") != std::string::npos; });
    };
    ASSERT_EQ(kid.Start(), Process::STARTED);
    EXPECT_TRUE(read(io, number, sizeof number) > 0 && isStopped(atoi(number)));
    EXPECT_EQ(wake.Run(), "exit 0 signal -1");
    EXPECT_TRUE(log_.Await("W Process: process \"kid\" stopped."));
    EXPECT_EQ(kid.process->Signal(SIGCONT, Process::SCOPE_GROUP), Process::SIGNAL_SENT);
    EXPECT_EQ(wake.Run(), "exit 0 signal -1");
    EXPECT_TRUE(log_.Await("W Process: process \"kid\" continued."));
    EXPECT_EQ(write(io, "5\n", 2), 2);
    EXPECT_EQ(kid.Await(), "exit 5 signal -1");
    close(io);
    int const stranger = fork();
    if (stranger == 0) raise(SIGSTOP), _exit(0);
    EXPECT_TRUE(isStopped(stranger) && wake.Run() == wake.Run());
    EXPECT_EQ(log_.Lines().size(), 2u);
    kill(stranger, SIGKILL);
    EXPECT_TRUE(log_.Await("C Process: a process with an unknown PID [" + std::to_string(stranger) + "] terminated."));
}

TEST_F(ProcessTest, WithinTheCallbackProcessesStayAsTheyAre) {
    std::string results;
    Kid running("exec sleep 99", {}, {}, "running"), idle("exit 0", {}, {}, "idle");
    auto doomed = std::make_unique<Kid>("exec sleep 99", KidOptions(), Kid::BodyT(), "doomed");
    ASSERT_TRUE(running.Start() == Process::STARTED && doomed->Start() == Process::STARTED);
    Kid kid("exit 1", {}, [&](Kid& self) {
        EXPECT_EQ(self.Start(), Process::START_IN_TERMINATION);
        EXPECT_EQ(idle.Start(), Process::START_IN_EXECUTION_THREAD);
        EXPECT_EQ(running.Start(), Process::ALREADY_STARTED);
        EXPECT_TRUE(!self.process->Stop() && running.process->Stop() && idle.process->Stop());
        EXPECT_FALSE(Kid("", {}, {}, "new").process->Initialized());
        EXPECT_EQ(doomed->process->Signal(SIGKILL, Process::SCOPE_GROUP), Process::SIGNAL_SENT);
        EXPECT_EQ(self.process->Signal(0, Process::SCOPE_PROCESS), Process::SIGNAL_STOPPED);
        doomed.reset();
        EXPECT_TRUE(self.process->PushArgument("x").Succeeded());
    });
    EXPECT_EQ(kid.Run(), "exit 1 signal -1");
    EXPECT_EQ(Join(log_.Lines()), "C Process: \"kid\": unable to start within a termination context.\n"
                                  "C Process: unable to start \"idle\" in an execution thread context.\n"
                                  "E Process: \"running\": unable to start, a process already started.\n"
                                  "C Process: \"kid\": unable to stop within a termination context.\n"
                                  "C Process: unable to stop \"running\" process in an execution thread context.\n"
                                  "C Process: new \"new\" can not be registered in an execution thread context.\n"
                                  "E Process: \"new\": unable to register.\n"
                                  "E Process: unable to create and initialize \"new\" process.\n"
                                  "E Process: failed to send signal 0 to \"kid\": process stopped.\n"
                                  "C Process: \"doomed\" process can not be unregistered in an execution thread context.\n");
    EXPECT_TRUE(log_.Await("unknown PID"));
    EXPECT_TRUE(running.process->Stop());
    EXPECT_EQ(running.Await(), "exit -1 signal 15");
}

TEST_F(ProcessTest, AnOwnerThatDestroysItsProcessInTheCallbackIsSurvived) {
    {
        Kid kid("exit 1", {}, [](Kid& self) { delete self.process.release(); });
        ASSERT_EQ(kid.Start(), Process::STARTED);
        EXPECT_TRUE(Await([&] { return kid.ends == 1; }));
    }
    Kid next("exit 2");
    EXPECT_EQ(next.Run(), "exit 2 signal -1");
    EXPECT_EQ(Join(log_.Take()), "C Process: \"kid\" process can not be unregistered in an execution thread context.\n");
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
    int io = -1;
    {
        Kid kid("read line; exit 0", {.io = &io}), other("exit 0");
        ASSERT_EQ(kid.Start(), Process::STARTED);
        kid.process.reset();
        EXPECT_EQ(Join(log_.Take()), "C Process: \"kid\" was not terminated.\n");
        close(io);
        EXPECT_TRUE(log_.Await("unknown PID"));
        EXPECT_EQ(other.Run(), "exit 0 signal -1");
    }
    std::binary_semaphore entered(0), leave(0);
    auto kid = std::make_unique<Kid>("exit 0", KidOptions(), [&](Kid&) { entered.release(), leave.acquire(); });
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
    int io = -1;
    Kid kid("exec sleep 99", {.io = &io}), failing("", {.executable = "/etc/passwd"}, {}, "failing");
    EXPECT_TRUE(failing.Start().Failed() && failing.process->Signal(9, Process::SCOPE_GROUP).Failed() && failing.process->Stop());
    Posix::Exec_& exec = *Posix::Exec_::Instance();
    {
        Calls calls;
        calls.Script(SysCall::pthread_kill, {Calls::Fail(EINVAL)});
        EXPECT_EQ(kid.Start(), Process::NOT_NOTIFIED);
    }
    EXPECT_EQ(kid.Start(), Process::STARTED);
    EXPECT_EQ(kid.process->Signal(999, Process::SCOPE_PROCESS), Process::SIGNAL_FAILED);
    EXPECT_EQ(kid.process->Signal(999, Process::SCOPE_GROUP), Process::GROUP_SIGNAL_FAILED);
    EXPECT_EQ(kid.process->Signal(999, static_cast<Process::ScopeT>(2)), Process::SIGNAL_SENT);
    EXPECT_EQ(kid.process->Signal(SIGTERM, Process::SCOPE_PROCESS), Process::SIGNAL_SENT);
    EXPECT_EQ(kid.Await(), "exit -1 signal 15");
    EXPECT_EQ(kid.process->Signal(15, Process::SCOPE_GROUP), Process::SIGNAL_STOPPED);
    EXPECT_EQ(kid.Start(), Process::STILL_OPEN);
    close(io), io = -1;
    ProcessInstance_ stray(*kid.process, kid, {}), own(*kid.process, kid, {});
    (void)stray.name.Assign("stray"), (void)own.Register("own", "/bin/true", "");
    EXPECT_EQ(stray.Start(), Process::START_UNREGISTERED);
    EXPECT_EQ(exec.Signal(stray, 9, Process::SCOPE_GROUP), Process::SIGNAL_UNREGISTERED);
    EXPECT_FALSE(exec.Stop(stray) || exec.Kill(stray) || exec.Register(own));
    exec.Unregister(stray), stray.OnTimer_();
    EXPECT_TRUE(exec.BeginStart(own) == Process::STARTED && exec.BeginStart(own) == Process::BUSY);
    EXPECT_EQ(exec.AwaitStart(own), Process::STARTED);
    exec.EndStart();
    EXPECT_EQ(kid.Await(2), "exit 0 signal -1");
    EXPECT_TRUE(stray.Stop() && exec.Stop(own) && exec.Kill(own)); // nothing is there to be stopped
    EXPECT_EQ(Join(log_.Take()), "E Process: \"/etc/passwd\" is not an executable.\n"
                                 "E Process: unable to create and initialize \"failing\" process.\n"
                                 "C Process: system failed [0xcffd****].\nC Process: system failed [0xcffd****].\n"
                                 "C Process: unable to notify an execution thread to start \"kid\" process.\n"
                                 "E Process: unable to send 999 signal to \"kid\" process: invalid argument.\n"
                                 "E Process: unable to send 999 signal to \"kid\" process group: invalid argument.\n"
                                 "E Process: failed to send signal 15 to \"kid\": process stopped.\n"
                                 "C Process: \"kid\": unable to start, I/O descriptors are still opened.\n"
                                 "C Process: unable to start unregistered \"stray\" process.\n"
                                 "C Process: unable to send a signal to an unregistered \"stray\" process.\n"
                                 "C Process: unable to stop an unregistered \"stray\" process.\n"
                                 "C Process: unable to kill an unregistered \"stray\" process.\n"
                                 "C Process: \"own\" already registered.\n"
                                 "C Process: \"stray\" was not registered.\n"
                                 "C Process: unable to kill an unregistered \"stray\" process.\n"
                                 "C Process: unable to start \"own\" busy process.\n");
}

TEST_F(ProcessTest, ArgumentsAndVariablesAreThoseOfTheNextStart) {
    int io = -1;
    Kid kid("set | grep ^KID_; echo $*", {.io = &io});
    Process& process = *kid.process;
    auto const run = [&] {
        EXPECT_EQ(kid.Run(), "exit 0 signal -1");
        std::string const output = ReadAll(io);
        return close(io), io = -1, output;
    };
    char const* const list[] = {"KID_A", "1", "KID_B", "2", nullptr};
    char const* const odd[] = {"KID_C", "3", "KID_D", nullptr};
    char const* const bad[] = {"KID_C", "3", "KID=", "4", nullptr};
    StringMap map, badMap;
    EXPECT_TRUE(map.Set("KID_M", "5") && badMap.Set("", "6"));
    EXPECT_EQ(process.SetEnvironment(list), Process::ENVIRONMENT_SET);
    EXPECT_EQ(process.SetEnvironment(odd), Process::NO_VALUE);
    EXPECT_EQ(process.SetEnvironment(bad), Process::BAD_VARIABLE);
    EXPECT_EQ(process.SetEnvironment(badMap), Process::BAD_VARIABLE);
    EXPECT_EQ(process.SetEnvironment("a b", "7"), Process::BAD_VARIABLE);
    EXPECT_TRUE(process.PushArgument("zero").Succeeded() && process.PushArgument("one").Succeeded());
    EXPECT_EQ(run(), "KID_A='1'\nKID_B='2'\none\n");
    EXPECT_EQ(process.UnsetEnvironment("KID_A"), Process::ENVIRONMENT_UNSET);
    EXPECT_EQ(process.UnsetEnvironment("KID_A"), Process::NOT_SET);
    EXPECT_EQ(process.SetEnvironment("KID_C", "8"), Process::ENVIRONMENT_SET);
    EXPECT_EQ(run(), "KID_B='2'\nKID_C='8'\none\n");
    EXPECT_EQ(process.SetEnvironment(map), Process::ENVIRONMENT_SET);
    StringVector arguments;
    for (char const* const argument : {"-c", "set | grep ^KID_; ionice"}) EXPECT_TRUE(arguments.PushBack(argument));
    EXPECT_TRUE(process.SetArguments(arguments).Succeeded());
    process.SetIoPriority(Process::IO_PRIO_IDLE);
    EXPECT_EQ(run(), "KID_M='5'\nidle\n");
    process.ClearEnvironment();
    EXPECT_EQ(run(), "idle\n");
    EXPECT_EQ(Join(log_.Take()), "C Process: \"KID_D\" environment variable has no value.\n"
                                 "E Process: \"kid\": bad environment variable: \"KID=\".\n"
                                 "E Process: \"kid\": bad environment variable: \"\".\n"
                                 "E Process: \"kid\": bad environment variable: \"a b\".\n");
    process.ClearArguments();
    EXPECT_EQ(kid.Start(), Process::STARTED);
    close(io); // the input of a shell without a script ends
    EXPECT_EQ(kid.Await(kid.ends + 1), "exit 0 signal -1");
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
    std::string const last = "E Process: unable to create and initialize \"kid\" process.\n", mine = "C Process: \"kid\": ";
    std::string const thread = "C Process: unable to initialize and start the execution thread.\n"
                               "C Process: unable to create an execution object.\n";
    std::string const score = "E Process: \"kid\": invalid process OOM score: \"";
    struct {
        KidOptions options;
        SysCall call;
        std::vector<Calls::Step> steps;
        std::string lines;
    } const rows[] = {
        {{.oomScore = -1000}, {}, {}, score + "-1000\" (valid range is -999...999).\n"},
        {{.oomScore = 1000}, {}, {}, score + "1000\" (valid range is -999...999).\n"},
        {{.executable = " "}, {}, {}, ""},
        {{.executable = "/nonexistent"}, {}, {}, "E Process: \"/nonexistent\" executable not found.\n"},
        {{},
         SysCall::sigaction,
         {Calls::Fail(EINVAL)},
         "C Process: unable to initialize a signal handler: invalid argument.\n"
         "C Process: unable to create an execution object.\n"},
        {{}, SysCall::pthread_create, {Calls::Fail(EAGAIN)}, mine + "unable to initialize a timer.\n"},
        {{}, SysCall::pthread_create, {Calls::Real(), Calls::Fail(EAGAIN)}, thread},
        {{},
         SysCall::pthread_sigmask,
         {Calls::Fail(EINVAL)},
         "C Process: unable to setup a signal mask: invalid argument.\n" + thread},
    };
    for (auto const& row : rows) {
        Calls calls(Calls::ScopeT::PROCESS);
        if (!row.steps.empty() && row.call != SysCall::pthread_create) calls.Script(SysCall::pthread_create, {Calls::Real()});
        for (Calls::Step const& step : row.steps) calls.Script(row.call, {step});
        EXPECT_FALSE(Kid("", row.options).process->Initialized()) << row.lines;
        EXPECT_EQ(Join(log_.Take()), row.lines + last);
    }
    for (int const oomScore : {-999, 999}) EXPECT_TRUE(Kid("", {.oomScore = oomScore}).process->Initialized());
    struct sigaction action;
    sigaction(SIGCHLD, nullptr, &action);
    EXPECT_EQ(action.sa_handler, SIG_DFL);
}

TEST_F(ProcessTest, MemoryThatEndsFailsTheOperationAndChangesNothing) {
    ForEveryAllocation(
        [&](Heap& heap) {
            log_.Clear();
            heap.Arm();
            Kid kid("", {.executable = "/bin/true"});
            heap.Disarm();
            EXPECT_EQ(kid.process->Initialized(), !heap.Fired());
            EXPECT_EQ(log_.Has("unable to create and initialize \"kid\""), heap.Fired());
        },
        Heap::ScopeT::THREAD);
    int io = -1;
    Kid kid("set | grep ^KID_; echo $0", {.io = &io});
    EXPECT_TRUE(kid.process->PushArgument("zero").Succeeded() && kid.process->SetEnvironment("KID_A", "1").Succeeded());
    char const* const arguments[] = {"-c", "exit 1", "other", nullptr};
    char const* const variables[] = {"KID_A", "2", nullptr};
    StringVector vector;
    StringMap map;
    EXPECT_TRUE(vector.Assign(arguments) && map.Set("KID_B", "3"));
    std::function<ReturnT()> const operations[] = {
        [&] { return kid.process->SetArguments(arguments); },
        [&] { return kid.process->SetArguments(vector); },
        [&] { return kid.process->PushArgument("more"); },
        [&] { return kid.process->SetEnvironment(variables); },
        [&] { return kid.process->SetEnvironment(map); },
        [&] { return kid.process->SetEnvironment("KID_C", "4"); },
        [&] { return kid.Start(); },
    };
    for (auto const& operation : operations) {
        Heap heap(1, Heap::ModeT::FOREVER);
        heap.Arm();
        EXPECT_TRUE(operation().IsOom());
        heap.Disarm();
    }
    EXPECT_EQ(kid.Run(), "exit 0 signal -1");
    EXPECT_EQ(ReadAll(io), "KID_A='1'\nzero\n");
    close(io);
}

TEST_F(ProcessTest, TheExecutionThreadGetsOverFailingCalls) {
    Clock clock;
    Kid kid("sleep 99 & kill -9 $$");
    Calls calls(Calls::ScopeT::PROCESS);
    calls.Script(SysCall::killpg, {Calls::Fail(EPERM), Calls::Fail(0), Calls::Real(), Calls::Fail(EPERM), Calls::Fail(0)});
    ASSERT_EQ(kid.Start(), Process::STARTED);
    EXPECT_TRUE(Await([&] { return clock.Advance(50), kid.ends == 1; }));
    std::string const tail = " child processes of \"kid\": operation not permitted, retrying...\n";
    EXPECT_EQ(Join(log_.Take()), "E Process: failed to kill" + tail + "W Process: killing all processes in \"kid\" group...\n" +
                                     "E Process: failed to wait" + tail);
    calls.Script(SysCall::sigtimedwait, {Calls::Fail(EINVAL), Calls::Fail(EINTR)});
    Kid other("exit 0");
    EXPECT_EQ(other.Start(), Process::STARTED);
    EXPECT_TRUE(Await([&] { return clock.Advance(200), other.ends == 1 && calls.Left(SysCall::sigtimedwait) == 0; }));
    EXPECT_EQ(Join(log_.Take()), "C Process: signal wait error: invalid argument.\n");
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
    EXPECT_EQ(Join(log_.Take()), "C Process: \"kid\": unable to start (unable to execute a process: no such file or directory).\n"
                                 "C Process: \"kid\": no child processes.\n"
                                 "C Process: \"kid\": unable to execute in multithread environment.\n");
}

} // namespace
