#include "tests/runtime/Worker.h"
#include "zeb/event/Bus.h"
#include "zeb/event/LibraryEvents.h"
#include "zeb/task/TaskApply.h"

#include <deque>
#include <sstream>

namespace {

using Task::ApplyBase, Task::Queue;

struct Job : Task::Object {
    explicit Job(
        std::function<void()> work = [] {}, Mutex* lock = nullptr)
        : Object(lock, nullptr)
        , body(std::move(work)) {}
    bool Initialized() const override { return body != nullptr; }
    char const* Ident() const override { return "job"; }
    ReturnT Run() override { return ++runs, body(), ReturnT::Done(); }

    std::function<void()> body;
    std::atomic<int> runs = 0;
};

struct Apply : ApplyBase {
    Apply(Queue& queue, Mutex& lock, ApplyT apply, RunT run)
        : ApplyBase("apply", queue, lock, apply, run)
        , mutex(lock) {}
    bool Initialized() const override { return ++asked, ApplyBase::Initialized(); } // by a queue that takes it
    void Apply_() override {
        locked = Thread::OwnerId(mutex) == Thread::Id();
        if (again.exchange(false)) Enqueue(1);
        ++runs;
    }
    void Request(long milliseconds) { mutex.Lock(), Enqueue(milliseconds), mutex.Unlock(); }

    Mutex& mutex;
    mutable std::atomic<int> asked = 0, runs = 0;
    std::atomic<bool> locked = false, again = false;
};

struct TaskTest : WithMainThread {
    TaskTest() { EXPECT_TRUE(Event::Subscribe("Event::Type::TaskDone", onDone)); }
    ~TaskTest() override { Event::Unsubscribe("", this, onDone.Ident()); }
    void OnDone(Event::TaskDone const& event) { sum += event.TaskId(), ++done; }
    void Enqueue(std::initializer_list<Job*> jobs, Queue* into = nullptr) {
        for (Job* job : jobs) EXPECT_EQ((into ? *into : queue).EnqueueTask(onDone, job), 0x00300064u);
    }

