#include "tests/runtime/Worker.h"
#include "tests/support/Calls.h"
#include "tests/support/Heap.h"
#include "zeb/core/StatusLog.h"
#include "zeb/event/Bus.h"
#include "zeb/event/LibraryEvents.h"
#include "zeb/runtime/TaskApply.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <deque>
#include <mutex>
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
    ReturnT Run() override {
        body();
        return ReturnT::Done();
    }

    std::function<void()> body;
};

struct TaskTest : WithClock {
    TaskTest() { EXPECT_TRUE(Event::Subscribe("Event::Type::TaskDone", onDone)); }
    ~TaskTest() override { Event::Unsubscribe("", this, onDone.Ident()); }

    Job& Add(
        std::function<void()> const& body = [] {}, Mutex* lock = nullptr) {
        char const name = static_cast<char>('a' + jobs.size());
        return jobs.emplace_back([this, name, body] { Note(name), body(); }, lock);
    }
    void OnDone(Event::TaskDone const& event) {
        Note(static_cast<char>('A' + event.TaskId() - jobs.front().Id()));
    }
    void Note(char what) {
        std::scoped_lock const guard(noteLock);
        notes += what;
    }
    // Which jobs have run, and then as capitals those whose event has come.
    std::string Notes() {
        std::scoped_lock const guard(noteLock);
        std::stable_partition(notes.begin(), notes.end(), islower);
        return notes;
    }
    bool AwaitNotes(char const* expected) {
        return Await([&] { return Notes() == expected; });
    }

    std::mutex noteLock;
    std::string notes;
    std::deque<Job> jobs;
    Event::Delegate<TaskTest> const onDone{"TaskTest", this, &TaskTest::OnDone, nullptr};
    Event::Delegate<TaskTest> const other{"other", this, &TaskTest::OnDone, nullptr};
    std::counting_semaphore<> gate{0};
    Queue queue{"q", Time::Span(), nullptr};
};

TEST_F(TaskTest, RunInOrderWithTheirOwnStatusAndAnEventBehind) {
    Job& first = Add([&] { gate.acquire(); });
    Job& second = Add([] { (void)ReturnT(StatusLog(7, Log::INFO, "T", nullptr, "")); });
    EXPECT_EQ(queue.EnqueueTask(onDone, &first), 0x00300064u);
    EXPECT_TRUE(AwaitNotes("a"));
    for (Job* job : {&second, &first}) // the one that runs is not listed
        EXPECT_EQ(queue.EnqueueTask(onDone, job), Queue::QUEUED);
    EXPECT_EQ(queue.EnqueueTask(onDone, &second), 0x80300190u);
    Job broken(nullptr);
    EXPECT_EQ(queue.EnqueueTask(onDone, &broken), 0x8030012Cu);
    EXPECT_EQ(log_.Take(), (LinesT{"E Task::Queue: \"q\": \"job\" task is already in a queue.",
                                   "E Task::Queue: \"q\": \"job\" is broken."}));
    gate.release(2);
    EXPECT_TRUE(AwaitNotes("abaABA"));
    EXPECT_TRUE(second.StatusCode() == 7u && second.Id() == first.Id() + 1);
}

TEST_F(TaskTest, CancelledOnesNeverRunAndGiveNoEvent) {
    std::atomic<bool> ended = false;
    Job& running = Add([&] {
        EXPECT_TRUE(Await([] { return Thread::SelfInterrupted(); }));
        Clock::RealPause(10);
        ended = true;
    });
    Job& queued = Add();
    Job& waiting = Add([] {}, &mutex);
    Job& inside = Add([&] { queue.CancelAllTasks(onDone); }); // does not wait for itself
    auto const enqueue = [&](std::initializer_list<Job*> wanted, Event::BaseDelegate const& delegate) {
        for (Job* job : wanted)
            EXPECT_EQ(queue.EnqueueTask(delegate, job), Queue::QUEUED);
    };
    enqueue({&running, &queued}, onDone);
    enqueue({&waiting, &inside}, other);
    EXPECT_TRUE(AwaitNotes("a"));
    queue.CancelTask(onDone, &queued);
    queue.CancelTask(onDone, &inside); // it is another delegate's, and stays
    queue.CancelTask(other, &running);
    EXPECT_FALSE(ended);
    LockHolder holder(mutex);
    queue.CancelAllTasks(onDone);
    EXPECT_TRUE(ended);
    EXPECT_TRUE(clock.AwaitWaiters(1)); // for the lock
    enqueue({&queued}, onDone);
    queue.CancelTask(other, &waiting);
    queue.CancelTask(other, &waiting); // nothing is there any more
    holder.Release();
    clock.Advance(50);
    EXPECT_TRUE(AwaitNotes("adD")) << "the last one has removed the queued one";
}

