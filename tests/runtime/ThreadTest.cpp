#include "zeb/runtime/Thread.h"

#include "tests/runtime/Worker.h"
#include "tests/support/Calls.h"
#include "tests/support/Clock.h"
#include "tests/support/Heap.h"
#include "zeb/core/StatusLog.h"
#include "zeb/core/Time.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

using ThreadLife = WithMainThread;
using ThreadFlags = WithMainThread;
using ThreadRegistry = WithMainThread;
using SleepTest = WithMainThread;

std::string Failed(char const* name, char const* code = "[0xcffd****]") {
    return std::string("C Thread: \"") + name + "\": system failed " + code + ".";
}

// Notes the order of what is called in the thread.
class Recorder : public Thread {
public:
    explicit Recorder(uint32_t result)
        : Thread("recorder")
        , result_(result) {}

    ReturnT Initialize() override {
        calls += "I";
        return StatusLog(result_, Log::INFO, "Recorder", nullptr, "");
    }
    void Cleanup() override { calls += "C"; }
    ReturnT Run() override {
        calls += Self() == this && SelfStatus()->Code() == result_ ? "R" : "?";
        while (!StopRequested())
            Yield();
        return ReturnT::Done();
    }

    std::string calls;

private:
    uint32_t result_;
};

TEST_F(ThreadLife, RunsBetweenStartAndStop) {
    Recorder thread(1);
    ASSERT_TRUE(thread.Initialized());
    EXPECT_TRUE(thread.Name() == "recorder");
    for (int round = 0; round < 2; ++round) { // the same object runs again
        EXPECT_TRUE(thread.Stopped());
        EXPECT_EQ(thread.Start(), 0x00220001u);
        EXPECT_EQ(Thread::SelfStatus()->Code(), 0x00220001u);
        EXPECT_FALSE(thread.Stopped() || thread.StopRequested());
        EXPECT_TRUE(thread.DifferentContext());
        EXPECT_TRUE(thread.Stop());
        EXPECT_FALSE(thread.StopRequested() || thread.IsInterrupted());
    }
    EXPECT_EQ(thread.calls, "IRCIRC");
    EXPECT_TRUE(log_.Take().empty());
}

TEST_F(ThreadLife, RefusesMisuse) {
    Recorder thread(1);
    EXPECT_FALSE(thread.Stop()); // never started
    EXPECT_EQ(log_.Take(), LogCapture::LinesT{Failed("recorder")});
    ASSERT_EQ(thread.Start(), Thread::STARTED);
    EXPECT_EQ(thread.Start(), 0x80220002u);
    EXPECT_EQ(Thread::SelfStatus()->Code(), 0x80220002u);
    EXPECT_EQ(main_->Start(), 0x80220003u);
    EXPECT_EQ(log_.RawLines(),
              (LogCapture::LinesT{Failed("recorder", "[0x80220002]"), Failed("Main", "[0x80220003]")}));
    log_.Clear();
    EXPECT_FALSE(main_->Stop());
    EXPECT_TRUE(thread.Stop());
    RunInWorker([&] {
        Thread& self = *Thread::Self();
        EXPECT_EQ(self.Start(), 0x80220003u);
        EXPECT_FALSE(self.Stop());
        EXPECT_FALSE(self.DifferentContext());
        self.Interrupt();
        EXPECT_FALSE(self.IsInterrupted());
        EXPECT_EQ(main_->Start(), 0x80220002u);
        EXPECT_FALSE(main_->Stop());
    });
    EXPECT_EQ(log_.Take(),
              (LogCapture::LinesT{Failed("Main"), Failed("worker", "[0x80220003]"), Failed("worker"),
                                  Failed("worker"), Failed("Main", "[0x80220002]"), Failed("Main")}));
}

TEST_F(ThreadLife, StartFailsWithInitialize) {
    Recorder thread(0x80000001);
    EXPECT_EQ(thread.Start(), 0x80220006u);
    EXPECT_TRUE(thread.Stopped());
    EXPECT_EQ(thread.calls, "I");
    EXPECT_EQ(log_.RawLines(), LogCapture::LinesT{Failed("recorder", "[0x80220006]")});
    EXPECT_EQ(thread.Start(), 0x80220006u) << "it was joined, and may be tried again";
}

