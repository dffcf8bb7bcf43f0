#include "zeb/runtime/Backtrace.h"

#include "tests/runtime/Worker.h"
#include "workbench/Calls.h"
#include "workbench/Heap.h"
#include "zeb/core/Array.h"
#include "zeb/runtime/SignalName.h"

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstring>
#include <poll.h>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

std::vector<std::string> Names(Backtrace const& backtrace) {
    std::vector<std::string> names;
    for (Backtrace::Frame const frame : backtrace) names.emplace_back(frame.Name());
    return names;
}

bool Has(std::vector<std::string> const& names, std::string const& part) {
    for (std::string const& name : names) {
        if (name.find(part) != std::string::npos) return true;
    }
    return false;
}

unsigned volatile sink; // keeps the frames of what would else be tail calls

template<int>
[[gnu::noinline]] void Inner(Backtrace& backtrace, unsigned long skip, Backtrace::Regs* regs) {
    backtrace.GetUser(skip, regs);
    sink = 1;
}

[[gnu::noinline]] void Outer(Backtrace& backtrace, unsigned long skip, Backtrace::Regs* regs = nullptr) {
    Inner<7>(backtrace, skip, regs);
    sink = 1;
}

// Frames of its own for each step.
[[gnu::noinline]] void Deep(Backtrace& backtrace, unsigned depth) {
    if (depth) {
        Deep(backtrace, depth - 1);
    } else {
        Outer(backtrace, 0);
    }
    sink = 1;
}

TEST(Backtrace, NamesTheFramesBehindTheSkippedOnes) {
    for (unsigned long const skip : {0UL, 1UL, 2UL}) {
        for (auto const unwind : {Backtrace::NAMES, Backtrace::LOCATIONS, Backtrace::RAW_NAMES}) {
            Backtrace backtrace(unwind);
            EXPECT_TRUE(backtrace.Empty());
            for (int round = 0; round < 2; ++round) { // again behind Clear()
                Outer(backtrace, skip);
                backtrace.Demangle();
                auto const names = Names(backtrace);
                ASSERT_GE(names.size(), 3u);
                bool const raw = unwind == Backtrace::RAW_NAMES;
                char const* const first[] = {raw ? "5Inner" : "::Inner<7>(Backtrace&, unsigned long, Backtrace::Regs*)",
                                             raw ? "5Outer" : "::Outer(Backtrace&, unsigned long, Backtrace::Regs*)",
                                             "NamesTheFrames"};
                EXPECT_NE(names[0].find(first[skip]), std::string::npos) << names[0];
                EXPECT_EQ(names[0].compare(0, 2, "_Z") == 0, raw);
                EXPECT_TRUE(Has(names, "main")) << skip;
                char self[300] = {};
                ASSERT_GT(readlink("/proc/self/exe", self, sizeof(self) - 1), 0);
                Backtrace::Frame const frame = *backtrace.begin();
                EXPECT_STREQ(frame.Location(), unwind == Backtrace::LOCATIONS ? self : "");
                EXPECT_EQ(frame.LocationOffset() % 4096, unwind == Backtrace::LOCATIONS ? frame.Ip() % 4096 : 0);
                EXPECT_LT(frame.NameOffset(), 30000u);
                EXPECT_STREQ(backtrace.Error(), "");
                EXPECT_STREQ(backtrace.ThreadName(), "<unknown>");
                backtrace.Clear();
                EXPECT_TRUE(backtrace.Empty());
            }
        }
    }
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
    EXPECT_EQ((std::vector<std::string>{all[0], all[1]}), (std::vector<std::string>{"wait()", "a::b()"}));
    auto frame = backtrace.begin();
    EXPECT_STREQ((*frame).Location(), "<kernel>");
    EXPECT_STREQ((*++frame).Location(), "mod");

    Backtrace other(Backtrace::NAMES);
    EXPECT_TRUE(other.GetKernel(1));
    other.GetUser(0, nullptr);
    EXPECT_EQ(other.Error(), "user thread ID mismatch; kernel: 1, user: " + std::to_string(gettid()));
    for (auto const& [steps, good, words] : std::initializer_list<std::tuple<Calls::Step, bool, char const*>>{
             {Calls::Fail(EACCES), true, "permission denied"}, {Calls::Fail(ESRCH), false, "no such process"}}) {
        other.Clear();
        calls.Script(SysCall::read, {steps});
        EXPECT_EQ(other.GetKernel(gettid()), good);
        EXPECT_EQ(other.Error(), std::string("unable to go to a next stack frame: ") + words);
    }
}

TEST(Backtrace, IsTruncatedByItsLimitAndByMemory) {
    Backtrace backtrace(Backtrace::NAMES);
    Deep(backtrace, Backtrace::FRAMES_MAX);
    EXPECT_TRUE(backtrace.Truncated());
    EXPECT_EQ(Names(backtrace).size(), Backtrace::FRAMES_MAX);
    for (unsigned long failing = 1; failing < 4; ++failing) {
        backtrace.Clear();
        Heap heap(failing, Heap::ModeT::FOREVER);
        heap.Arm();
        Deep(backtrace, 400);
        heap.Disarm();
        EXPECT_TRUE(heap.Fired());
        EXPECT_TRUE(backtrace.Truncated());
        EXPECT_GT(Names(backtrace).size(), 20 * failing);
    }
}