TEST_F(TaskTest, WaitForAHeldLockWithoutBlockingOnIt) {
    LockHolder holder(mutex);
    (void)queue.EnqueueTask(other, &Add([&] { clock.Advance(150); }, &mutex));
    ExpectWaitLines(clock, log_, "W Task::Queue: \"q\": acquiring \"job\" task ");
    holder.Release();
    ASSERT_TRUE(Mutex::SetThreshold("100").Succeeded());
    clock.Advance(50);
    EXPECT_TRUE(log_.Await("W Task::Queue: \"q\": was running a \"job\" locked task for 150 ms."));
    (void)Mutex::RstThreshold();
}

TEST_F(TaskTest, AnIdleQueueHasNoThread) {
    struct Counter : Queue::Destructor {
        void Run() override { ++count; }
        std::atomic<int> count = 0;
    } counter;
    Job& job = Add([&] { gate.acquire(); });
    {
        Queue lazy("lazy", 5000, &counter);
        for (int round = 1; round <= 2; ++round) {
            EXPECT_EQ(ThreadsOfName("lazy"), 0);
            EXPECT_EQ(lazy.EnqueueTask(other, &job), Queue::QUEUED);
            EXPECT_TRUE(clock.AwaitWaiters(1));
            clock.Advance(6000);
            Clock::RealPause(5);
            EXPECT_EQ(ThreadsOfName("lazy"), 1) << "it has work";
            gate.release();
            EXPECT_TRUE(AwaitMoving([&] { return counter.count == round; }, 1000));
            EXPECT_TRUE(Await([] { return ThreadsOfName("lazy") == 0; }));
        }
        gate.release(); // what is listed at the end of the queue still runs
        EXPECT_EQ(lazy.EnqueueTask(other, &job), Queue::QUEUED);
    }
    EXPECT_TRUE(Notes().starts_with("aaaA") && counter.count == 3 && log_.Take().empty());
}

TEST_F(TaskTest, ReportExhaustedMemoryAndGoOn) {
    Event::Unsubscribe("", this, onDone.Ident()); // no event lives longer than the call
    Job job([] {});
    for (bool const lazy : {false, true}) {
        ForEveryAllocation(
            [&](Heap& heap) {
                if (!lazy) heap.Arm();
                Queue tried("tried", lazy ? 60000 : 0, nullptr);
                if (lazy) heap.Arm();
                ReturnT const code = tried.EnqueueTask(other, &job);
                heap.Disarm();
                EXPECT_EQ(code == Queue::QUEUED, !heap.Fired());
                EXPECT_TRUE(code.Succeeded() || code == 0x803000C8u || code.IsOom());
                EXPECT_EQ(log_.Has("E Task::Queue: \"tried\": unable to create and start a thread."),
                          lazy && code == Queue::NO_THREAD);
                tried.CancelAllTasks(other);
                EXPECT_EQ(log_.Take().empty(), !heap.Fired());
                EXPECT_EQ(tried.EnqueueTask(other, &job).Succeeded(), tried.Initialized());
                tried.CancelAllTasks(other);
                log_.Clear();
            },
            Heap::ScopeT::PROCESS);
    }
}