TEST_F(ThreadLife, StartReportsFailuresOfTheSystem) {
    struct Row {
        SysCall call;
        int error;
        uint32_t code;
        LogCapture::LinesT lines;
    } const rows[] = {
        {SysCall::pthread_attr_init, ENOMEM, 0x80220004, {}},
        {SysCall::pthread_attr_setstacksize, EINVAL, 0x80220004, {}},
        {SysCall::pthread_create, EAGAIN, 0x80220005, {}},
        {SysCall::sigaltstack,
         EPERM,
         0x80220006,
         {"C Thread: \"worker\": system failed [0xcffd****], failed to setup the alternate signal stack: "
          "operation not permitted."}},
        {SysCall::sigaltstack, ENOMEM, 0x80220006, {"C Thread: \"worker\": out of memory [0xcffe****]."}},
        {SysCall::pthread_getattr_np,
         ENOENT,
         0x00220001,
         {"C Thread: \"worker\": failed to get info about the thread stack: no such file or directory."}},
    };
    for (Row const& row : rows) {
        Worker thread([] {});
        {
            Calls calls(Calls::ScopeT::PROCESS);
            calls.Script(row.call, {Calls::Fail(row.error)});
            EXPECT_EQ(thread.Start(), row.code);
        }
        LogCapture::LinesT lines = log_.Take();
        if (row.code >> 31) {
            ASSERT_FALSE(lines.empty());
            EXPECT_EQ(lines.back().substr(0, 37), "C Thread: \"worker\": system failed [0x");
            lines.pop_back();
        } else {
            EXPECT_TRUE(thread.Stop());
        }
        EXPECT_EQ(lines, row.lines);
        EXPECT_EQ(thread.Start(), Thread::STARTED) << "nothing is left behind";
        EXPECT_TRUE(thread.Stop());
    }
}

TEST_F(ThreadLife, ReportsExhaustedMemory) {
    ForEveryAllocation([&](Heap& heap) {
        heap.Arm();
        Worker thread([] {});
        heap.Disarm();
        EXPECT_EQ(thread.Initialized(), !heap.Fired());
        if (thread.Initialized()) return;
        EXPECT_EQ(log_.Take(), LogCapture::LinesT{"C Thread: \"worker\": out of memory [0xcffe****]."});
        EXPECT_EQ(thread.Start(), 0x80220001u);
        EXPECT_FALSE(thread.Stop() || thread.Kill(0) || thread.IsInterrupted() || thread.StopRequested());
        EXPECT_TRUE(thread.Stopped() && thread.DifferentContext() && thread.Name().Empty());
        thread.SetStop();
        thread.Interrupt();
        thread.ClearInterrupt();
        log_.Clear();
    });
    ForEveryAllocation(
        [&](Heap& heap) {
            Worker thread([] {});
            heap.Arm();
            ReturnT const code = thread.Start();
            heap.Disarm();
            EXPECT_EQ(code, heap.Fired() ? Thread::INITIALIZE_FAILED : Thread::STARTED);
            EXPECT_EQ(thread.Stop(), !heap.Fired());
            log_.Clear();
        },
        Heap::ScopeT::PROCESS);
}

TEST_F(ThreadLife, NeedsANameAndAMainThread) {
    Worker nameless([] {}, "");
    EXPECT_FALSE(nameless.Initialized());
    EXPECT_EQ(log_.Take(), LogCapture::LinesT{"C Thread: system failed [0xcffd****]."});
    EXPECT_EQ(ThreadMain::New("second"), nullptr);
    main_.Reset();
    EXPECT_EQ(Thread::Self(), nullptr);
    Worker orphan([] {});
    EXPECT_FALSE(orphan.Initialized());
    EXPECT_TRUE(log_.Take().empty());
}

TEST_F(ThreadLife, RunsOnItsOwnStacks) {
    RunInWorker([] {
        stack_t stack = {};
        EXPECT_EQ(sigaltstack(nullptr, &stack), 0);
        EXPECT_EQ(stack.ss_size, 26624u);
        EXPECT_EQ(stack.ss_flags, 0);
        unsigned long const here = reinterpret_cast<unsigned long>(__builtin_frame_address(0));
        EXPECT_GE(here, Thread::StackAddress());
        EXPECT_LT(here, Thread::StackAddress() + Thread::STACK_SIZE);
        EXPECT_GT(Thread::StackGuardSize(), 0u);
    });
    EXPECT_NE(Thread::StackAddress(), 0u);
    stack_t stack = {};
    EXPECT_EQ(sigaltstack(nullptr, &stack), 0);
    EXPECT_EQ(stack.ss_size, 26624u);
}