    std::atomic<unsigned long> done = 0, sum = 0; // events, and the sum of their ids
    Event::Delegate<TaskTest> const onDone{"TaskTest", this, &TaskTest::OnDone, nullptr};
    Event::Delegate<TaskTest> const other{"other", this, &TaskTest::OnDone, nullptr};
    std::counting_semaphore<> gate{0};
    Job blocker{[&] { gate.acquire(); }}, idle;
    Mutex mutex{Mutex::CORE};
    Queue queue{"q", Time::Span(), nullptr};
};

TEST_F(TaskTest, RunWithTheirOwnStatusAndAnEventBehind) {
    Job reporter([] { (void)ReturnT(StatusLog(7, Log::INFO, "T", nullptr, "")); }), broken(nullptr);
    Enqueue({&blocker});
    EXPECT_TRUE(Await([&] { return blocker.runs == 1; }));
    Enqueue({&reporter, &blocker}); // one that runs is not listed
    for (Job* job : {&reporter, &broken, static_cast<Job*>(nullptr)})
        EXPECT_EQ(queue.EnqueueTask(onDone, job), job == &reporter ? 0x80300190u : 0x8030012Cu);
    EXPECT_EQ(log_.Take(), (LinesT{"E Task::Queue: \"q\": \"job\" task is already in a queue.",
                                   "E Task::Queue: \"q\": \"job\" is broken.", "E Task::Queue: \"q\": \"(null)\" is broken."}));
    EXPECT_TRUE((gate.release(2), Await([&] { return done == 3; })) && sum == 2 * blocker.Id() + reporter.Id());
    EXPECT_TRUE(reporter.StatusCode() == 7 && broken.Id() == reporter.Id() + 1);
}

TEST_F(TaskTest, CancelledOnesNeverRunAndGiveNoEvent) {
    std::atomic<bool> interrupted = false;
    Job running([&] { interrupted = Await([] { return Thread::SelfInterrupted(); }), Enqueue({&running}); });
    Job locked([] {}, &mutex), inside([&] { queue.CancelAllTasks(onDone); }); // does not wait for itself
    Enqueue({&running, &idle});
    EXPECT_TRUE(Await([&] { return running.runs == 1; }));
    EXPECT_EQ(queue.EnqueueTask(other, &locked), Queue::QUEUED);
    // It is another delegate's, and stays.
    EXPECT_EQ((queue.CancelTask(onDone, &locked), queue.EnqueueTask(other, &locked)), Queue::ALREADY_QUEUED);
    Enqueue({&inside, &blocker});
    Mutex::Guard const guard(mutex);
    EXPECT_FALSE((queue.CancelTask(onDone, &idle), interrupted.load()));
    EXPECT_TRUE((queue.CancelTask(onDone, &running), interrupted.load()));
    Enqueue({&running});                              // what it has listed meanwhile is out again
    Clock::RealPause(5), queue.CancelAllTasks(other); // now one waits for its lock
    EXPECT_TRUE(Await([&] { return done == 1; }) && sum == inside.Id());
    EXPECT_EQ(locked.runs + idle.runs + blocker.runs + 10 * running.runs, 10);

    Apply apply(queue, mutex, ApplyBase::APPLY_LATEST, ApplyBase::RUN_UNLOCKED);
    mutex.Unlock(), Enqueue({&blocker}), apply.Request(0);
    EXPECT_TRUE(Await([&] { return blocker.runs == 1 && apply.asked != 0; }));
    mutex.Lock(), gate.release(), Clock::RealPause(5); // it waits for the mutex
    EXPECT_EQ((apply.Cancel(), apply.runs.load()), 0);
}

struct Counter : Queue::Destructor {
    void Run() override { ++count; }
    std::atomic<int> count = 0;
};

TEST_F(TaskTest, AQueueDestroyedByItsOwnTaskEndsWithIt) {
    Counter counter;
    auto* const own = new Queue("own", -5, &counter); // a negative time: the thread lives as long as the queue
    Job last([&] { gate.acquire(), delete own, gate.release(); });
    Enqueue({&last, &idle}, own);
    EXPECT_EQ((Clock::RealPause(5), counter.count.load()), 0);
    gate.release();
    EXPECT_TRUE(log_.Await("C Thread: \"own\""));
    gate.acquire();
    EXPECT_EQ(counter.count + idle.runs + done, 1u);
    EXPECT_EQ(log_.Take(), (LinesT{"C Task::Queue: \"own\": system failed [0xcffd****], destroyed by its own task.",
                                   "C Thread: \"own\": system failed [0xcffd****], destroyed by its own thread."}));
}

TEST_F(TaskTest, AnIdleQueueHasNoThread) {
    Counter counter;
    std::atomic<int> interrupted = 0;
    Job job([&] { gate.acquire(), interrupted += Thread::SelfInterrupted(); });
    Job locked([&] { interrupted += Thread::SelfInterrupted(); }, &mutex);
    Clock clock;
    {
        Queue lazy("lazy", 5000, &counter);
        for (int round = 0; round < 2; ++round) {
            mutex.Lock(), Enqueue({&job, &locked}, &lazy);
            for (int busy = 0; busy < 2; ++busy) { // with the one, then waiting for the lock of the other
                EXPECT_TRUE(clock.AwaitWaiters(1));
                EXPECT_EQ((clock.Advance(6000), Clock::RealPause(5), counter.count.load()), round);
                if (busy == 0) gate.release();
            }
            mutex.Unlock();
            EXPECT_TRUE(Await([&] { return clock.Advance(1000), counter.count == round + 1; }) && interrupted == 0);
        }
        gate.release(), Enqueue({&job}, &lazy); // what is listed at the end of the queue still runs
    }
    EXPECT_TRUE(job.runs == 3 && counter.count == 3 && log_.Take().empty()) << job.runs << ' ' << counter.count;
}

TEST_F(TaskTest, ReportExhaustedMemoryAndGoOn) {
    Event::Unsubscribe("", this, onDone.Ident()); // events take memory of their own
    queue.~Queue();                               // and its timer would leave none to be taken
    for (bool const lazy : {false, true}) {
        auto const body = [&](Heap& heap) {
            heap.Arm();
            Queue tried("q", lazy ? 60000 : 0, nullptr);
            Apply const apply(tried, mutex, ApplyBase::APPLY_LATEST, ApplyBase::RUN_LOCKED);
            ReturnT const code = tried.EnqueueTask(onDone, &idle);
            heap.Disarm();
            EXPECT_EQ(code == Queue::QUEUED && apply.Initialized(), !heap.Fired());
            EXPECT_TRUE(code.Succeeded() || code == 0x803000C8u || code.IsOom());
            EXPECT_TRUE(log_.Has("C Timer: unable to create \"Timer\" queue.") || apply.Initialized());
            EXPECT_EQ((tried.CancelAllTasks(onDone), log_.Take().empty()), !heap.Fired());
            EXPECT_EQ(tried.EnqueueTask(onDone, &idle).Succeeded(), tried.Initialized());
            tried.CancelAllTasks(onDone), log_.Clear();
        };
        ForEveryAllocation(body, Heap::ScopeT::PROCESS);
    }
    new (&queue) Queue("q", Time::Span(), nullptr);
}

TEST_F(TaskTest, ThousandsOfSeveralThreadsRunInTheirOrder) {
    std::atomic<int> wrong = 0;
    auto const run = [&] {
        int next = 0;
        std::deque<Job> jobs;
        for (int i = 0; i < 1000; ++i) Enqueue({&jobs.emplace_back([&, i] { wrong += next++ != i; })});
        EXPECT_TRUE(Await([&] { return jobs.back().runs == 1; }));
        queue.CancelTask(onDone, &jobs.back()); // not ended before that
    };
    std::thread threads[] = {std::thread(run), std::thread(run), std::thread(run), std::thread(run)};
    for (std::thread& thread : threads) thread.join();
    EXPECT_TRUE(wrong == 0 && log_.Take().empty()) << wrong;
}

struct ApplyTest : TaskTest {
    bool AwaitRuns(Apply const& apply, int runs, long step = 10) {
        return Await([&] { return clock.Advance(step), runs == QUEUED ? apply.asked != 0 : apply.runs == runs; });
    }
    bool AwaitQueued(Apply const& apply) { return AwaitRuns(apply, QUEUED, 1); }