TEST_F(TaskTest, ThousandsOfTasksOfSeveralThreadsRunInTheirOrder) {
    std::vector<std::thread> threads;
    std::atomic<int> lost = 0;
    for (int number = 0; number < 4; ++number) {
        threads.emplace_back([&] {
            int next = 0;
            std::deque<Job> mine;
            for (int i = 0; i < 1000; ++i) {
                mine.emplace_back([&, i] { lost += next++ != i; });
                EXPECT_EQ(queue.EnqueueTask(other, &mine.back()), Queue::QUEUED);
            }
            std::binary_semaphore all(0);
            Job last([&] { all.release(); });
            EXPECT_EQ(queue.EnqueueTask(other, &last), Queue::QUEUED);
            all.acquire();
            queue.CancelTask(other, &last); // it has not ended before that
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_TRUE(lost == 0 && log_.Take().empty());
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

struct ApplyTest : TaskTest {
    // Occupies the queue until the gate opens.
    void Occupy() {
        EXPECT_EQ(queue.EnqueueTask(other, &Add([&] { gate.acquire(); })), Queue::QUEUED);
    }
    void Request(Apply& apply, long milliseconds) {
        Mutex::Guard const guard(mutex);
        apply.Enqueue(milliseconds);
    }
};

TEST_F(ApplyTest, RequestsAreMergedIntoOneRunAtItsTime) {
    constexpr long DAYS7 = 604800000;
    constexpr long OFF = -1;
    constexpr long ON = -2;
    constexpr long CANCEL = -3;
    constexpr long CLEANUP = -4;
    struct Row {
        ApplyBase::ApplyT apply;
        std::vector<long> requests;
        long left; // milliseconds
        int runs;
    } const rows[] = {
        // clang-format off
        {ApplyBase::APPLY_EARLIEST, {100, 5000}, 100, 1}, {ApplyBase::APPLY_EARLIEST, {5000, 100}, 100, 1},
        {ApplyBase::APPLY_LATEST, {100, 5000}, 5000, 1}, {ApplyBase::APPLY_LATEST, {5000, 100}, 100, 1},
        {ApplyBase::APPLY_LATEST, {100, 0}, 0, 1}, {ApplyBase::APPLY_LATEST, {DAYS7 + 1}, DAYS7, 1},
        {ApplyBase::APPLY_LATEST, {OFF, 100}, 0, 0}, {ApplyBase::APPLY_LATEST, {OFF, ON, 100}, 100, 1},
        {ApplyBase::APPLY_LATEST, {100, CANCEL}, 0, 0}, {ApplyBase::APPLY_LATEST, {100, CLEANUP, 9}, 0, 0},
        // clang-format on
    };
    for (Row const& row : rows) {
        Apply apply(queue, mutex, row.apply, ApplyBase::RUN_LOCKED);
        EXPECT_TRUE(apply.Initialized() && CString("apply") == apply.Ident());
        {
            Mutex::Guard const guard(mutex);
            for (long const request : row.requests) {
                if (request >= 0) apply.Enqueue(request);
                if (request == OFF) apply.Deactivate();
                if (request == ON) apply.Activate();
                if (request == CANCEL) apply.Cancel();
                if (request == CLEANUP) apply.Cleanup();
            }
            EXPECT_EQ(apply.Left(), Time::Span(static_cast<int>(row.left)));
        }
        clock.Advance(row.left ? row.left - 1 : 0);
        Clock::RealPause(3);
        EXPECT_EQ(apply.runs, 0);
        EXPECT_TRUE(AwaitMoving([&] { return apply.runs == row.runs; }));
    }
    EXPECT_TRUE(log_.Take().empty());
}

TEST_F(ApplyTest, RunWithOrWithoutTheMutexAndStartAnewInside) {
    for (ApplyBase::RunT const run : {ApplyBase::RUN_UNLOCKED, ApplyBase::RUN_LOCKED}) {
        Apply apply(queue, mutex, ApplyBase::APPLY_LATEST, run);
        Occupy();
        Request(apply, 1);
        EXPECT_TRUE(clock.AwaitWaiters(1));
        clock.Advance(1);
        EXPECT_TRUE(Await([&] { return clock.Waiters() == 0; }));
        Clock::RealPause(3);
        Request(apply, 1); // the queued run covers it
        gate.release();
        EXPECT_TRUE(AwaitMoving([&] { return apply.runs == 1; }));
        EXPECT_EQ(apply.locked, run == ApplyBase::RUN_LOCKED);
        clock.Advance(100);
        Clock::RealPause(3);
        EXPECT_EQ(apply.runs, 1);
        apply.again = true;
        Request(apply, 1);
        EXPECT_TRUE(AwaitMoving([&] { return apply.runs == 3; }));
    }
}

TEST_F(ApplyTest, TryAgainUntilTheQueueTakesIt) {
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
    EXPECT_TRUE(AwaitMoving([&] { return apply.runs == 1; }));
}

TEST_F(ApplyTest, WaitForTheMutexUntilCancelled) {
    Apply apply(queue, mutex, ApplyBase::APPLY_LATEST, ApplyBase::RUN_UNLOCKED);
    for (bool const cancel : {false, true}) {
        Occupy();
        Request(apply, 1);
        EXPECT_TRUE(clock.AwaitWaiters(1));
        clock.Advance(1);
        EXPECT_TRUE(Await([&] { return clock.Waiters() == 0; }));
        Clock::RealPause(3);
        Worker canceller([&] {
            Mutex::Guard const guard(mutex);
            gate.release();
            EXPECT_TRUE(clock.AwaitWaiters(1));
            apply.Cancel();
        });
        LockHolder holder(mutex);
        if (cancel) {
            EXPECT_EQ(canceller.Start(), Thread::STARTED);
        } else {
            gate.release();
            ExpectWaitLines(clock, log_, "W Task::Apply: acquiring \"apply\" handler ");
        }
        holder.Release();
        EXPECT_TRUE(AwaitMoving([&] { return cancel ? canceller.Stopped() : apply.runs == 1; }));
        if (cancel) canceller.Stop();
    }
    EXPECT_EQ(apply.runs, 1);
}

} // namespace
