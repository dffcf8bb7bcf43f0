#include "zeb/runtime/Thread.h"

#include "tests/runtime/Worker.h"
#include "workbench/Calls.h"
#include "workbench/Clock.h"
#include "workbench/Heap.h"
#include "zeb/core/Time.h"
#include "zeb/runtime/StatusLog.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <string>
#include <sys/prctl.h>
#include <thread>
#include <vector>

namespace {

using ThreadTest = WithMainThread;
using LinesT = LogCapture::LinesT;

std::string Failed(char const* name, char const* text, char const* code = "[0xcffd****]") {
    return std::string("C Thread: \"") + name + "\": system failed " + code + ", " + text + ".";
}

// Notes the order of what is called in the thread.
struct Recorder : Thread {
    explicit Recorder(uint32_t result)
        : Thread("recorder")
        , result_(result) {}

    ReturnT Initialize() override {
        calls += "I";
        return StatusLog(result_, Log::INFO, "Recorder", nullptr, "");
    }
    void Cleanup() override { calls += "C"; }
    ReturnT Run() override {
        calls += Self() == this && SelfStatus()->Code() == result_ && !DifferentContext() ? "R" : "?";
        while (!StopRequested())
            std::this_thread::yield();
        return ReturnT::Done();
    }

    std::string calls;
    uint32_t const result_;
};

TEST_F(ThreadTest, RunsBetweenStartAndStopAndRefusesMisuse) {
    Recorder thread(1);
    EXPECT_FALSE(thread.Stop());              // never started
    for (int round = 0; round < 2; ++round) { // the same object runs again
        EXPECT_TRUE(thread.Stopped());
        EXPECT_EQ(thread.Start(), 0x00220001u);
        EXPECT_EQ(Thread::SelfStatus()->Code(), 0x00220001u);
        EXPECT_FALSE(thread.Stopped() || thread.StopRequested() || !thread.DifferentContext());
        EXPECT_EQ(thread.Start(), 0x80220002u);
        EXPECT_EQ(Thread::SelfStatus()->Code(), 0x80220002u);
        EXPECT_TRUE(thread.Stop());
        EXPECT_FALSE(thread.StopRequested() || thread.IsInterrupted());
    }
    EXPECT_EQ(thread.calls, "IRCIRC");
    std::string const running = Failed("recorder", "it runs already", "[0x80220002]");
    EXPECT_EQ(log_.Take(), (LinesT{Failed("recorder", "it does not run"), running, running}));
    EXPECT_EQ(main_->Start(), 0x80220003u);
    RunInWorker([&] {
        Thread& self = *Thread::Self();
        EXPECT_EQ(self.Start(), 0x80220003u);
        self.Interrupt();
        EXPECT_FALSE(self.Stop() || self.IsInterrupted() || main_->Stop());
    });
    Recorder unlucky(0x80000001);
    for (int round = 0; round < 2; ++round) // it was joined, and may be tried again
        EXPECT_EQ(unlucky.Start(), 0x80220006u);
    EXPECT_TRUE(unlucky.Stopped());
    EXPECT_EQ(unlucky.calls, "II");
    char const* const self = "a thread cannot start itself";
    std::string const failure = Failed("recorder", "it failed to initialize", "[0x80220006]");
    EXPECT_EQ(log_.Take(),
              (LinesT{Failed("Main", self, "[0x80220003]"), Failed("worker", self, "[0x80220003]"),
                      Failed("worker", "a thread cannot interrupt itself"),
                      Failed("worker", "a thread cannot stop itself"),
                      Failed("Main", "the main thread cannot be stopped"), failure, failure}));
}

TEST_F(ThreadTest, EachRunBeginsAfreshAndTheLastOneIsJoinedByTheDestructor) {
    Status other;
    for (bool const ended : {false, true}) {
        std::atomic<int> runs = 0;
        char name[16] = {};
        auto const body = [&] { // which outlives the worker
            prctl(PR_GET_NAME, name);
            EXPECT_NE(Thread::SelfStatus(), &other);
            EXPECT_FALSE(++runs == 2 && !ended && Sleep(9000L)) << "interrupted";
            Thread::SetStatus(&other);
            Thread::SetInterruptMask(Thread::INTERRUPT_MASK);
        };
        {
            Worker thread([&body] { body(); }, "name of 18 letters");
            EXPECT_TRUE(thread.Start() == Thread::STARTED && thread.Stop() &&
                        thread.Start() == Thread::STARTED);
            EXPECT_TRUE(Await([&] { return ended ? thread.Stopped() : runs == 2; }));
        }
        EXPECT_EQ(runs, 2);
        EXPECT_STREQ(name, "name of 18 lett");
    }
    struct Own : Thread {
        Own()
            : Thread("own") {}
        ReturnT Run() override { return delete this, ReturnT::Done(); }
    };
    EXPECT_EQ((new Own)->Start(), Thread::STARTED);
    EXPECT_TRUE(log_.Await("own"));
    std::string const joined = Failed("name of 18 letters", "destroyed unstopped");
    EXPECT_EQ(log_.Take(), (LinesT{joined, joined, Failed("own", "destroyed by its own thread")}));
}

TEST_F(ThreadTest, StartReportsFailuresOfTheSystem) {
    struct Row {
        SysCall call;
        int error;
        uint32_t code;
        std::string text; // of the last line, and of the one ahead of it
        std::string before = {};
    } const rows[] = {
        // clang-format off
        {SysCall::pthread_attr_init, ENOMEM, 0x80220004, "unable to set its attributes up: not enough space"},
        {SysCall::pthread_attr_setstacksize, EINVAL, 0x80220004, "unable to set its attributes up: invalid argument"},
        {SysCall::pthread_create, EAGAIN, 0x80220005, "unable to create it: resource temporarily unavailable"},
        {SysCall::sigaltstack, ENOMEM, 0x80220006, "it failed to initialize", "out of memory [0xcffe****]"},
        {SysCall::sigaltstack, EPERM, 0x80220006, "it failed to initialize",
         "system failed [0xcffd****], failed to setup the alternate signal stack: operation not permitted"},
        {SysCall::pthread_getattr_np, ENOENT, 0x00220001, "",
         "failed to get info about the thread stack: no such file or directory"},
        // clang-format on
    };
    for (Row const& row : rows) {
        Worker thread([] {});
        {
            Calls calls(Calls::ScopeT::PROCESS);
            calls.Script(row.call, {Calls::Fail(row.error)});
            EXPECT_EQ(thread.Start(), row.code);
        }
        bool const failed = row.code >> 31;
        EXPECT_EQ(thread.Stop(), !failed);
        LinesT expected;
        if (!row.before.empty()) expected.push_back("C Thread: \"worker\": " + row.before + ".");
        if (failed) {
            char code[13];
            snprintf(code, sizeof(code), "[0x%08x]", row.code);
            expected.push_back(Failed("worker", row.text.c_str(), code));
            expected.push_back(Failed("worker", "it does not run"));
        }
        EXPECT_EQ(log_.Take(), expected);
        EXPECT_EQ(thread.Start(), Thread::STARTED) << "nothing is left behind";
        EXPECT_TRUE(thread.Stop());
    }
}

TEST_F(ThreadTest, ReportsExhaustedMemory) {
    ForEveryAllocation([&](Heap& heap) {
        heap.Arm();
        Worker thread([] {});
        heap.Disarm();
        EXPECT_EQ(thread.Initialized(), !heap.Fired());
        EXPECT_EQ(log_.Take(),
                  heap.Fired() ? LinesT{"C Thread: \"worker\": out of memory [0xcffe****]."} : LinesT{});
        if (thread.Initialized()) return;
        thread.SetStop(); // nothing that is called later does harm
        thread.Interrupt();
        thread.ClearInterrupt();
        EXPECT_EQ(thread.Start(), 0x80220001u);
        EXPECT_FALSE(thread.Stop() || thread.Kill(0) || thread.IsInterrupted() || thread.StopRequested());
        EXPECT_TRUE(thread.Stopped() && thread.DifferentContext() && thread.Name().Empty());
        log_.Clear();
    });
    ForEveryAllocation(
        [](Heap& heap) {
            Worker thread([] {});
            heap.Arm();
            ReturnT const code = thread.Start();
            heap.Disarm();
            EXPECT_EQ(code, heap.Fired() ? Thread::INITIALIZE_FAILED : Thread::STARTED);
            EXPECT_EQ(thread.Stop(), !heap.Fired());
        },
        Heap::ScopeT::PROCESS);
}

TEST_F(ThreadTest, NeedsANameAndAMainThreadWhichReportsOnStandardError) {
    EXPECT_FALSE(Worker([] {}, "").Initialized());
    EXPECT_EQ(log_.Take(), LinesT{"C Thread: system failed [0xcffd****], a thread needs a name."});
    EXPECT_EQ(ThreadMain::New("second"), nullptr);
    main_.Reset();
    EXPECT_FALSE(Worker([] {}).Initialized());
    EXPECT_TRUE(log_.Take().empty());
    std::pair<SysCall, char const*> const rows[] = {
        {SysCall::pthread_getattr_np, "Main: failed to get info about the thread stack: not enough space\n"},
        {SysCall::sigaltstack, "id: failed to setup the alternate signal stack: not enough space\n"},
        {SysCall::sigaction, "id: failed to setup a trace signal handler: not enough space.\n"},
    };
    for (auto const& [call, text] : rows) {
        OutputCapture errors(2);
        Calls calls;
        calls.Script(call, {Calls::Fail(ENOMEM)});
        EXPECT_EQ(ThreadMain::New("id"), nullptr);
        EXPECT_EQ(errors.Finish(), text);
        EXPECT_EQ(Thread::Self(), nullptr);
    }
    ForEveryAllocation([](Heap& heap) {
        OutputCapture errors(2);
        heap.Arm();
        AutoPtr<ThreadMain> const again(ThreadMain::New("id"));
        heap.Disarm();
        EXPECT_EQ(static_cast<bool>(again), !heap.Fired());
    });
}

TEST_F(ThreadTest, RunsOnStacksOfItsOwn) {
    RunInWorker([] {
        stack_t stack = {};
        EXPECT_EQ(sigaltstack(nullptr, &stack), 0);
        EXPECT_EQ(stack.ss_size, 26624u);
        // A sanitizer may keep the locals elsewhere, but not the frame.
        EXPECT_LT(reinterpret_cast<unsigned long>(__builtin_frame_address(0)) - Thread::StackAddress(),
                  0xA0000u);
        EXPECT_GT(Thread::StackGuardSize(), 0u);
    });
}

TEST_F(ThreadTest, InterruptionCanBeMaskedAndStatusReplaced) {
    Worker idle([] {}, "idle");
    idle.Interrupt(); // not running: no effect
    idle.SetStop();
    EXPECT_FALSE(idle.IsInterrupted() || idle.StopRequested());
    for (int depth = 0; depth < 2; ++depth)
        Thread::SetInterruptMask(Thread::INTERRUPT_MASK);
    RunInWorker([&] { main_->Interrupt(); });
    for (int depth = 2; depth > 0; --depth) {
        EXPECT_FALSE(main_->IsInterrupted() || Thread::SelfInterrupted());
        Thread::SetInterruptMask(Thread::INTERRUPT_UNMASK);
    }
    EXPECT_TRUE(main_->IsInterrupted() && Thread::SelfInterrupted() && !main_->StopRequested());
    main_->ClearInterrupt();
    main_->SetStop();
    EXPECT_TRUE(!main_->IsInterrupted() && main_->StopRequested());

    Status other;
    Status* const own = Thread::SelfStatus();
    Thread::SetStatus(&other);
    (void)ReturnT(StatusLog(5, Log::INFO, "T", nullptr, ""));
    EXPECT_TRUE(other.Code() == 5u && own->Code() != 5u);
    EXPECT_EQ(main_->Run(), 5u) << "the main thread answers with its status";
    Thread::SetStatus(nullptr);
    EXPECT_EQ(Thread::SelfStatus(), own);
}

TEST_F(ThreadTest, EnvironmentIsPrivateAndNothingIsThereWithoutAThreadObject) {
    String value;
    EXPECT_TRUE(Thread::SetEnvironment("k", "main"));
    RunInWorker([] { EXPECT_FALSE(Thread::HasEnvironment("k") || Thread::SelfInterrupted()); });
    std::thread([&] {
        Thread::SetStatus(nullptr);
        Thread::SetInterruptMask(Thread::INTERRUPT_MASK);
        EXPECT_FALSE(Thread::Self() || Thread::SelfStatus() || Thread::SelfInterrupted() ||
                     Thread::StackAddress() || Thread::StackGuardSize() || Thread::SetEnvironment("a", "b") ||
                     Thread::HasEnvironment("k") || Thread::GetEnvironment("k", value) ||
                     Thread::DelEnvironment("k"));
        EXPECT_TRUE(Sleep(1L));
    }).join();
    ForEveryAllocation([&](Heap& heap) {
        String out;
        heap.Arm();
        bool const ok = Thread::SetEnvironment("new", "value") && Thread::GetEnvironment("new", out);
        heap.Disarm();
        EXPECT_EQ(ok, !heap.Fired());
        Thread::DelEnvironment("new");
        EXPECT_FALSE(Thread::DelEnvironment("new") || Thread::GetEnvironment("new", out));
    });
    EXPECT_TRUE(Thread::GetEnvironment("k", value) && value == "main");
}

TEST_F(ThreadTest, KillReachesARunningThreadAndTheRegistryListsIt) {
    static std::atomic<int> signals;
    auto const old = signal(SIGUSR2, [](int) { signals += Thread::Self()->Name() == "worker" ? 1 : 100; });
    Worker thread([] {
        ForEveryAllocation([&](Heap& heap) {
            Array<int> tids;
            heap.Arm();
            bool const ok = Thread::GetTids(tids);
            heap.Disarm();
            EXPECT_EQ(ok, !heap.Fired());
            ASSERT_EQ(tids.Size(), ok ? 2u : 0u);
            EXPECT_TRUE(!ok || tids[1] == Thread::Id());
        });
        while (signals == 0)
            std::this_thread::yield();
    });
    Worker idle([] {}, "idle");
    EXPECT_FALSE(thread.Kill(SIGUSR2));
    EXPECT_TRUE(thread.Start() == Thread::STARTED && thread.Kill(SIGUSR2) && thread.Stop());
    EXPECT_EQ(signals, 1);
    signal(SIGUSR2, old);
}

TEST_F(ThreadTest, LifeOfManyThreadsMayRaceAndBeReadMeanwhile) {
    Mutex cache(Mutex::CACHE);
    Mutex core(Mutex::CORE);
    std::atomic<int> runs = 0;
    std::atomic<int> starts = 0;
    auto const run = [&] {
        Mutex::Guard const below(cache);
        Mutex::Guard const above(core);
        ++runs;
    };
    Worker shared(run);
    std::vector<std::thread> owners; // without Thread objects
    for (int owner = 0; owner < 3; ++owner) {
        owners.emplace_back([&] {
            for (int round = 0; round < 10; ++round) {
                Worker thread(run);
                starts += (thread.Start() == Thread::STARTED) + (shared.Start() == Thread::STARTED);
                thread.Interrupt();
                thread.SetStop();
                (void)thread.Kill(0);
                EXPECT_TRUE(thread.Stop());
                shared.Stop();
            }
        });
    }
    while (runs < 30) {
        Array<int> tids;
        AutoPVector<Thread::State, StdDeleter> states;
        EXPECT_TRUE(Thread::GetTids(tids) && Thread::GetStates(states).Succeeded());
        EXPECT_LE(tids.Size(), 5u);
        Thread::OwnerId(core);
        for (unsigned long i = 0; i < states.Size(); ++i)
            EXPECT_TRUE(states[i]->Locks().Empty() || states[i]->Locks().Front().Precedence() != Mutex::CORE);
    }
    for (std::thread& owner : owners)
        owner.join();
    if (!shared.Stopped()) shared.Stop();
    EXPECT_EQ(runs, starts);
    EXPECT_GE(runs, 31);
}

TEST_F(ThreadTest, SleepEndsAtItsTimeOrWithAnInterruption) {
    {
        Clock clock(Clock::ModeT::AUTO);
        for (long const milliseconds : {0L, -5L, 1L, 333L, 1000L}) {
            double const before = static_cast<double>(clock.Moved());
            EXPECT_TRUE(Sleep(milliseconds));
            double const moved = (static_cast<double>(clock.Moved()) - before) / 1e6;
            EXPECT_NEAR(moved, milliseconds > 0 ? milliseconds : 0, 0.01);
        }
    }
    Clock clock;
    std::atomic<bool> slept = true;
    Worker thread([&] { slept = Sleep(10000L) || Sleep(10000L); }); // the second one at once, without a wait
    ASSERT_EQ(thread.Start(), Thread::STARTED);
    ASSERT_TRUE(clock.AwaitWaiters(1));
    thread.Interrupt();
    clock.Advance(333);
    EXPECT_TRUE(thread.Stop());
    EXPECT_FALSE(slept);
}

} // namespace
