#include "zeb/stats/ThreadMonitor.h"

#include "tests/runtime/Worker.h"
#include "tests/stats/Printed.h"
#include "tests/support/Calls.h"
#include "tests/support/Clock.h"
#include "tests/support/Heap.h"
#include "zeb/core/Time.h"

#include <cerrno>
#include <memory>
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

struct Load {
    Load(Monitor const& monitor, int tid) {
        Xml::Document document;
        EXPECT_TRUE(monitor.AttachTo(tid, document).Succeeded());
        EXPECT_EQ(sscanf(Printed(document).c_str(),
                         "<statistics><interval>%u</interval><cpu><now>%lf</now><min>%u</min><max>%u</max>"
                         "<avg>%u</avg><cur>%u</cur></cpu></statistics>",
                         &interval, &now, &min, &max, &avg, &cur),
                  6);
    }
    bool operator==(Load const&) const = default;

    double now;
    unsigned interval, min, max, avg, cur;
};

TEST_F(ThreadMonitorTest, ShowsTheLoadOfEachThreadAndOfTheProcess) {
    Clock clock;
    Monitor monitor;
    std::binary_semaphore go(0);
    std::binary_semaphore burnt(0);
    int tid = 0;
    Worker worker([&] {
        timespec used = {};
        tid = Thread::Id();
        for (go.acquire(); used.tv_nsec < 100000000;)
            clock_gettime(CLOCK_THREAD_CPUTIME_ID, &used);
        burnt.release();
        go.acquire();
    });
    ASSERT_EQ(worker.Start(), Thread::STARTED);
    monitor.OnStatsAlarm_(); // the base
    go.release();
    burnt.acquire();
    for (int i = 0; i < 2; ++i) {
        clock.Advance(1000);
        monitor.OnStatsAlarm_();
    }
    Load const load(monitor, tid);
    Load const process(monitor, Thread::TID_UNKNOWN);
    EXPECT_TRUE(load.interval == 1 && load.max >= 9 && load.max < 20 && load.avg == load.max / 2) << load.max;
    EXPECT_TRUE(load.now == process.now && load.min == 0 && load.cur == 0);
    EXPECT_GE(process.max, 9 / static_cast<unsigned>(sysconf(_SC_NPROCESSORS_ONLN)));
    EXPECT_LE(Load(monitor, Thread::Id()).max, 3u);
    go.release();
    EXPECT_TRUE(worker.Stop());
    EXPECT_TRUE(Load(monitor, tid) == process); // there is no such thread any more
    { Monitor const second; }                   // its end clears the samples of all threads
    EXPECT_EQ(Load(monitor, Thread::Id()).now, 0);
}

TEST_F(ThreadMonitorTest, AThreadWithoutAClockIsLeftOutOrNotStarted) {
    Monitor monitor;
    Calls calls;
    Calls elsewhere(Calls::ScopeT::PROCESS);
    log_.Clear();
    calls.Script(SysCall::clock_gettime, {Calls::Fail(EINVAL), {}, {}, {}, {}, Calls::Fail(EINVAL)});
    monitor.OnStatsAlarm_(); // one reading of Main, two of the other thread and of the process
    monitor.OnStatsAlarm_();
    elsewhere.Script(SysCall::pthread_getcpuclockid, {Calls::Fail(ENOENT), Calls::Fail(ESRCH)});
    Worker worker([] {});
    EXPECT_TRUE(worker.Start() == 0x80220006u && worker.Start() == 0x80220006u);
    std::string const fail = "C Thread: \"worker\": system failed [0x80220006].";
    EXPECT_THAT(
        log_.Take(),
        testing::ElementsAre(
            "E Thread: failed to get thread Main statistics: invalid argument.",
            "E Thread: failed to get thread Statistics collector thread statistics: invalid argument.",
            "E Thread: failed to bind thread worker statistics: no such file or directory.", fail, fail));
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
    Mutex const locks[] = {Mutex(Mutex::CACHE), Mutex(Mutex::CORE)};
    auto const start = [&](char const* name, Mutex const* lock) {
        workers.push_back(std::make_unique<Worker>(
            [&, lock] {
                bool const held = lock && lock->Lock();
                leave.acquire();
                if (held) lock->Unlock();
            },
            name));
        ASSERT_EQ(workers.back()->Start(), Thread::STARTED);
        while (lock && Thread::OwnerId(*lock) == Thread::TID_UNKNOWN)
            Clock::RealPause(1);
        clock.Advance(1000);
    };
    start("oldest", &locks[0]);
    start("blocked", &locks[0]);
    start("later", &locks[1]);
    start("free", nullptr);
    std::string names; // those without a lock, which may change places; the one that waits; the holders
    for (int i = 0; i < 2000 && names != "Mfblo" && names != "fMblo"; ++i) {
        Xml::Document document;
        names.clear();
        EXPECT_EQ(Thread::AttachThreadsTo(echo, document), 0x0022012Cu);
        for (Xml::Node* node = document.FirstNode("threads")->FirstNode(); node; node = node->NextSibling())
            names += node->FirstNode("name")->Value().Cstr()[0];
        std::erase(names, 'S'); // of the collectors
    }
    EXPECT_TRUE(names == "Mfblo" || names == "fMblo") << names;
    leave.release(4);
    for (auto const& worker : workers)
        EXPECT_TRUE(worker->Stop());
}

} // namespace