    static constexpr int QUEUED = -1;
    Clock clock;
};

TEST_F(ApplyTest, RequestsAreMergedIntoOneRunAtItsTime) {
    using enum ApplyBase::ApplyT;
    // Requests (milliseconds, off, on, cancel, tidy up); what is left, and when it is due (milliseconds); how often it runs.
    std::tuple<ApplyBase::ApplyT, char const*, int, int, int> const rows[] = {
        // clang-format off
        {APPLY_EARLIEST, "100 5000", 100, 100, 1}, {APPLY_EARLIEST, "5000 100", 100, 100, 1},
        {APPLY_LATEST, "100 5000", 5000, 5000, 1}, {APPLY_LATEST, "5000 100", 100, 100, 1},
        {APPLY_LATEST, "100 0", 0, 1, 1}, {APPLY_LATEST, "604805000", 604800000, 604805000, 1},
        {APPLY_LATEST, "off 100", 0, 101, 0}, {APPLY_LATEST, "off on 100", 100, 100, 1},
        {APPLY_LATEST, "100 cancel", 0, 101, 0}, {APPLY_LATEST, "100 tidy 9", 0, 101, 0}};
    // clang-format on
    for (auto const& [which, requests, left, due, runs] : rows) {
        bool const locked = left == 100;
        Apply apply(queue, mutex, which, locked ? ApplyBase::RUN_LOCKED : ApplyBase::RUN_UNLOCKED);
        mutex.Lock();
        std::istringstream in(requests);
        for (std::string word; in >> word;) {
            if (word == "off") apply.Deactivate();
            if (word == "on") apply.Activate();
            if (word == "cancel") apply.Cancel();
            if (word == "tidy") apply.Cleanup();
            if (word < "a") apply.Enqueue(atol(word.c_str()));
        }
        EXPECT_EQ(apply.Left(), Time::Span(left));
        mutex.Unlock();
        clock.Advance(due - 1), Clock::RealPause(8);
        EXPECT_TRUE(apply.runs == 0 && AwaitRuns(apply, runs) && apply.locked == locked) << requests;
    }
    EXPECT_TRUE(log_.Take().empty());
}

TEST_F(ApplyTest, AQueuedRunCoversRequestsAndARunningOneStartsAnew) {
    Queue lazy("lazy", 60000, nullptr);
    Apply apply(lazy, mutex, ApplyBase::APPLY_LATEST, ApplyBase::RUN_LOCKED);
    {
        Calls calls(Calls::ScopeT::PROCESS);
        calls.Script(SysCall::pthread_create, {Calls::Fail(EAGAIN)});
        apply.Request(1), clock.Advance(1);
        EXPECT_TRUE(log_.Await("C Task::Apply: \"apply\": system failed [0xcffd****], unable to queue it."));
        EXPECT_TRUE(log_.Has("E Task::Queue: \"lazy\": unable to start a thread."));
        Mutex::Guard const guard(mutex); // its callback has ended
        EXPECT_EQ(apply.Left(), Time::Span(1000));
    }
    log_.Clear(), Enqueue({&blocker}, &lazy), clock.Advance(1000);
    EXPECT_TRUE(AwaitQueued(apply));
    apply.Request(1), gate.release();
    EXPECT_TRUE(AwaitRuns(apply, 1));
    clock.Advance(100), Clock::RealPause(3);
    EXPECT_TRUE(apply.runs == 1 && log_.Take().empty());
    apply.again = true, apply.Request(1);
    EXPECT_TRUE(AwaitRuns(apply, 3));
}

TEST_F(ApplyTest, OneThatIsNotCleanedUpIsCancelled) {
    Enqueue({&blocker});
    for (long const milliseconds : {9000L, 1L}) { // its timer runs, it is listed
        Apply apply(queue, mutex, ApplyBase::APPLY_LATEST, ApplyBase::RUN_LOCKED);
        apply.Request(milliseconds);
        EXPECT_TRUE(milliseconds != 1 || AwaitQueued(apply));
        Mutex::Guard const guard(mutex);
    }
    gate.release(), Enqueue({&idle});
    EXPECT_TRUE(Await([&] { return idle.runs == 1; }));
    EXPECT_EQ(log_.Take(),
              LinesT(2, "C Task::Apply: \"apply\": system failed [0xcffd****], destroyed before it was cleaned up."));
}

TEST_F(ApplyTest, AHeldLockIsLogged) {
    Job locked([&] { clock.Advance(150); }, &mutex);
    mutex.Lock(), Enqueue({&locked, &idle});
    ExpectWaitLines(clock, log_, "W Task::Queue: \"q\": acquiring \"job\" task ");
    mutex.Unlock();
    ASSERT_TRUE(Mutex::SetThreshold("100").Succeeded());
    EXPECT_TRUE(Await([&] { return clock.Advance(50), locked.runs == 1; }) && Await([&] { return idle.runs == 1; }));
    EXPECT_TRUE(log_.Has("W Task::Queue: \"q\": was running a \"job\" locked task for ")); // the clock goes on meanwhile
    (void)Mutex::RstThreshold(), log_.Clear();
    Apply apply(queue, mutex, ApplyBase::APPLY_LATEST, ApplyBase::RUN_UNLOCKED);
    Enqueue({&blocker}), apply.Request(0);
    EXPECT_TRUE(AwaitQueued(apply));
    mutex.Lock(), gate.release();
    ExpectWaitLines(clock, log_, "W Task::Apply: acquiring \"apply\" handler ");
    EXPECT_TRUE((mutex.Unlock(), AwaitRuns(apply, 1)));
}

} // namespace
