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

std::string Failed(char const* name, std::string const& text, char const* code = "[0xcffd****]") {
    return std::string("C Thread: \"") + name + "\": system failed " + code + ", " + text + ".";
}

// Stopped, stop Requested, Interrupted, of another Context, how many threads run.
std::string Flags(Thread const& thread) {
    return std::string(thread.Stopped() ? "S" : "") + (thread.StopRequested() ? "R" : "") + (thread.IsInterrupted() ? "I" : "") +
           (thread.DifferentContext() ? "C" : "") + std::to_string(CountTids());
}

TEST_F(ThreadTest, LivesBetweenStartAndStopAndRefusesMisuse) {
    std::binary_semaphore end(0);
    Worker thread([&] {
        EXPECT_FALSE(Thread::Self()->DifferentContext());
        while (!Thread::Self()->StopRequested() && !end.try_acquire()) Clock::RealPause(1);
    });
    // Start, Stop, Interrupt, Clear that, Request the stop, Kill, let it End by itself; codes by their last
    // digit.
    std::string transcript;
    for (char const operation : std::string("PIRKSSIKCPSESPSRP")) {
        transcript += operation;
        if (operation == 'S') transcript += std::to_string(thread.Start().Code() & 0xF);
        if (operation == 'P') transcript += std::to_string(thread.Stop());
        if (operation == 'K') transcript += std::to_string(thread.Kill(0));
        if (operation == 'I') thread.Interrupt();
        if (operation == 'C') thread.ClearInterrupt();
        if (operation == 'R') thread.SetStop();
        if (operation == 'E') end.release();
        EXPECT_TRUE(operation != 'E' || Await([&] { return thread.Stopped(); }));
        if (operation != 'R' || !thread.StopRequested()) transcript += Flags(thread) + " ";
    }
    EXPECT_EQ(transcript, "P0SC1 ISC1 RSC1 K0SC1 S1C2 S2C2 IIC2 K1IC2 CC2 P1SC1 S1C2 ESC1 S2SC1 P1SC1 S1C2 "
                          "RP1SC1 ");
    std::string const running = Failed("worker", "it runs already", "[0x80220002]");
    EXPECT_EQ(log_.Take(), (LinesT{Failed("worker", "it does not run"), running, running}));
    EXPECT_EQ(main_->Start(), 0x80220003u);
    RunInWorker([&] {
        Thread& self = *Thread::Self();
        EXPECT_EQ(self.Start(), 0x80220003u);
        self.Interrupt();
        EXPECT_FALSE(self.Stop() || self.IsInterrupted() || main_->Stop());
    });
    char const* const self = "a thread cannot start itself";
    EXPECT_EQ(log_.Take(),
              (LinesT{Failed("Main", self, "[0x80220003]"), Failed("worker", self, "[0x80220003]"),
                      Failed("worker", "a thread cannot interrupt itself"), Failed("worker", "a thread cannot stop itself"),
                      Failed("Main", "the main thread cannot be stopped")}));
}

// Notes the order of what is called in the thread.
struct Recorder : Thread {
    Recorder(uint32_t result, std::string& into)
        : Thread("name of 18 letters")
        , calls(into)
        , initialized(result) {}
    ReturnT Initialize() override {
        char name[16] = {};
        prctl(PR_GET_NAME, name);
        calls += std::string(name) + (SelfStatus() == report ? " again " : " ");
        return StatusLog(initialized, Log::INFO, "Recorder", nullptr, "");
    }
    ReturnT Run() override {
        calls += Self() == this && SelfStatus()->Code() == initialized ? "R" : "?";
        for (++runs; endless && !SelfInterrupted();) Clock::RealPause(1);
        if (endless) calls += "I";
        SetStatus(report);
        SetInterruptMask(INTERRUPT_MASK);
        return ReturnT::Done();
    }
    void Cleanup() override { calls += "C"; }

    static inline Status other;
    Status* const report = &other;
    std::string& calls;
    uint32_t const initialized;
    std::atomic<bool> endless = false;
    std::atomic<int> runs = 0;
};

