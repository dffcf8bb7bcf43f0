#include "zeb/stats/ThreadMonitor.h"

#include "tests/runtime/Worker.h"
#include "tests/stats/Printed.h"
#include "tests/support/Calls.h"
#include "tests/support/Clock.h"
#include "tests/support/Heap.h"
#include "zeb/core/Time.h"

#include <cerrno>
#include <memory>
#include <regex>
#include <unistd.h>
#include <vector>

namespace {

struct Monitor : Thread::Monitor {
    Monitor()
        : Thread::Monitor(5) {}
    ~Monitor() override { Deactivate(); }

    char const* Name() const override { return "monitor"; }
    using Thread::Monitor::OnStatsAlarm_;
};

using ThreadMonitorTest = WithMainThread;

// What the monitor says of a thread, the times as T.
std::string Statistics(Monitor const& monitor, int tid) {
    Xml::Document document;
    EXPECT_TRUE(monitor.AttachTo(tid, document).Succeeded());
    return std::regex_replace(Printed(document), std::regex("<now>[0-9.]+</now>"), "<now>T</now>");
}

unsigned long Figure(std::string const& text, char const* name) {
    std::smatch match;
    EXPECT_TRUE(std::regex_search(text, match, std::regex(std::string("<") + name + ">([0-9]+)</"))) << text;
    return match.empty() ? 0 : std::stoul(match[1]);
}

void Burn(long milliseconds) {
    timespec time;
    do {
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    } while (time.tv_sec * 1000 + time.tv_nsec / 1000000 < milliseconds);
}

TEST_F(ThreadMonitorTest, ShowsTheLoadOfEachThreadAndOfTheProcess) {
    Clock clock;
    Monitor monitor;
    EXPECT_TRUE(monitor.Initialized());
    EXPECT_EQ(monitor.Period(), Time::Span(1000));
    std::binary_semaphore go(0);
    std::binary_semaphore burnt(0);
    int tid = 0;
    Worker worker([&] {
        go.acquire();
        tid = Thread::Id();
        Burn(100);
        burnt.release();
        go.acquire();
    });
    ASSERT_EQ(worker.Start(), Thread::STARTED);
    monitor.OnStatsAlarm_(); // the base
    clock.Advance(1000);
    go.release();
    burnt.acquire();
    for (int i = 0; i < 2; ++i) {
        monitor.OnStatsAlarm_();
        clock.Advance(1000);
    }
    std::string const text = Statistics(monitor, tid);
    EXPECT_TRUE(std::regex_match(
        text, std::regex("<statistics><interval>1</interval><cpu><now>T</now><min>0</min>"
                         "<max>(9|1.)</max><avg>[4-9]</avg><cur>0</cur></cpu></statistics>")))
        << text;
    std::string const process = Statistics(monitor, Thread::TID_UNKNOWN);
    unsigned long const processors = static_cast<unsigned long>(sysconf(_SC_NPROCESSORS_ONLN));
    EXPECT_GE(Figure(process, "max"), 9 / processors);
    EXPECT_EQ(Figure(Statistics(monitor, Thread::Id()), "max") > 8, false); // the main thread slept
    go.release();
    EXPECT_TRUE(worker.Stop());
    EXPECT_EQ(Statistics(monitor, tid), process); // there is no such thread any more
    { Monitor const second; }                     // its end clears the samples of all threads
    EXPECT_EQ(Figure(Statistics(monitor, Thread::Id()), "interval"), 0u);
    EXPECT_EQ(Statistics(monitor, Thread::TID_UNKNOWN), process);
}

TEST_F(ThreadMonitorTest, AThreadWithoutAClockIsLeftOutOrNotStarted) {
    Monitor monitor;
    Calls calls;
    log_.Clear();
    calls.Script(SysCall::clock_gettime, {Calls::Fail(EINVAL)});
    monitor.OnStatsAlarm_();
    monitor.OnStatsAlarm_();
    EXPECT_EQ(log_.Take(),
              LogCapture::LinesT({"E Thread: failed to get thread Main statistics: invalid argument."}));
    Calls elsewhere(Calls::ScopeT::PROCESS);
    elsewhere.Script(SysCall::pthread_getcpuclockid, {Calls::Fail(ENOENT), Calls::Fail(ESRCH)});
    for (unsigned long const lines : {1, 1}) {
        Worker worker([] {});
        EXPECT_EQ(worker.Start(), 0x80220006u);
        EXPECT_EQ(log_.Count("E Thread: failed to bind thread worker statistics: no such file or directory."),
                  lines);
    }
}

TEST_F(ThreadMonitorTest, ReportsExhaustedMemory) {
    Monitor const first; // keeps the thread of the collectors
    ForEveryAllocation([&](Heap& heap) {
        heap.Arm();
        Monitor const monitor;
        heap.Disarm();
        EXPECT_EQ(monitor.Initialized(), !heap.Fired());
    });
    ForEveryAllocation([&](Heap& heap) {
        Xml::Document document;
        document.AllocateString(std::string(1900, 'x').c_str(), 0);
        heap.Arm();
        ReturnT const code = Thread::AttachThreadsTo(first, document);
        heap.Disarm();
        EXPECT_EQ(code == 0x0022012Cu, !heap.Fired());
        EXPECT_EQ(code.IsOom(), heap.Fired());
        EXPECT_EQ(Thread::SelfStatus()->Code(), code);
    });
}

// Answers with the id.
struct Echo : Monitor {
    ReturnT AttachTo(int tid, Xml::Node& node) const override {
        node.AppendElement("load", tid);
        return result;
    }
    ReturnT result = ReturnT::Done();
};

TEST_F(ThreadMonitorTest, AThreadIsPrintedInFull) {
    Clock clock;
    Echo echo;
    Array<Thread::Lock> locks;
    Time::Span const now = Time::Monotonic();
    ASSERT_TRUE(
        locks.PushBack(Thread::Lock(Mutex::CACHE, Thread::Lock::ACQUIRED, {"Nov  6 08:49:37"}, now)) &&
        locks.PushBack(Thread::Lock(Mutex::CORE, Thread::Lock::RELEASED, {}, now)));
    Thread::State const state("a<b", 42, false, std::move(locks));
    Xml::Document document;
    clock.Advance(1500);
    EXPECT_TRUE(state.AttachTo(echo, document));
    EXPECT_EQ(document.FirstNode()->DataType(), Xml::Base::DATA_ARRAY);
    EXPECT_EQ(Printed(document),
              "<thread><name>a&lt;b</name><tid>42</tid><lock_list_complete>no</lock_list_complete><locks>"
              "<lock><precedence><name>CACHE</name><order>2</order></precedence><state>ACQUIRED</state>"
              "<since>Nov  6 08:49:37</since><duration>1.500000</duration></lock>"
              "<lock><precedence><name>CORE</name><order>28</order></precedence><state>RELEASED</state>"
              "<since/><duration>1.500000</duration></lock></locks>"
              "<backtrace><calls><![CDATA[]]></calls><error/></backtrace><load>42</load></thread>");
    echo.result = ReturnT::Fail();
    EXPECT_FALSE(state.AttachTo(echo, document));
    EXPECT_TRUE(Thread::AttachThreadsTo(echo, document).IsOom());
}

TEST_F(ThreadMonitorTest, ThreadsStandInTheOrderOfTheirTopLocks) {
    Clock clock;
    Echo echo;
    std::vector<std::unique_ptr<Worker>> workers;
    std::counting_semaphore<> leave(0);
    std::counting_semaphore<> ready(0);
    Mutex const locks[] = {Mutex(Mutex::CACHE), Mutex(Mutex::CORE)};
    auto const holder = [&](Mutex const* lock) {
        return [&, lock] {
            if (lock && !lock->Lock()) return;
            ready.release();
            leave.acquire();
            if (lock) lock->Unlock();
        };
    };
    auto const start = [&](std::function<void()> body, char const* name) {
        workers.push_back(std::make_unique<Worker>(std::move(body), name));
        ASSERT_EQ(workers.back()->Start(), Thread::STARTED);
        clock.Advance(1000);
    };
    start(holder(&locks[0]), "oldest");
    ready.acquire();
    start([&] { Mutex::Guard const guard(locks[0]); }, "blocked");
    start(holder(&locks[1]), "later");
    start(holder(nullptr), "free");
    for (int i = 0; i < 2; ++i)
        ready.acquire();
    std::string names;
    for (int i = 0; i < 2000 && names != " Main free Statistics collector thread blocked later oldest"; ++i) {
        Xml::Document document;
        names.clear();
        EXPECT_EQ(Thread::AttachThreadsTo(echo, document), 0x0022012Cu);
        EXPECT_EQ(document.FirstNode()->Name(), "threads");
        for (Xml::Node* node = document.FirstNode()->FirstNode(); node; node = node->NextSibling())
            names += std::string(" ") + node->FirstNode("name")->Value().Cstr();
        Clock::RealPause(1);
    }
    EXPECT_EQ(names,
              " Main free Statistics collector thread blocked later oldest"); // the collectors' one waits
    leave.release(3);
    for (auto const& worker : workers)
        EXPECT_TRUE(worker->Stop());
}

} // namespace
