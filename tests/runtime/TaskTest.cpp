#include "tests/runtime/Worker.h"
#include "tests/support/Calls.h"
#include "tests/support/Heap.h"
#include "zeb/core/StatusLog.h"
#include "zeb/event/Bus.h"
#include "zeb/event/LibraryEvents.h"
#include "zeb/runtime/TaskApply.h"

#include <cctype>
#include <cerrno>
#include <deque>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace {

using Task::ApplyBase;
using Task::Queue;
using LinesT = LogCapture::LinesT;

struct Job : Task::Object {
    explicit Job(std::function<void()> work, Mutex* lock = nullptr)
        : Object(lock, nullptr)
        , body(std::move(work)) {}
    bool Initialized() const override { return body != nullptr; }
    char const* Ident() const override { return "job"; }
    ReturnT Run() override { return body(), ++runs, ReturnT::Done(); }

    std::function<void()> body;
    std::atomic<int> runs = 0;
};

struct TaskTest : WithMainThread {
    void OnDone(Event::TaskDone const& event) { sum += event.TaskId(), ++done; }
    void Enqueue(Queue& queue, std::initializer_list<Job*> jobs) {
        for (Job* job : jobs)
            EXPECT_EQ(queue.EnqueueTask(onDone, job), 0x00300064u);
    }

    std::atomic<unsigned long> done = 0; // events, and the sum of their ids
    std::atomic<unsigned long> sum = 0;
    Event::Delegate<TaskTest> const onDone{"TaskTest", this, &TaskTest::OnDone, nullptr};
    Event::Delegate<TaskTest> const other{"other", this, &TaskTest::OnDone, nullptr};
    std::counting_semaphore<> gate{0};
    Job blocker{[&] { gate.acquire(); }};
    Job idle{[] {}};
    Mutex mutex{Mutex::CORE};
};

TEST_F(TaskTest, RunWithTheirOwnStatusAndAnEventBehind) {
    ASSERT_TRUE(Event::Subscribe("Event::Type::TaskDone", onDone));
    Job reporter([] { (void)ReturnT(StatusLog(7, Log::INFO, "T", nullptr, "")); });
    Job broken(nullptr);
    Queue queue("q", Time::Span(), nullptr);
    Enqueue(queue, {&blocker});
    EXPECT_TRUE(Await([&] { return gate.release(), blocker.runs == 1; }));
    while (gate.try_acquire()) {
    }
    Enqueue(queue, {&blocker, &reporter});
    EXPECT_EQ(queue.EnqueueTask(onDone, &reporter), 0x80300190u);
    EXPECT_EQ(queue.EnqueueTask(onDone, &broken), 0x8030012Cu);
    EXPECT_EQ(log_.Take(), (LinesT{"E Task::Queue: \"q\": \"job\" task is already in a queue.",
                                   "E Task::Queue: \"q\": \"job\" is broken."}));
    gate.release();
    EXPECT_TRUE(Await([&] { return done == 3; }));
    EXPECT_EQ(sum, 2 * blocker.Id() + reporter.Id());
    EXPECT_TRUE(reporter.StatusCode() == 7u && broken.Id() == reporter.Id() + 1);
    Event::Unsubscribe("", this, onDone.Ident());
}

TEST_F(TaskTest, CancelledOnesNeverRunAndGiveNoEvent) {
    ASSERT_TRUE(Event::Subscribe("Event::Type::TaskDone", onDone));
    Queue queue("q", Time::Span(), nullptr);
    std::atomic<bool> begun = false;
    Job running([&] { begun = Await([] { return Thread::SelfInterrupted(); }); });
    Job locked([] {}, &mutex);
    Job inside([&] { queue.CancelAllTasks(onDone); }); // does not wait for itself
    Enqueue(queue, {&running, &idle});
    Clock::RealPause(5);
    EXPECT_EQ(queue.EnqueueTask(other, &locked), Queue::QUEUED);
    queue.CancelTask(onDone, &locked); // it is another delegate's, and stays
    Enqueue(queue, {&inside, &blocker});
    mutex.Lock();
    queue.CancelTask(onDone, &idle);
    EXPECT_EQ(running.runs, 0);
    queue.CancelTask(onDone, &running);
    EXPECT_TRUE(begun && running.runs == 1);
    Clock::RealPause(5); // now that one waits for its lock
    queue.CancelAllTasks(other);
    mutex.Unlock();
    EXPECT_TRUE(Await([&] { return done == 1; }));
    EXPECT_TRUE(sum == inside.Id() && inside.runs == 1 && locked.runs + idle.runs + blocker.runs == 0);
    Event::Unsubscribe("", this, onDone.Ident());
}