TEST_F(ThreadTest, BeginsEachRunAfreshAndIsJoinedByItsDestructor) {
    std::string calls;
    for (bool const endless : {false, true}) {
        Recorder thread(1, calls);
        EXPECT_EQ(thread.Start(), Thread::STARTED);
        EXPECT_TRUE(Await([&] { return thread.Stopped(); }));
        EXPECT_TRUE(thread.Stop());
        thread.endless = endless;
        EXPECT_EQ(thread.Start(), Thread::STARTED);
        EXPECT_EQ(Thread::SelfStatus()->Code(), 0x00220001u);
        EXPECT_TRUE(Await([&] { return endless ? thread.runs == 2 : thread.Stopped(); }));
    }
    Recorder unlucky(0x80000001, calls);
    for (int round = 0; round < 2; ++round) // it was joined, and may be tried again
        EXPECT_EQ(unlucky.Start(), 0x80220006u);
    EXPECT_EQ(Thread::SelfStatus()->Code(), 0x80220006u);
    EXPECT_EQ(Flags(unlucky), "SC1");
    std::string const name = "name of 18 lett ", run = name + "RC", joined = name + "RI";
    EXPECT_EQ(calls, run + run + run + joined + name + name);
    struct Own : Thread {
        Own()
            : Thread("own") {}
        ReturnT Run() override { return delete this, ReturnT::Done(); }
    };
    EXPECT_EQ((new Own)->Start(), Thread::STARTED);
    EXPECT_TRUE(log_.Await("own"));
    std::string const unstopped = Failed("name of 18 letters", "destroyed unstopped"),
                      failed = Failed("name of 18 letters", "it failed to initialize", "[0x80220006]");
    EXPECT_EQ(log_.Take(), (LinesT{unstopped, unstopped, failed, failed, Failed("own", "destroyed by its own thread")}));
}