TEST_F(ThreadFlags, InterruptionCanBeMasked) {
    std::binary_semaphore interrupted(0);
    std::binary_semaphore seen(0);
    Worker thread([&] {
        Thread& self = *Thread::Self();
        Thread::SetInterruptMask(Thread::INTERRUPT_MASK);
        Thread::SetInterruptMask(Thread::INTERRUPT_MASK);
        seen.release();
        interrupted.acquire();
        EXPECT_FALSE(self.IsInterrupted() || Thread::SelfInterrupted());
        Thread::SetInterruptMask(Thread::INTERRUPT_UNMASK);
        EXPECT_FALSE(self.IsInterrupted());
        Thread::SetInterruptMask(Thread::INTERRUPT_UNMASK);
        EXPECT_TRUE(self.IsInterrupted() && Thread::SelfInterrupted());
        EXPECT_FALSE(self.StopRequested());
        self.ClearInterrupt();
        EXPECT_FALSE(self.IsInterrupted());
        self.SetStop();
        EXPECT_TRUE(self.StopRequested());
        seen.release();
    });
    thread.Interrupt(); // not running: no effect
    thread.SetStop();
    EXPECT_FALSE(thread.IsInterrupted() || thread.StopRequested());
    ASSERT_EQ(thread.Start(), Thread::STARTED);
    seen.acquire();
    thread.Interrupt();
    interrupted.release();
    seen.acquire();
    EXPECT_TRUE(thread.Stop());
    EXPECT_TRUE(log_.Take().empty());
}

TEST_F(ThreadFlags, StatusCanBeReplaced) {
    Status other;
    Status* const own = Thread::SelfStatus();
    Thread::SetStatus(&other);
    (void)ReturnT(StatusLog(5, Log::INFO, "T", nullptr, ""));
    EXPECT_EQ(other.Code(), 5u);
    EXPECT_FALSE(own->IsDefined());
    EXPECT_EQ(main_->Run(), 5u) << "the main thread answers with its status";
    Thread::SetStatus(nullptr);
    EXPECT_EQ(Thread::SelfStatus(), own);
}

TEST_F(ThreadFlags, EnvironmentIsPrivate) {
    String value;
    EXPECT_TRUE(Thread::SetEnvironment("k", "main"));
    RunInWorker([] {
        String own;
        EXPECT_FALSE(Thread::HasEnvironment("k") || Thread::GetEnvironment("k", own));
        EXPECT_TRUE(Thread::SetEnvironment("k", "worker"));
        EXPECT_TRUE(Thread::GetEnvironment("k", own));
        EXPECT_STREQ(own.Cstr(), "worker");
        EXPECT_TRUE(Thread::DelEnvironment("k"));
        EXPECT_FALSE(Thread::DelEnvironment("k"));
    });
    EXPECT_TRUE(Thread::GetEnvironment("k", value));
    EXPECT_STREQ(value.Cstr(), "main");
    ForEveryAllocation([&](Heap& heap) {
        Thread::DelEnvironment("new");
        heap.Arm();
        bool const set = Thread::SetEnvironment("new", "value");
        String out;
        bool const got = Thread::GetEnvironment("new", out);
        heap.Disarm();
        EXPECT_EQ(set && got, !heap.Fired());
        EXPECT_EQ(Thread::HasEnvironment("new"), set);
        Thread::DelEnvironment("new");
    });
}

TEST_F(ThreadFlags, NothingIsThereWithoutAThreadObject) {
    std::thread([] {
        EXPECT_EQ(Thread::Self(), nullptr);
        EXPECT_EQ(Thread::SelfStatus(), nullptr);
        Thread::SetStatus(nullptr);
        Thread::SetInterruptMask(Thread::INTERRUPT_MASK);
        EXPECT_FALSE(Thread::SelfInterrupted());
        EXPECT_EQ(Thread::StackAddress(), 0u);
        EXPECT_EQ(Thread::StackGuardSize(), 0u);
        String value;
        EXPECT_FALSE(Thread::SetEnvironment("a", "b") || Thread::GetEnvironment("a", value) ||
                     Thread::HasEnvironment("a") || Thread::DelEnvironment("a"));
        EXPECT_TRUE(Sleep(1L));
    }).join();
    EXPECT_TRUE(log_.Take().empty());
}

std::atomic<int> signals = 0;

TEST_F(ThreadFlags, KillReachesARunningThread) {
    signals = 0;
    auto const old = signal(SIGUSR2, [](int) { signals += Thread::Self()->Name() == "worker" ? 1 : 100; });
    Worker thread([] {
        while (signals == 0)
            std::this_thread::yield();
    });
    EXPECT_FALSE(thread.Kill(SIGUSR2));
    ASSERT_EQ(thread.Start(), Thread::STARTED);
    EXPECT_TRUE(thread.Kill(SIGUSR2));
    EXPECT_TRUE(thread.Stop());
    EXPECT_EQ(signals, 1);
    signal(SIGUSR2, old);
}