TEST_F(TaskTest, AnIdleQueueHasNoThread) {
    struct Counter : Queue::Destructor {
        void Run() override { ++count; }
        std::atomic<int> count = 0;
    } counter;
    Clock clock;
    {
        Queue queue("q", 5000, &counter);
        for (int round = 1; round <= 2; ++round) {
            Enqueue(queue, {&blocker});
            EXPECT_TRUE(clock.AwaitWaiters(1));
            clock.Advance(6000);
            Clock::RealPause(5);
            EXPECT_EQ(counter.count, round - 1) << "it has work";
            gate.release();
            EXPECT_TRUE(Await([&] { return clock.Advance(1000), counter.count == round; }));
        }
        gate.release(); // what is listed at the end of the queue still runs
        Enqueue(queue, {&blocker});
    }
    EXPECT_TRUE(blocker.runs == 3 && counter.count == 3 && log_.Take().empty());
}

struct Apply : ApplyBase {
    Apply(Queue& queue, Mutex& lock, ApplyT apply, RunT run)
        : ApplyBase("apply", queue, lock, apply, run)
        , mutex(lock) {}
    ~Apply() override {
        Mutex::Guard const guard(mutex);
        Cleanup();
    }
    void Apply_() override {
        locked = Thread::OwnerId(mutex) == Thread::Id();
        if (again.exchange(false)) Enqueue(1);
        ++runs;
    }

    Mutex& mutex;
    std::atomic<bool> locked = false;
    std::atomic<bool> again = false;
    std::atomic<int> runs = 0;
};

TEST_F(TaskTest, ReportExhaustedMemoryAndGoOn) {
    for (bool const lazy : {false, true}) {
        ForEveryAllocation(
            [&](Heap& heap) {
                heap.Arm();
                Queue queue("q", lazy ? 60000 : 0, nullptr);
                Apply apply(queue, mutex, Apply::APPLY_LATEST, Apply::RUN_LOCKED);
                ReturnT const code = queue.EnqueueTask(onDone, &idle);
                heap.Disarm();
                EXPECT_EQ(code == Queue::QUEUED && apply.Initialized(), !heap.Fired());
                EXPECT_TRUE(code.Succeeded() || code == 0x803000C8u || code.IsOom());
                EXPECT_EQ(log_.Has("E Task::Apply: \"apply\": unable to initialize a timer."),
                          !apply.Initialized());
                queue.CancelAllTasks(onDone);
                EXPECT_EQ(log_.Take().empty(), !heap.Fired());
                EXPECT_EQ(queue.EnqueueTask(onDone, &idle).Succeeded(), queue.Initialized());
                queue.CancelAllTasks(onDone);
                log_.Clear();
            },
            Heap::ScopeT::PROCESS);
    }
}