TEST(Backtrace, ShowsTheRegistersOfTheFirstFrame) {
    Backtrace backtrace(Backtrace::NAMES);
    Backtrace::Regs regs;
    Outer(backtrace, 0, &regs);
    char ip[17];
    snprintf(ip, sizeof(ip), "%016lx", (*backtrace.begin()).Ip());
#if defined(__aarch64__)
    EXPECT_EQ(std::string(regs.Cstr()).find("   x0: "), 0u);
    EXPECT_NE(strstr(regs.Cstr(), ("\n\n   sp: 0000" + std::string()).c_str()), nullptr);
    EXPECT_NE(strstr(regs.Cstr(), ("      pc: " + std::string(ip) + "\npstate: ").c_str()), nullptr) << regs.Cstr();
    EXPECT_EQ(std::count(regs.Cstr(), strchr(regs.Cstr(), 0), '\n'), 20);
#else
    EXPECT_EQ(std::string(regs.Cstr()).find("  rax: "), 0u);
    EXPECT_NE(strstr(regs.Cstr(), ("     rip: " + std::string(ip) + "\n").c_str()), nullptr) << regs.Cstr();
    EXPECT_EQ(std::count(regs.Cstr(), strchr(regs.Cstr(), 0), '\n'), 10);
#endif
    std::string const before = regs.Cstr();
    backtrace.Clear();
    Deep(backtrace, 3);
    EXPECT_EQ(regs.Cstr(), before);
}

class ThreadBacktrace : public WithMainThread {};

[[gnu::noinline]] void Poll(int fd) {
    pollfd poller = {fd, POLLIN, 0};
    while (poll(&poller, 1, -1) < 0) {
    }
    sink = 1;
}

[[gnu::noinline]] void Spin(std::atomic<bool> const& stop) {
    while (!stop) {
    }
    sink = 1;
}

TEST_F(ThreadBacktrace, NamesTheFunctionThatAnotherThreadSitsIn) {
    int pair[2];
    ASSERT_EQ(pipe(pair), 0);
    std::atomic<bool> stop = false;
    std::atomic<int> there = 0;
    Worker waiting([&] { ++there, Poll(pair[0]); }, "waiting");
    Worker busy([&] { ++there, Spin(stop); }, "busy");
    ASSERT_EQ(waiting.Start(), Thread::STARTED);
    ASSERT_EQ(busy.Start(), Thread::STARTED);
    ASSERT_TRUE(Await([&] { return there == 2; }));
    Clock::RealPause(5); // into the functions
    Array<int> tids;
    ASSERT_TRUE(Thread::GetTids(tids));
    raise(SIGTRAP);                 // of nobody's request
    auto const ask = [&](int tid) { // each thread about all, also about one another
        for (int i = 0; i < 3; ++i) {
            for (auto const& [index, function, name] :
                 {std::tuple{1u, "Poll(int)", "waiting"}, std::tuple{2u, "Spin(", "busy"}}) {
                Backtrace backtrace(Backtrace::NAMES);
                ASSERT_EQ(Thread::GetBacktrace(tids[index], backtrace, nullptr, 0), 0) << tid;
                backtrace.Demangle();
                EXPECT_TRUE(Has(Names(backtrace), function)) << name << ' ' << testing::PrintToString(Names(backtrace));
                EXPECT_STREQ(backtrace.ThreadName(), name);
            }
        }
    };
    Worker first([&] { ask(1); }), second([&] { ask(2); });
    ASSERT_EQ(first.Start(), Thread::STARTED);
    ASSERT_EQ(second.Start(), Thread::STARTED);
    ask(0);
    EXPECT_TRUE(first.Stop() && second.Stop());

    stop = true;
    ASSERT_EQ(write(pair[1], "x", 1), 1);
    EXPECT_TRUE(waiting.Stop() && busy.Stop());
    Backtrace backtrace(Backtrace::NAMES);
    for (int const tid : {0, 1, tids[1]}) EXPECT_EQ(Thread::GetBacktrace(tid, backtrace, nullptr, 0), ESRCH);
    EXPECT_EQ(Thread::GetBacktrace(Thread::TID_SELF, backtrace, nullptr, 0), 0);
    backtrace.Demangle();
    EXPECT_TRUE(Has({Names(backtrace)[0]}, "NamesTheFunctionThatAnotherThreadSitsIn"));
    close(pair[0]);
    close(pair[1]);
}

TEST(SignalName, HasWordsForEachNumber) {
    for (auto const& [number, words] : std::initializer_list<std::pair<int, char const*>>{{0, "unknown signal"},
                                                                                          {1, "hangup"},
                                                                                          {6, "aborted"},
                                                                                          {11, "segmentation fault"},
                                                                                          {16, "stack fault"},
                                                                                          {17, "child process status"},
                                                                                          {31, "bad system call"},
                                                                                          {32, "unknown signal"},
                                                                                          {34, "real-time signal 34"},
                                                                                          {64, "real-time signal 64"},
                                                                                          {65, "unknown signal"},
                                                                                          {-1, "unknown signal"}})
        EXPECT_STREQ(SignalName(number).Cstr(), words);
}

} // namespace