TEST_F(ThreadRegistry, ListsRunningThreads) {
    Array<int> tids;
    std::atomic<int> id = 0;
    Worker idle([] {}, "idle");
    Worker thread([&] {
        id = Thread::Id();
        while (!Thread::Self()->StopRequested())
            std::this_thread::yield();
    });
    EXPECT_TRUE(Thread::GetTids(tids));
    ASSERT_EQ(tids.Size(), 1u);
    EXPECT_EQ(tids[0], Thread::Id());
    ASSERT_EQ(thread.Start(), Thread::STARTED);
    EXPECT_TRUE(Thread::GetTids(tids));
    ASSERT_EQ(tids.Size(), 2u);
    while (id == 0)
        std::this_thread::yield();
    EXPECT_EQ(tids[1], id);
    ForEveryAllocation([&](Heap& heap) {
        Array<int> out;
        heap.Arm();
        bool const ok = Thread::GetTids(out);
        heap.Disarm();
        EXPECT_EQ(ok, !heap.Fired());
        EXPECT_EQ(out.Size(), ok ? 2u : 0u);
    });
    EXPECT_TRUE(thread.Stop());
    EXPECT_TRUE(Thread::GetTids(tids));
    EXPECT_EQ(tids.Size(), 1u);
}

TEST_F(ThreadRegistry, LivesThroughManyThreads) {
    std::atomic<int> runs = 0;
    std::vector<std::thread> owners; // without Thread objects
    for (int owner = 0; owner < 3; ++owner) {
        owners.emplace_back([&] {
            for (int round = 0; round < 10; ++round) {
                Worker thread([&] { ++runs; });
                if (thread.Start().Failed()) break;
                thread.Interrupt();
                thread.SetStop();
                (void)thread.Kill(0);
                thread.Stop();
                if (thread.Start().Failed()) break;
                thread.Stop();
            }
        });
    }
    while (runs < 40) {
        Array<int> tids;
        AutoPVector<Thread::State, StdDeleter> states;
        EXPECT_TRUE(Thread::GetTids(tids));
        EXPECT_EQ(Thread::GetStates(states), 0x00220190u);
        EXPECT_LE(tids.Size(), 4u);
    }
    for (std::thread& owner : owners)
        owner.join();
    EXPECT_EQ(runs, 60);
    EXPECT_TRUE(log_.Take().empty());
}

TEST_F(ThreadRegistry, StartAndStopMayRace) {
    std::atomic<int> runs = 0;
    Worker thread([&] { ++runs; });
    std::atomic<int> started = 0;
    std::atomic<int> stopped = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int n = 0; n < 20; ++n) {
                started += thread.Start() == Thread::STARTED;
                stopped += thread.Stop();
            }
        });
    }
    for (std::thread& one : threads)
        one.join();
    if (!thread.Stopped()) stopped += thread.Stop();
    EXPECT_EQ(started, runs);
    EXPECT_GE(started, stopped);
}

TEST_F(ThreadLife, MainThreadReportsFailuresOnStandardError) {
    main_.Reset();
    struct Row {
        SysCall call;
        char const* text;
    } const rows[] = {
        {SysCall::pthread_getattr_np, "Main: failed to get info about the thread stack: not enough space\n"},
        {SysCall::sigaltstack, "id: failed to setup the alternate signal stack: not enough space\n"},
        {SysCall::sigaction, "id: failed to setup a trace signal handler: not enough space.\n"},
    };
    for (Row const& row : rows) {
        OutputCapture errors(2);
        Calls calls;
        calls.Script(row.call, {Calls::Fail(ENOMEM)});
        EXPECT_EQ(ThreadMain::New("id"), nullptr);
        EXPECT_EQ(errors.Finish(), row.text);
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

TEST_F(SleepTest, EndsAtItsTime) {
    Clock clock(Clock::ModeT::AUTO);
    for (long milliseconds : {0L, -5L, 1L, 333L, 1000L}) {
        long const before = clock.Moved();
        EXPECT_TRUE(Sleep(milliseconds));
        EXPECT_NEAR(static_cast<double>(clock.Moved() - before) / 1e6,
                    static_cast<double>(milliseconds > 0 ? milliseconds : 0), 0.01);
    }
    EXPECT_TRUE(Sleep(Time::Span(2, 500)));
}

TEST_F(SleepTest, EndsWithAnInterruption) {
    Clock clock;
    std::atomic<bool> slept = true;
    std::atomic<bool> again = true;
    Worker thread([&] {
        slept = Sleep(10000L);
        again = Sleep(10000L); // at once: no wait of the clock
    });
    ASSERT_EQ(thread.Start(), Thread::STARTED);
    ASSERT_TRUE(clock.AwaitWaiters(1));
    thread.Interrupt();
    clock.Advance(333);
    EXPECT_TRUE(thread.Stop());
    EXPECT_FALSE(slept || again);
}

} // namespace