TEST_F(TaskTest, ThousandsOfTasksOfSeveralThreadsRunInTheirOrder) {
    Queue queue("q", Time::Span(), nullptr);
    std::vector<std::thread> threads;
    std::atomic<int> lost = 0;
    for (int number = 0; number < 4; ++number) {
        threads.emplace_back([&] {
            int next = 0;
            std::deque<Job> jobs;
            for (int i = 0; i < 1000; ++i) {
                jobs.emplace_back([&, i] { lost += next++ != i; });
                Enqueue(queue, {&jobs.back()});
            }
            EXPECT_TRUE(Await([&] { return jobs.back().runs == 1; }));
            queue.CancelTask(onDone, &jobs.back()); // it has not ended before that
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_TRUE(lost == 0 && log_.Take().empty());
}

struct ApplyTest : TaskTest {
    void Request(Apply& apply, long milliseconds) {
        Mutex::Guard const guard(mutex);
        apply.Enqueue(milliseconds);
    }
    // Puts it into the queue behind the blocker.
    void MakeQueued(Apply& apply) {
        Enqueue(queue, {&blocker});
        Request(apply, 1);
        EXPECT_TRUE(clock.AwaitWaiters(1));
        clock.Advance(1);
        EXPECT_TRUE(Await([&] { return clock.Waiters() == 0; }));
        Clock::RealPause(3);
    }
    bool AwaitRuns(Apply const& apply, int runs) {
        return Await([&] { return clock.Advance(10), apply.runs == runs; });
    }

    Clock clock;
    Queue queue{"q", Time::Span(), nullptr};
};

TEST_F(ApplyTest, RequestsAreMergedIntoOneRunAtItsTime) {
    struct Row {
        ApplyBase::ApplyT apply;
        char const* requests; // milliseconds, off, on, cancel, tidy up
        int left;             // milliseconds
        int runs;
    } const rows[] = {
        // clang-format off
        {ApplyBase::APPLY_EARLIEST, "100 5000", 100, 1}, {ApplyBase::APPLY_EARLIEST, "5000 100", 100, 1},
        {ApplyBase::APPLY_LATEST, "100 5000", 5000, 1}, {ApplyBase::APPLY_LATEST, "5000 100", 100, 1},
        {ApplyBase::APPLY_LATEST, "100 0", 0, 1}, {ApplyBase::APPLY_LATEST, "604800001", 604800000, 1},
        {ApplyBase::APPLY_LATEST, "off 100", 0, 0}, {ApplyBase::APPLY_LATEST, "off on 100", 100, 1},
        {ApplyBase::APPLY_LATEST, "100 cancel", 0, 0}, {ApplyBase::APPLY_LATEST, "100 tidy 9", 0, 0},
        // clang-format on
    };
    for (Row const& row : rows) {
        Apply apply(queue, mutex, row.apply, ApplyBase::RUN_LOCKED);
        {
            Mutex::Guard const guard(mutex);
            std::istringstream in(row.requests);
            for (std::string word; in >> word;) {
                if (word == "off") apply.Deactivate();
                if (word == "on") apply.Activate();
                if (word == "cancel") apply.Cancel();
                if (word == "tidy") apply.Cleanup();
                if (isdigit(word[0])) apply.Enqueue(atol(word.c_str()));
            }
            EXPECT_EQ(apply.Left(), Time::Span(row.left));
        }
        clock.Advance(row.left ? row.left - 1 : 0);
        Clock::RealPause(3);
        EXPECT_EQ(apply.runs, 0);
        EXPECT_TRUE(AwaitRuns(apply, row.runs));
    }
    EXPECT_TRUE(log_.Take().empty());
}

TEST_F(ApplyTest, RunsWithOrWithoutTheMutexAndStartsAnewInside) {
    for (ApplyBase::RunT const run : {ApplyBase::RUN_UNLOCKED, ApplyBase::RUN_LOCKED}) {
        Apply apply(queue, mutex, ApplyBase::APPLY_LATEST, run);
        MakeQueued(apply);
        Request(apply, 1); // the queued run covers it
        gate.release();
        EXPECT_TRUE(AwaitRuns(apply, 1));
        EXPECT_EQ(apply.locked, run == ApplyBase::RUN_LOCKED);
        clock.Advance(100);
        Clock::RealPause(3);
        EXPECT_EQ(apply.runs, 1);
        apply.again = true;
        Request(apply, 1);
        EXPECT_TRUE(AwaitRuns(apply, 3));
    }
}

TEST_F(ApplyTest, TriesAgainUntilTheQueueTakesIt) {
    Queue lazy("lazy", 60000, nullptr);
    Apply apply(lazy, mutex, ApplyBase::APPLY_LATEST, ApplyBase::RUN_UNLOCKED);
    Calls calls(Calls::ScopeT::PROCESS);
    calls.Script(SysCall::pthread_create, {Calls::Fail(EAGAIN)});
    Request(apply, 1);
    clock.Advance(1);
    EXPECT_TRUE(log_.Await("C Task::Apply: \"apply\": system failed [0xcffd****]."));
    EXPECT_TRUE(log_.Has("E Task::Queue: \"lazy\": unable to start a thread."));
    EXPECT_TRUE(clock.AwaitWaiters(1));
    EXPECT_EQ(apply.Left(), Time::Span(1000));
    EXPECT_TRUE(AwaitRuns(apply, 1));
}

TEST_F(ApplyTest, AHeldLockIsLoggedUntilItIsFreeOrTheWaitIsCancelled) {
    Job locked([&] { clock.Advance(150); }, &mutex);
    mutex.Lock();
    Enqueue(queue, {&locked});
    ExpectWaitLines(clock, log_, "W Task::Queue: \"q\": acquiring \"job\" task ");
    mutex.Unlock();
    ASSERT_TRUE(Mutex::SetThreshold("100").Succeeded());
    EXPECT_TRUE(Await([&] { return clock.Advance(50), locked.runs == 1; }));
    EXPECT_TRUE(log_.Await("W Task::Queue: \"q\": was running a \"job\" locked task for 150 ms."));
    (void)Mutex::RstThreshold();
    log_.Clear();

    Apply apply(queue, mutex, ApplyBase::APPLY_LATEST, ApplyBase::RUN_UNLOCKED);
    MakeQueued(apply);
    mutex.Lock();
    gate.release();
    ExpectWaitLines(clock, log_, "W Task::Apply: acquiring \"apply\" handler ");
    mutex.Unlock();
    EXPECT_TRUE(AwaitRuns(apply, 1));
    MakeQueued(apply);
    Worker canceller([&] {
        Mutex::Guard const guard(mutex);
        gate.release();
        EXPECT_TRUE(clock.AwaitWaiters(1));
        apply.Cancel();
    });
    EXPECT_EQ(canceller.Start(), Thread::STARTED);
    EXPECT_TRUE(Await([&] { return clock.Advance(10), canceller.Stopped(); }));
    canceller.Stop();
    EXPECT_EQ(apply.runs, 1);
}

} // namespace
