#include "zeb/runtime/Thread.h"

#include "tests/runtime/Worker.h"

#include <sys/prctl.h>

namespace {

using ThreadTest = WithMainThread;

std::string Failed(std::string const& name, std::string const& text, std::string const& code = "[0xcffd****]") {
    return "C Thread: \"" + name + "\": system failed " + code + ", " + text + ".";
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
    // Start, stoP, Interrupt, Clear that, Request the stop, Kill, let it End by itself; codes by their last digit.
    std::string transcript;
    for (char const operation : std::string("PIRKSSIKCPSESPSRP")) {
        transcript += operation;
        if (operation == 'S') transcript += std::to_string(thread.Start().Code() & 0xF);
        if (operation == 'P') transcript += std::to_string(thread.Stop());
        if (operation == 'K') transcript += std::to_string(thread.Kill(0));
        if (operation == 'I') thread.Interrupt();
        if (operation == 'C') thread.ClearInterrupt();
        if (operation == 'R') thread.SetStop();
        EXPECT_TRUE(operation != 'E' || (end.release(), Await([&] { return thread.Stopped(); })));
        if (operation != 'R' || !thread.StopRequested()) transcript += Flags(thread) + " ";
    }
    EXPECT_EQ(transcript, "P0SC1 ISC1 RSC1 K0SC1 S1C2 S2C2 IIC2 K1IC2 CC2 P1SC1 S1C2 ESC1 S2SC1 P1SC1 S1C2 RP1SC1 ");
    std::string const running = Failed("worker", "it runs already", "[0x80220002]"), start = "a thread cannot start itself";
    EXPECT_EQ(main_->Start(), 0x80220003u);
    RunInWorker([&] {
        Thread& self = *Thread::Self();
        EXPECT_TRUE(self.Start() == 0x80220003 && (self.Interrupt(), !self.Stop()) && !self.IsInterrupted() && !main_->Stop());
    });
    EXPECT_EQ(log_.Take(),
              (LinesT{Failed("worker", "it does not run"), running, running, Failed("Main", start, "[0x80220003]"),
                      Failed("worker", start, "[0x80220003]"), Failed("worker", "a thread cannot interrupt itself"),
                      Failed("worker", "a thread cannot stop itself"), Failed("Main", "the main thread cannot be stopped")}));
}

// Notes the order of what is called in the thread.
struct Recorder : Thread {
    explicit Recorder(uint32_t result)
        : Thread("name of 18 letters")
        , initialized(result) {}
    ReturnT Initialize() override {
        char name[16] = {};
        prctl(PR_GET_NAME, name);
        calls += std::string(name) + (SelfStatus() == report ? " again " : " ");
        return StatusLog(initialized, Log::INFO, "Recorder", nullptr, "");
    }
    // One that its destructor joins runs on in what is left of the object.
    __attribute__((no_sanitize("vptr"))) ReturnT Run() override {
        calls += Self() == this && SelfStatus()->Code() == initialized ? "R" : "?";
        for (++runs; endless && !SelfInterrupted();) Clock::RealPause(1);
        if (endless) calls += "I";
        return SetStatus(report), SetInterruptMask(INTERRUPT_MASK), ReturnT::Done();
    }
    void Cleanup() override { calls += "C"; }

