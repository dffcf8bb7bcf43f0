#include "zeb/runtime/Backtrace.h"

#include "tests/runtime/Worker.h"
#include "zeb/runtime/Condition.h"
#include "zeb/runtime/SignalName.h"

#include <algorithm>
#include <poll.h>
#include <regex>

namespace {

std::vector<std::string> Names(Backtrace const& backtrace) {
    std::vector<std::string> names;
    for (Backtrace::Frame const frame : backtrace) names.emplace_back(frame.Name());
    return names;
}

bool Has(std::vector<std::string> const& names, std::string const& part) {
    return std::any_of(names.begin(), names.end(), [&](auto const& name) { return name.find(part) != std::string::npos; });
}

std::atomic<unsigned> sink; // keeps the frames of what would else be tail calls

template<int>
[[gnu::noinline]] void Inner(Backtrace& backtrace, unsigned long skip, Backtrace::Regs* regs) {
    backtrace.GetUser(skip, regs), sink = 1;
}

[[gnu::noinline]] void Outer(Backtrace& backtrace, unsigned long skip, Backtrace::Regs* regs = nullptr) {
    Inner<7>(backtrace, skip, regs), sink = 1;
}

// Frames of its own for each step.
[[gnu::noinline]] void Deep(Backtrace& backtrace, unsigned depth) {
    (depth ? Deep(backtrace, depth - 1) : Outer(backtrace, 0)), sink = 1;
}

TEST(Backtrace, NamesTheFramesBehindTheSkippedOnes) {
    char self[300] = {};
    ASSERT_GT(readlink("/proc/self/exe", self, sizeof(self) - 1), 0);
    for (auto const unwind : {Backtrace::NAMES, Backtrace::LOCATIONS, Backtrace::RAW_NAMES}) {
        Backtrace backtrace(unwind);
        bool const raw = unwind == Backtrace::RAW_NAMES, located = unwind == Backtrace::LOCATIONS;
        char const* const first[] = {raw ? "5Inner" : "::Inner<7>(Backtrace&, unsigned long, Backtrace::Regs*)",
                                     raw ? "5Outer" : "::Outer(Backtrace&, unsigned long, Backtrace::Regs*)", "NamesTheFrames"};
        for (unsigned long const skip : {0UL, 1UL, 2UL}) { // again behind Clear()
            EXPECT_TRUE(backtrace.Empty());
            Outer(backtrace, skip), backtrace.Demangle();
            auto const names = Names(backtrace);
            ASSERT_GE(names.size(), 3u);
            EXPECT_TRUE(Has({names[0]}, first[skip]) && Has(names, "main")) << testing::PrintToString(names);
            EXPECT_EQ(names[0].compare(0, 2, "_Z") == 0, raw);
            Backtrace::Frame const frame = *backtrace.begin();
            EXPECT_EQ(std::string(frame.Location()) + "|" + backtrace.Error() + "|" + backtrace.ThreadName(),
                      std::string(located ? self : "") + "||<unknown>");
            EXPECT_TRUE(frame.LocationOffset() % 4096 == (located ? frame.Ip() % 4096 : 0) && frame.NameOffset() < 30000);
            backtrace.Clear();
        }
    }
}

TEST(Backtrace, NamesTheFileWhereThereIsNoSymbol) {
    Calls calls;
    calls.Script(SysCall::open, {Calls::Real(), Calls::Fail(EACCES)}); // of the mappings, of the symbols
    Backtrace backtrace(Backtrace::LOCATIONS);
    Outer(backtrace, 0);
    Backtrace::Frame const frame = *backtrace.begin();
    EXPECT_EQ(frame.Name() + std::to_string(frame.NameOffset()), "<runtime_test>" + std::to_string(frame.LocationOffset()));
    EXPECT_TRUE(Has({Names(backtrace)[1]}, "Outer")) << testing::PrintToString(Names(backtrace));
}

// By way of functions of libc that have no names.
TEST(Backtrace, GoesOnBehindALibraryWithoutSymbols) {
    static Backtrace backtrace(Backtrace::NAMES);
    int numbers[] = {2, 1};
    qsort(numbers, 2, sizeof(int), [](void const*, void const*) { return Outer(backtrace, 0), 0; });
    backtrace.Demangle();
    auto const names = Names(backtrace);
    auto const end = std::find_if(names.begin(), names.end(), [](auto const& name) { return name.ends_with("::TestBody()"); });
    EXPECT_TRUE(end != names.end() && Has({end - 2, end}, "qsort") && Has(names, "main")) << testing::PrintToString(names);
}

TEST(Backtrace, TakesEachSideOnceAndOfOneThread) {
    Backtrace backtrace(Backtrace::NAMES);
    Outer(backtrace, 0);
    auto const names = Names(backtrace);
    Outer(backtrace, 0);
    EXPECT_STREQ(backtrace.Error(), "a user space call stack collected already");
    EXPECT_FALSE(backtrace.GetKernel(1));
    EXPECT_EQ(backtrace.Error(), "kernel thread ID mismatch; kernel: 1, user: " + std::to_string(gettid()));
    EXPECT_EQ(Names(backtrace), names);

    Calls calls;
    calls.Script(SysCall::read, {Calls::Data("[<1>] wait+0x1/0x2\n[<2>] _ZN1a1bEv+0x1/0x2 [mod]\n[<3>] bad\n")});
    EXPECT_TRUE(backtrace.GetKernel(gettid()));
    EXPECT_STREQ(backtrace.Error(), "unable to get a stack frame: illegal byte sequence");
    EXPECT_FALSE(backtrace.GetKernel(gettid()));
    EXPECT_STREQ(backtrace.Error(), "a kernel call stack collected already");
    backtrace.Demangle();
    auto const all = Names(backtrace);
    ASSERT_EQ(all.size(), names.size() + 2);
    std::string frames;
    for (auto at = backtrace.begin(); !Has({frames}, "mod"); ++at) frames += (*at).Location() + std::string(" ");
    EXPECT_EQ(frames + all[0] + " " + all[1], "<kernel> mod wait() a::b()");

    Backtrace other(Backtrace::NAMES);
    EXPECT_TRUE(other.GetKernel(1));
    other.GetUser(0, nullptr);
    EXPECT_EQ(other.Error(), "user thread ID mismatch; kernel: 1, user: " + std::to_string(gettid()));
    for (bool const denied : {true, false}) {
        other.Clear();
        calls.Script(SysCall::read, {Calls::Fail(denied ? EACCES : ESRCH)});
        EXPECT_EQ(other.GetKernel(gettid()), denied);
        std::string const error = denied ? "permission denied" : "no such process";
        EXPECT_EQ(other.Error(), "unable to go to a next stack frame: " + error);
    }
}

TEST(Backtrace, IsTruncatedByItsLimitAndByMemory) {
    Backtrace backtrace(Backtrace::NAMES);
    Deep(backtrace, Backtrace::FRAMES_MAX);
    EXPECT_TRUE(backtrace.Truncated() && Names(backtrace).size() == Backtrace::FRAMES_MAX);
    for (unsigned long failing = 1; failing < 4; ++failing) {
        backtrace.Clear();
        Heap heap(failing, Heap::ModeT::FOREVER);
        heap.Arm(), Deep(backtrace, 400), heap.Disarm();
        EXPECT_TRUE(heap.Fired() && backtrace.Truncated() && Names(backtrace).size() > 20 * failing);
    }
}

TEST(Backtrace, ShowsTheRegistersOfTheFirstFrame) {
    Backtrace backtrace(Backtrace::NAMES);
    Backtrace::Regs regs;
    Outer(backtrace, 0, &regs);
    char form[99];
#if defined(__aarch64__)
    char const* const text = "   x0: (.*\n){16}\n   sp: 0000.*      pc: %016lx\npstate: (.*\n){2}";
#else
    char const* const text = "  rax: (.*\n){8}\n.*     rip: %016lx\n";
#endif
    snprintf(form, sizeof form, text, (*backtrace.begin()).Ip());
    std::string const before = regs.Cstr();
    EXPECT_TRUE(std::regex_match(before, std::regex(form))) << before;
    backtrace.Clear(), Deep(backtrace, 3);
    EXPECT_EQ(regs.Cstr(), before);
}

using ThreadBacktrace = WithMainThread;

[[gnu::noinline]] void Poll(pollfd* one) {
    for (int ready = -1; ready < 0; sink = 1) ready = poll(one, 1, -1);
}
[[gnu::noinline]] void Sit(Condition const& held, bool const& stop) {
    while (!stop) held.Wait(-1L), sink = 1;
}
[[gnu::noinline]] void Spin(std::atomic<bool> const& stop) {
    for (; !stop; sink = 1) {
    }
}

TEST_F(ThreadBacktrace, NamesTheFunctionThatAnotherThreadSitsIn) {
    int pair[2];
    ASSERT_EQ(pipe(pair), 0);
    pollfd poller = {pair[0], POLLIN, 0};
    std::atomic<bool> stop = false;
    std::atomic<int> there = 0;
    bool signalled = false;
    Condition const lock(Mutex::CACHE);
    auto const sit = [&] {
        Mutex::Guard const guard(lock);
        ++there, Sit(lock, signalled);
    };
    Worker waiting([&] { ++there, Poll(&poller); }, "waiting"), busy([&] { ++there, Spin(stop); }, "busy"),
        sitting(sit, "sitting");
    for (Worker* const worker : {&waiting, &busy, &sitting}) ASSERT_EQ(worker->Start(), Thread::STARTED);
    ASSERT_TRUE(Await([&] { return there == 3; }));
    Array<int> tids;
    ASSERT_TRUE((Clock::RealPause(5), Thread::GetTids(tids))); // into the functions
    std::pair<char const*, char const*> const threads[] = {{"waiting", "Poll("}, {"busy", "Spin("}, {"sitting", "Sit("}};
    raise(SIGTRAP);                 // of nobody's request
    auto const ask = [&](int tid) { // each thread about all, also about one another
        for (int i = 0; i < 6; ++i) {
            auto const& [name, function] = threads[i % 3];
            Backtrace backtrace(Backtrace::NAMES);
            ASSERT_EQ(Thread::GetBacktrace(tids[static_cast<unsigned long>(i % 3 + 1)], backtrace, nullptr, 0), 0) << tid;
            backtrace.Demangle();
            EXPECT_TRUE(Has(Names(backtrace), function) && backtrace.ThreadName() == std::string(name))
                << testing::PrintToString(Names(backtrace));
        }
    };
    Worker first([&] { ask(1); }), second([&] { ask(2); });
    ASSERT_TRUE(first.Start() == Thread::STARTED && second.Start() == Thread::STARTED);
    ask(0);
    EXPECT_TRUE(first.Stop() && second.Stop());

    lock.Lock(), stop = signalled = true, lock.Broadcast(), lock.Unlock();
    EXPECT_TRUE(write(pair[1], "x", 1) == 1 && waiting.Stop() && busy.Stop() && sitting.Stop());
    Backtrace backtrace(Backtrace::NAMES);
    for (int const tid : {0, 1, tids[1], Thread::TID_SELF})
        EXPECT_EQ(Thread::GetBacktrace(tid, backtrace, nullptr, 0), tid == Thread::TID_SELF ? 0 : ESRCH);
    backtrace.Demangle();
    EXPECT_TRUE(Has({Names(backtrace)[0]}, "NamesTheFunctionThatAnotherThreadSitsIn"));
    close(pair[0]), close(pair[1]);
}

TEST(SignalName, HasWordsForEachNumber) {
    std::string words;
    for (int const number : {1, 6, 11, 16, 17, 31, 34, 64, 0, 32, 65, -1}) words += SignalName(number).Cstr() + std::string("|");
    EXPECT_EQ(words, "hangup|aborted|segmentation fault|stack fault|child process status|bad system call|real-time signal 34|"
                     "real-time signal 64|unknown signal|unknown signal|unknown signal|unknown signal|");
}

} // namespace
