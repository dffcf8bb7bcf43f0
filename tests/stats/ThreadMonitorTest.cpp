#include "zeb/stats/ThreadMonitor.h"

#include "tests/doc/xml/Trees.h"
#include "tests/runtime/Worker.h"

#include <cerrno>

namespace {

struct Monitor : Thread::Monitor {
    Monitor()
        : Thread::Monitor(5) {}
    ~Monitor() override { Deactivate(); }

    char const* Name() const override { return "monitor"; }
    using Thread::Monitor::OnStatsAlarm_;
};

using ThreadMonitorTest = WithMainThread;

std::string Load(Monitor const& monitor, int tid) {
    Document document;
    EXPECT_TRUE(monitor.AttachTo(tid, document).Succeeded());
    return XmlText(document);
}

double Max(Monitor const& monitor, int tid) {
    std::string const text = Load(monitor, tid);
    return atof(text.c_str() + text.find("<max>") + 5);
}

TEST_F(ThreadMonitorTest, ShowsTheLoadOfEachThreadAndOfTheProcess) {
    Clock clock;
    Monitor monitor;
    Array<int> tids; // of this thread, which is busy, and of the one of the collectors
    ASSERT_TRUE(Thread::GetTids(tids) && tids.Size() == 2);
    for (int i = 0; i < 3; ++i) { // the first one is the base, the last one comes twice at one moment
        for (int again = 0; again <= i / 2; ++again) monitor.OnStatsAlarm_();
        for (clock_t const end = std::clock() + CLOCKS_PER_SEC / 10; i == 0 && std::clock() < end;) continue;
        clock.Advance(1000);
    }
    EXPECT_TRUE(Load(monitor, tids[0]).starts_with("<statistics><interval>1</interval><cpu><now>"));
    EXPECT_NEAR(Max(monitor, tids[0]), 12, 7) << Load(monitor, tids[0]);
    EXPECT_TRUE(Max(monitor, tids[1]) <= 3 && Max(monitor, 0) >= 5 / sysconf(_SC_NPROCESSORS_ONLN));
    int tid = 0;
    RunInWorker([&] { tid = Thread::Id(); });
    EXPECT_EQ(Load(monitor, tid), Load(monitor, 0)); // there is no such thread any more
    { Monitor const second; }                        // its end clears the samples of all threads
    EXPECT_EQ(Max(monitor, tids[0]), 0);
}

TEST_F(ThreadMonitorTest, AThreadWithoutAClockIsLeftOutOrNotStarted) {
    Monitor monitor;
    Calls calls, elsewhere(Calls::ScopeT::PROCESS);
    log_.Clear();
    calls.Script(SysCall::clock_gettime, {Calls::Fail(EINVAL), {}, {}, {}, {}, Calls::Fail(EINVAL)});
    monitor.OnStatsAlarm_(); // one reading of Main, two of the other thread and of the process
    monitor.OnStatsAlarm_();
    elsewhere.Script(SysCall::pthread_getcpuclockid, {Calls::Fail(ENOENT), Calls::Fail(ESRCH)});
    Worker worker([] {});
    EXPECT_TRUE(worker.Start() == 0x80220006u && worker.Start() == 0x80220006u);
    std::string const fail = "C Thread: \"worker\": system failed [0x80220006], it failed to initialize.",
                      get = "E Thread: failed to get thread ", end = " statistics: invalid argument.";
    std::string const bind = "E Thread: failed to bind thread worker statistics: no such file or directory.";
    EXPECT_EQ(log_.Take(), LogCapture::LinesT({get + "Main" + end, get + "Statistics collector thread" + end, bind, fail, fail}));
}

// Answers with the id.
struct Echo : Monitor {
    ReturnT AttachTo(int tid, Xml::Node& node) const override { return node.AppendElement("load", tid), result; }
    ReturnT result = ReturnT::Done();
};

TEST_F(ThreadMonitorTest, ReportsWhatCannotBePrinted) {
    Echo first; // keeps the thread of the collectors
    ForEveryAllocation([&](Heap& heap) {
        Document document;
        document.AllocateString(std::string(1900, 'x').c_str(), 0);
        heap.Arm();
        Monitor const monitor;
        ReturnT const code = monitor.Initialized() ? Thread::AttachThreadsTo(monitor, document) : ReturnT::Oom();
        heap.Disarm();
        EXPECT_TRUE(heap.Fired() ? code.IsOom() : code == 0x0022012Cu);
        EXPECT_TRUE(!monitor.Initialized() || Thread::SelfStatus()->Code() == code);
    });
    Document document;
    first.result = ReturnT::Fail();
    EXPECT_TRUE(Thread::AttachThreadsTo(first, document).IsOom());
}

TEST_F(ThreadMonitorTest, ThreadsArePrintedInTheOrderOfTheirTopLocks) {
    Clock clock;
    Echo const echo;
    Mutex const first(Mutex::CACHE), second(Mutex::CORE);
    std::counting_semaphore<> leave(0);
    auto const hold = [&](Mutex const* lock) {
        return [&leave, lock] {
            Mutex::Guard const guard(*lock);
            leave.acquire();
        };
    };
    Worker oldest(hold(&first), "oldest"), blocked(hold(&first), "blocked"), later(hold(&second), "later");
    for (Worker* const worker : {&oldest, &blocked, &later}) {
        ASSERT_EQ(worker->Start(), Thread::STARTED);
        EXPECT_TRUE(Await([&] { return Thread::OwnerId(worker == &later ? second : first) != Thread::TID_UNKNOWN; }));
        clock.Advance(1000);
    }
    std::string names, text;
    EXPECT_TRUE(Await([&] {
        Document document;
        names.clear();
        EXPECT_EQ(Thread::AttachThreadsTo(echo, document), 0x0022012Cu);
        for (Node* node = document.FirstNode("threads")->FirstNode(); node; node = node->NextSibling())
            names += node->FirstNode("name")->Value().Cstr()[0];
        text = XmlText(document);
        return names == "MSblo" || names == "SMblo"; // without a lock, waiting for one, the longest holder at the end
    })) << names;
    std::string const tid = std::to_string(Thread::Id());
    std::string const parts[] = {
        "<thread><name>Main</name><tid>" + tid + "</tid><lock_list_complete>yes</lock_list_complete><locks/>",
        "<locks/><backtrace><calls><![CDATA[\nThread::State::GetBacktrace()+0x",
        "]]></calls><error/></backtrace><load>" + tid + "</load></thread>", "semaphore"}; // what the others sit in
    for (std::string const& part : parts) EXPECT_NE(text.find(part), text.npos) << part << text;
    leave.release(3);
    for (Worker* const worker : {&oldest, &blocked, &later}) EXPECT_TRUE(worker->Stop());
}

} // namespace