    static inline Status other;
    static inline std::string calls;
    Status* const report = &other;
    uint32_t const initialized;
    std::atomic<int> endless = 0, runs = 0;
};

TEST_F(ThreadTest, BeginsEachRunAfreshAndIsJoinedByItsDestructor) {
    for (bool const endless : {false, true}) {
        Recorder thread(1);
        EXPECT_TRUE(thread.Start() == Thread::STARTED && Await([&] { return thread.Stopped(); }) && thread.Stop());
        thread.endless = endless;
        EXPECT_TRUE(thread.Start() == Thread::STARTED && Thread::SelfStatus()->Code() == 0x00220001);
        EXPECT_TRUE(Await([&] { return endless ? thread.runs == 2 : thread.Stopped(); }));
    }
    Recorder unlucky(0x80000001); // it is joined, and may be tried again
    for (int round = 0; round < 2; ++round) EXPECT_EQ(unlucky.Start(), 0x80220006u);
    EXPECT_EQ(Flags(unlucky) + std::to_string(Thread::SelfStatus()->Code() == 0x80220006), "SC11");
    std::string const name = "name of 18 lett ", run = name + "RC", joined = name + "RI";
    EXPECT_EQ(Recorder::calls, run + run + run + joined + name + name);
    Worker* const own = new Worker([&] { delete own; }, "own");
    EXPECT_TRUE(own->Start() == Thread::STARTED && log_.Await("own"));
    std::string const unstopped = Failed("name of 18 letters", "destroyed unstopped"),
                      failed = Failed("name of 18 letters", "it failed to initialize", "[0x80220006]");
    EXPECT_EQ(log_.Take(), (LinesT{unstopped, unstopped, failed, failed, Failed("own", "destroyed by its own thread")}));
}

TEST_F(ThreadTest, StartReportsFailuresOfTheSystem) {
    std::tuple<char const*, std::string, std::string, std::string> const rows[] = {
        // code, why it failed, and the line before
        // clang-format off
        {"pthread_attr_init 0 ENOMEM", "[0x80220004]", "unable to set its attributes up: not enough space", ""},
        {"pthread_attr_setstacksize 0 EINVAL", "[0x80220004]", "unable to set its attributes up: invalid argument", ""},
        {"pthread_create 0 EAGAIN", "[0x80220005]", "unable to create it: resource temporarily unavailable", ""},
        {"sigaltstack 0 ENOMEM", "[0x80220006]", "it failed to initialize", "out of memory [0xcffe****]"},
        {"sigaltstack 0 EPERM", "[0x80220006]", "it failed to initialize",
         "system failed [0xcffd****], failed to setup the alternate signal stack: operation not permitted"},
        {"pthread_getattr_np 0 ENOENT", "", "", "failed to get info about the thread stack: no such file or directory"}};
    // clang-format on
    for (auto const& [call, code, text, before] : rows) {
        Worker thread([] {});
        Calls calls(Calls::ScopeT::PROCESS);
        calls.ScriptFailure(call);
        EXPECT_EQ(thread.Start().Failed(), !code.empty());
        calls.Clear();
        EXPECT_EQ(thread.Stop(), code.empty());
        LinesT expected(before.empty() ? 0 : 1, "C Thread: \"worker\": " + before + ".");
        if (!code.empty()) expected.insert(expected.end(), {Failed("worker", text, code), Failed("worker", "it does not run")});
        EXPECT_EQ(log_.Take(), expected);
        EXPECT_TRUE(thread.Start() == Thread::STARTED && thread.Stop()) << "nothing is left behind";
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
        thread.SetStop(), thread.Interrupt(), thread.ClearInterrupt(); // nothing that is called later does harm
        EXPECT_TRUE(thread.Start() == 0x80220001 && !thread.Stop() && !thread.Kill(0));
        EXPECT_EQ(Flags(thread) + thread.Name().Cstr(), "SC1");
        std::string const none = ", it was not made: no main thread, no name or no memory.", failed = "C Thread: system failed ";
        EXPECT_EQ(log_.Take(), (LinesT{failed + "[0x80220001]" + none, failed + "[0xcffd****]" + none}));
    });
    auto const start = [](Heap& heap) {
        Worker thread([] {});
        ReturnT code;
        Reported(heap, [&] { return (code = thread.Start()) == Thread::STARTED; });
        EXPECT_TRUE(heap.Fired() ? code == Thread::INITIALIZE_FAILED && !thread.Stop() : thread.Stop());
    };
    ForEveryAllocation(start, Heap::ScopeT::PROCESS);
}

TEST_F(ThreadTest, NeedsANameAndAMainThreadWhichReportsOnStandardError) {
    EXPECT_FALSE(Worker([] {}, "").Initialized() || ThreadMain::New("second"));
    main_.Reset();
    EXPECT_FALSE(Worker([] {}).Initialized());
    EXPECT_EQ(log_.TakeText(), "C Thread: system failed [0xcffd****], a thread needs a name.\n");
    std::string said;
    for (char const* const call : {"pthread_getattr_np 0 ENOMEM", "sigaltstack 0 ENOMEM", "sigaction 0 ENOMEM"}) {
        OutputCapture errors(2);
        Calls calls;
        calls.ScriptFailure(call);
        EXPECT_FALSE(ThreadMain::New("id") || Thread::Self());
        said += errors.Finish();
    }
    EXPECT_EQ(said, "Main: failed to get info about the thread stack: not enough space\n"
                    "id: failed to setup the alternate signal stack: not enough space\n"
                    "id: failed to setup a trace signal handler: not enough space.\n");
    OutputCapture const errors(2);
    ForEveryAllocation(
        [](Heap& heap) { Reported(heap, [] { return static_cast<bool>(AutoPtr<ThreadMain>(ThreadMain::New("id"))); }); });
}

