#include "tests/runtime/Worker.h"
#include "workbench/MemoryHog.h"
#include "workbench/Namespace.h"
#include "zeb/event/Bus.h"
#include "zeb/event/LibraryEvents.h"
#include "zeb/util/MemoryPressureWatcher.h"

#include <poll.h>

namespace {

using Linux::MemoryPressureWatcher;

std::string const IDENT = "Linux::MemoryPressureWatcher: \"pot\": ", FAILED = "C " + IDENT + "system failed [0xcffd****]",
                  WARNING = "W " + IDENT + "high memory pressure detected: threshold 10% of ";

// With a file in the place of the kernel's, which takes a trigger, and alarms by script.
struct MonitorTest : WithMainThread {
    MonitorTest() { EXPECT_TRUE(Event::Subscribe(delegate)); }
    ~MonitorTest() override { Event::Unsubscribe(delegate); }
    void SetUp() override {
        ZEB_NEED_ROOT();
        if (char const* const why = MemoryHog::WhyNoPressure()) GTEST_SKIP() << why;
        space.emplace().Bind(dir.Write("monitor", ""), "/proc/pressure/memory");
    }
    void On(Event::MemoryPressure const& event) { heard += event.Status() == Event::MemoryPressure::HIGH; }
    static bool Waits() { return LocksOf("Memory pressure watcher") == "PRE_ULTIMATE WAITING"; }