TEST_F(ThreadTest, StartReportsFailuresOfTheSystem) {
    struct Row {
        SysCall call;
        int error;
        char const *code, *text, *before; // of the last line, and the one ahead of it
    } const rows[] = {
        // clang-format off
        {SysCall::pthread_attr_init, ENOMEM, "[0x80220004]", "unable to set its attributes up: not enough space", nullptr},
        {SysCall::pthread_attr_setstacksize, EINVAL, "[0x80220004]", "unable to set its attributes up: invalid argument", nullptr},
        {SysCall::pthread_create, EAGAIN, "[0x80220005]", "unable to create it: resource temporarily unavailable", nullptr},
        {SysCall::sigaltstack, ENOMEM, "[0x80220006]", "it failed to initialize", "out of memory [0xcffe****]"},
        {SysCall::sigaltstack, EPERM, "[0x80220006]", "it failed to initialize",
         "system failed [0xcffd****], failed to setup the alternate signal stack: operation not permitted"},
        {SysCall::pthread_getattr_np, ENOENT, nullptr, nullptr,
         "failed to get info about the thread stack: no such file or directory"},
        // clang-format on
    };
    for (Row const& row : rows) {
        Worker thread([] {});
        {
            Calls calls(Calls::ScopeT::PROCESS);
            calls.Script(row.call, {Calls::Fail(row.error)});
            EXPECT_EQ(thread.Start().Failed(), row.code != nullptr);
        }
        EXPECT_EQ(thread.Stop(), !row.code);
        LinesT expected;
        if (row.before) expected.push_back("C Thread: \"worker\": " + std::string(row.before) + ".");
        if (row.code) expected.push_back(Failed("worker", row.text, row.code));
        if (row.code) expected.push_back(Failed("worker", "it does not run"));
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
        EXPECT_EQ(log_.Take(), heap.Fired() ? LinesT{"C Thread: \"worker\": out of memory [0xcffe****]."} : LinesT{});
        if (thread.Initialized()) return;
        thread.SetStop(); // nothing that is called later does harm
        thread.Interrupt();
        thread.ClearInterrupt();
        EXPECT_EQ(thread.Start(), 0x80220001u);
        EXPECT_FALSE(thread.Stop() || thread.Kill(0));
        EXPECT_EQ(Flags(thread) + thread.Name().Cstr(), "SC1");
        std::string const none = "it was not made: no main thread, no name or no memory";
        EXPECT_EQ(log_.Take(), (LinesT{"C Thread: system failed [0x80220001], " + none + ".",
                                       "C Thread: system failed [0xcffd****], " + none + "."}));
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
    EXPECT_EQ(log_.Take(), LinesT{});
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

TEST_F(ThreadTest, InterruptionCanBeMaskedAndStatusReplaced) {
    std::string seen;
    RunInWorker([&] { main_->Interrupt(); });
    for (auto const mask : {Thread::INTERRUPT_MASK, Thread::INTERRUPT_MASK, Thread::INTERRUPT_UNMASK, Thread::INTERRUPT_UNMASK}) {
        Thread::SetInterruptMask(mask);
        seen += std::to_string(Thread::SelfInterrupted()) + Flags(*main_) + " ";
    }
    main_->ClearInterrupt();
    main_->SetStop();
    EXPECT_EQ(seen + Flags(*main_), "01 01 01 1I1 R1");

    Status other;
    Status* const own = Thread::SelfStatus();
    Thread::SetStatus(&other);
    (void)ReturnT(StatusLog(5, Log::INFO, "T", nullptr, ""));
    EXPECT_EQ(other.Code(), 5u);
    EXPECT_NE(own->Code(), 5u);
    EXPECT_EQ(main_->Run(), 5u) << "the main thread answers with its status";
    Thread::SetStatus(nullptr);
    EXPECT_EQ(Thread::SelfStatus(), own);
}

// What the environment of the calling thread says of a key, which is gone then.
std::string Environment(char const* key) {
    String value;
    std::string said = Thread::HasEnvironment(key) ? "has " : "";
    if (Thread::GetEnvironment(key, value)) said += value.Cstr();
    if (Thread::SetEnvironment(key, "new")) said += " set";
    while (Thread::DelEnvironment(key)) said += " del";
    return said;
}

TEST_F(ThreadTest, EnvironmentIsPrivateAndNothingIsThereWithoutAThreadObject) {
    EXPECT_TRUE(Thread::SetEnvironment("k", "main"));
    RunInWorker([] { EXPECT_EQ(Environment("k"), " set del"); });
    std::thread([&] {
        Thread::SetStatus(nullptr);
        Thread::SetInterruptMask(Thread::INTERRUPT_MASK);
        EXPECT_EQ(Environment("k"), "");
        EXPECT_FALSE(Thread::Self() || Thread::SelfStatus() || Thread::SelfInterrupted());
        EXPECT_EQ(Thread::StackAddress() + Thread::StackGuardSize(), 0u);
        EXPECT_TRUE(Sleep(1L));
    }).join();
    ForEveryAllocation([&](Heap& heap) {
        String out;
        heap.Arm();
        bool const ok = Thread::SetEnvironment("new", "value") && Thread::GetEnvironment("new", out);
        heap.Disarm();
        EXPECT_EQ(ok, !heap.Fired());
        Thread::DelEnvironment("new");
    });
    EXPECT_EQ(Environment("k"), "has main set del");
}

TEST_F(ThreadTest, RunsOnStacksOfItsOwnWhereItIsReachedAndListed) {
    static std::atomic<int> signals;
    auto const old = signal(SIGUSR2, [](int) { signals += Thread::Self()->Name() == "worker" ? 1 : 100; });
    Worker thread([] {
        stack_t stack = {};
        EXPECT_EQ(sigaltstack(nullptr, &stack), 0);
        EXPECT_EQ(stack.ss_size, 26624u);
        // A sanitizer may keep the locals elsewhere, but not the frame.
        unsigned long const frame = reinterpret_cast<unsigned long>(__builtin_frame_address(0));
        EXPECT_LT(frame - Thread::StackAddress(), 0xA0000u);
        EXPECT_GT(Thread::StackGuardSize(), 0u);
        ForEveryAllocation([&](Heap& heap) {
            Array<int> tids;
            heap.Arm();
            bool const ok = Thread::GetTids(tids);
            heap.Disarm();
            EXPECT_EQ(ok, !heap.Fired());
            ASSERT_EQ(tids.Size(), ok ? 2u : 0u);
            EXPECT_EQ(ok ? tids[1] : Thread::Id(), Thread::Id());
        });
        EXPECT_TRUE(Await([] { return signals == 1; }));
    });
    EXPECT_EQ(thread.Start(), Thread::STARTED);
    EXPECT_TRUE(thread.Kill(SIGUSR2));
    EXPECT_TRUE(thread.Stop());
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
                thread.Interrupt(), thread.SetStop(), (void)thread.Kill(0);
                EXPECT_TRUE(thread.Stop());
                shared.Stop();
            }
        });
    }
    while (runs < 30) {
        EXPECT_LE(CountTids(), 5u);
        EXPECT_NE(LocksOf("worker").substr(0, 4), "CORE");
        Thread::OwnerId(core);
    }
    for (std::thread& owner : owners) owner.join();
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