TEST_F(ThreadTest, InterruptionCanBeMaskedAndStatusReplaced) {
    std::string seen;
    RunInWorker([&] { main_->Interrupt(); });
    for (auto const mask : {Thread::INTERRUPT_MASK, Thread::INTERRUPT_MASK, Thread::INTERRUPT_UNMASK, Thread::INTERRUPT_UNMASK}) {
        Thread::SetInterruptMask(mask);
        seen += std::to_string(Thread::SelfInterrupted()) + Flags(*main_) + " ";
    }
    main_->ClearInterrupt(), main_->SetStop();
    EXPECT_EQ(seen + Flags(*main_), "01 01 01 1I1 R1");

    Status other;
    Status* const own = Thread::SelfStatus();
    Thread::SetStatus(&other);
    (void)ReturnT(StatusLog(5, Log::INFO, "T", nullptr, ""));
    EXPECT_TRUE(other.Code() == 5 && own->Code() != 5 && main_->Run() == 5) << "the main thread answers with its status";
    EXPECT_EQ((Thread::SetStatus(nullptr), Thread::SelfStatus()), own);
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
        Thread::SetStatus(nullptr), Thread::SetInterruptMask(Thread::INTERRUPT_MASK);
        EXPECT_EQ(Environment("k"), "");
        EXPECT_FALSE(Thread::Self() || Thread::SelfStatus() || Thread::SelfInterrupted() || !Sleep(1L));
        EXPECT_EQ(Thread::StackAddress() + Thread::StackGuardSize(), 0u);
    }).join();
    ForEveryAllocation([&](Heap& heap) {
        String out;
        Reported(heap, [&] { return Thread::SetEnvironment("new", "value") && Thread::GetEnvironment("new", out); });
        Thread::DelEnvironment("new");
    });
    EXPECT_EQ(Environment("k"), "has main set del");
}

TEST_F(ThreadTest, RunsOnStacksOfItsOwnWhereItIsReachedAndListed) {
    static std::atomic<int> signals;
    auto const old = signal(SIGUSR2, [](int) { signals += Thread::Self()->Name() == "worker" ? 1 : 100; });
    Worker thread([] {
        stack_t stack = {};
        EXPECT_TRUE(sigaltstack(nullptr, &stack) == 0 && stack.ss_size == 26624) << stack.ss_size;
        // A sanitizer may keep the locals elsewhere, but not the frame.
        unsigned long const frame = reinterpret_cast<unsigned long>(__builtin_frame_address(0));
        EXPECT_TRUE(frame - Thread::StackAddress() < 0xA0000 && Thread::StackGuardSize() > 0);
        ForEveryAllocation([&](Heap& heap) {
            Array<int> tids;
            bool const ok = Reported(heap, [&] { return Thread::GetTids(tids); });
            EXPECT_TRUE(ok ? tids.Size() == 2 && tids[1] == Thread::Id() : tids.Size() == 0);
        });
        EXPECT_TRUE(Await([] { return signals == 1; }));
    });
    EXPECT_TRUE(thread.Start() == Thread::STARTED && thread.Kill(SIGUSR2) && thread.Stop());
    signal(SIGUSR2, old);
}

TEST_F(ThreadTest, LifeOfManyThreadsMayRaceAndBeReadMeanwhile) {
    Mutex cache(Mutex::CACHE), core(Mutex::CORE);
    std::atomic<int> runs = 0, starts = 0;
    auto const run = [&] {
        Mutex::Guard const below(cache), above(core);
        ++runs;
    };
    Worker shared(run);
    auto const own = [&] {
        for (int round = 0; round < 10; ++round) {
            Worker thread(run);
            starts += (thread.Start() == Thread::STARTED) + (shared.Start() == Thread::STARTED);
            thread.Interrupt(), thread.SetStop(), (void)thread.Kill(0), shared.Stop();
            EXPECT_TRUE(thread.Stop());
        }
    };
    std::thread owners[] = {std::thread(own), std::thread(own), std::thread(own)}; // without Thread objects
    while (runs < 30) {
        EXPECT_TRUE(CountTids() < 6 && !LocksOf("worker").starts_with("CORE"));
        Thread::OwnerId(core);
    }
    for (std::thread& owner : owners) owner.join();
    EXPECT_TRUE(runs == starts && runs > 30) << runs << ' ' << starts;
}

TEST_F(ThreadTest, SleepEndsAtItsTimeOrWithAnInterruption) {
    for (long const milliseconds : {0L, -5L, 1L, 333L, 1000L}) {
        Clock const clock(Clock::ModeT::AUTO);
        EXPECT_TRUE(Sleep(milliseconds));
        EXPECT_NEAR(static_cast<double>(clock.Moved()) / 1e6, milliseconds > 0 ? milliseconds : 0, 0.01);
    }
    Clock clock;
    std::atomic<bool> slept = true;
    Worker thread([&] { slept = Sleep(10000L) || Sleep(10000L); }); // the second one at once, without a wait
    ASSERT_TRUE(thread.Start() == Thread::STARTED && clock.AwaitWaiters(1));
    thread.Interrupt(), clock.Advance(333);
    EXPECT_TRUE(thread.Stop() && !slept);
}

} // namespace