    std::atomic<unsigned> heard = 0;
    Calls calls{Calls::ScopeT::PROCESS};
    Event::Delegate<MonitorTest, Event::MemoryPressure> const delegate{"test", this, &MonitorTest::On, nullptr};
    AutoPtr<Event::BaseDelegate> mine{delegate.Clone()};
    TempDir dir;
    std::optional<Namespace> space;
};

TEST_F(MonitorTest, AsksForWhatTheKernelCanWatch) {
    std::string const busy = FAILED + ", invalid busy time.", interval = FAILED + ", interval must be within [0,5 ... 10,0] s.";
    std::tuple<long, unsigned long, std::string> const rows[] = {// clang-format off
        {1000000, 10, "some 100000 1000000\n"}, {500000, 10, "some 50000 500000\n"}, {500000, 200, "some 1000000 500000\n"},
        {10000000, 10, "some 1000000 10000000\n"}, {604999, 9, "some 54000 604000\n"}, {1110000, 9, "some 99000 1110000\n"},
        {500000, 5, busy}, {500000, 9, busy}, {500000, 0, busy}, {10000000, 11, busy}, {910000, 110, busy},
        {1000000, 18446744073709562, busy}, {499000, 20, interval}, {499999, 20, interval}, {10000001, 5, interval},
        {11000000, 5, interval}, {-1000000, 10, interval}, {0, 10, interval}};
    // clang-format on
    for (auto const& [microseconds, percentage, expected] : rows) {
        dir.Write("monitor", "");
        mine.Reset(delegate.Clone());
        calls.Script(SysCall::pthread_create, {Calls::Fail(EAGAIN)});
        MemoryPressureWatcher const watcher("pot", mine, percentage, Time::Span(timeval{0, microseconds}));
        calls.Clear();
        std::string const line = log_.Take().back();
        EXPECT_EQ(dir.Read("monitor") + (line == FAILED + "." ? "" : line), expected) << percentage;
        EXPECT_FALSE(watcher.Initialized() || watcher.IsActive() || mine);
    }
}

TEST_F(MonitorTest, StartsAgainAfterAFailure) {
    calls.Script(SysCall::open, {Calls::Fail(ENOENT)});
    MemoryPressureWatcher watcher("pot", mine, 10, 1000);
    EXPECT_EQ(log_.Take().back(), FAILED + ", unable to open monitor file.");
    calls.Script(SysCall::write, {Calls::Fail(EINVAL)});
    EXPECT_FALSE(watcher.Activate() || watcher.Initialized() || watcher.IsActive());
    EXPECT_EQ(log_.Take(), (LinesT{"E Io::PollableFile: \"/proc/pressure/memory\": unable to write data: invalid argument.",
                                   FAILED + ", unable to write to monitor file."}));
    watcher.Proceed(), watcher.Shutdown(); // nothing is there
    EXPECT_TRUE(watcher.Activate() && watcher.Initialized() && watcher.IsActive() && watcher.Activate());
    calls.Script(SysCall::poll, {Calls::Fail(EBADF)});
    EXPECT_TRUE(Await([&] { return !watcher.IsActive(); }));
    EXPECT_EQ(log_.Take(), (LinesT{"E Linux::MemoryPressureWatcher: unable to poll: bad file descriptor.",
                                   FAILED + ", monitor file is gone."}));
    EXPECT_TRUE(watcher.Activate() && watcher.IsActive()) << "in the place of one that has ended";
    watcher.Shutdown();
    EXPECT_TRUE(!watcher.IsActive() && CountTids() == 2 && log_.Take().empty()); // this thread and that of the bus
}

TEST_F(MonitorTest, OneEpisodeIsOneEvent) {
    for (unsigned const aimed : {0, 1}) {
        if (aimed == 0) mine.Reset(); // all who are subscribed
        MemoryPressureWatcher watcher("pot", mine, 10, 1000);
        mine.Reset(delegate.Clone());
        Clock clock;
        auto const alarm = [&](bool isDraining) {
            unsigned long const polls = calls.Count(SysCall::poll);
            clock.Advance(1); // the end of a drain: it looks once more, and waits for the next episode
            EXPECT_TRUE(!isDraining || Await([&] { return calls.Count(SysCall::poll) == polls + 2; }));
            EXPECT_TRUE(clock.AwaitWaiters(1));
            calls.Script(SysCall::poll, {Calls::Ready(POLLPRI)});
            clock.Advance(333);
        };
        auto const hears = [&](unsigned count) { return Await([&] { return heard == aimed * 3 + count; }); };
        alarm(false);
        EXPECT_TRUE(hears(1) && Await(Waits));
        calls.Script(SysCall::poll, {Calls::Ready(POLLPRI)}, 2); // the same episode
        watcher.Proceed();
        EXPECT_TRUE(clock.AwaitWaiters(1) && hears(1) && calls.Left(SysCall::poll) == 0);
        watcher.Proceed(); // kept for the next one
        alarm(true);
        EXPECT_TRUE(hears(2) && clock.AwaitWaiters(1));
        alarm(true);
        EXPECT_TRUE(hears(3) && Await(Waits));
        watcher.Shutdown(); // at once: nobody moves the clock
        EXPECT_EQ(log_.Take(), LinesT(3, WARNING + "1000 ms."));
    }
}

TEST_F(MonitorTest, GoesOnBehindErrorsAndTimeAndWithoutMemory) {
    ForEveryAllocation([this](Heap& heap) {
        mine.Reset(delegate.Clone());
        log_.Clear();
        heap.Arm();
        MemoryPressureWatcher const watcher("pot", mine, 10, 1000);
        heap.Disarm();
        EXPECT_EQ(std::pair(watcher.Initialized(), watcher.IsActive()), std::pair(!heap.Fired(), !heap.Fired()));
        EXPECT_EQ(log_.Has("out of memory") || log_.Has("no memory"), heap.Fired());
    });
    for (unsigned long const failing : {1, 2}) { // an event, a delegate
        mine.Reset(delegate.Clone());
        MemoryPressureWatcher const watcher("pot", mine, 10, 1000);
        Clock clock;
        auto const after = [&](long milliseconds, unsigned long lines) {
            EXPECT_TRUE(clock.AwaitWaiters(1));
            for (; milliseconds > 0; milliseconds -= 333) clock.Advance(std::min(milliseconds, 333L)), clock.AwaitWaiters(1);
            EXPECT_TRUE(Await([&] { return log_.Lines().size() == lines; }));
            return clock.AwaitWaiters(1);
        };
        log_.Clear();
        EXPECT_TRUE(after(1, 0));
        calls.Script(SysCall::poll, {Calls::Ready(POLLERR)});
        EXPECT_TRUE(after(333, 0) && Await([&] { return calls.Left(SysCall::poll) == 0; }) && clock.AwaitWaiters(1));
        unsigned long const polls = calls.Count(SysCall::poll);
        EXPECT_TRUE(after(330, 0) && calls.Count(SysCall::poll) == polls) << "asked again at once";
        Heap heap(failing, Heap::ModeT::FOREVER, Heap::ScopeT::PROCESS);
        heap.Arm();
        EXPECT_TRUE(after(5, 1) && after(3320, 1) && after(15, 2));
        heap.Disarm();
        EXPECT_TRUE(after(3335, 2) && after(3300, 2));
        heap.Arm();
        EXPECT_TRUE(after(40, 3)) << "when time is over an event is made anew";
    }
}

TEST_F(MonitorTest, OfTheKernelTakesTheTrigger) {
    space.reset();
    MemoryPressureWatcher const watcher("pot", mine, 5, 2000);
    EXPECT_TRUE(watcher.Initialized() && watcher.IsActive());
}

TEST_F(MonitorTest, OfTheKernelTellsOfRealPressure) {
    space.reset();
    if (char const* const why = MemoryHog::WhyNot()) GTEST_SKIP() << why;
    MemoryPressureWatcher const watcher("pot", mine, 10, 500);
    MemoryHog const hog;
    EXPECT_TRUE(Await([this] { return heard == 1; }) && log_.Take() == LinesT{WARNING + "500 ms."});
}

} // namespace
