#include "zeb/runtime/Mutex.h"

#include "tests/runtime/Worker.h"
#include "tests/support/Calls.h"
#include "tests/support/Clock.h"
#include "tests/support/Heap.h"
#include "zeb/core/Time.h"
#include "zeb/doc/xml/Document.h"
#include "zeb/doc/xml/Print.h"
#include "zeb/io/StringStream.h"
#include "zeb/runtime/Condition.h"
#include "zeb/runtime/ThreadImpl.h"

#include <atomic>
#include <cerrno>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

using MutexMonitor = WithMainThread;
using MutexThreshold = WithMainThread;
using ConditionMonitor = WithMainThread;

constinit Mutex const constantMutex{Mutex::ULTIMATE};

// The locks of the thread of that name as "NAME STATE", the first one taken first.
std::vector<std::string> LocksOf(CString const& name, bool* complete = nullptr) {
    AutoPVector<Thread::State, StdDeleter> states;
    EXPECT_EQ(Thread::GetStates(states), 0x00220190u);
    std::vector<std::string> locks;
    for (unsigned long i = 0; i < states.Size(); ++i) {
        if (!(states[i]->Name() == name)) continue;
        if (complete) *complete = states[i]->LockListComplete();
        for (Thread::Lock const& lock : states[i]->Locks()) {
            locks.push_back(std::string(Mutex::PrecedenceName(lock.Precedence())) + " " +
                            lock.State().Cstr());
            EXPECT_EQ(lock.Since().Cstr()[0] == '\0', &lock.State() == &Thread::Lock::RELEASED);
        }
    }
    return locks;
}

using LocksT = std::vector<std::string>;

TEST(Mutex, KnowsTheNamesOfTheTable) {
    struct Row {
        unsigned number;
        char const* name;
    } const rows[] = {
        {0, "BACKUP_CONFIGURATOR"}, {28, "CORE"},        {88, "SERVICE"},    {139, "EXEC_GUARD"},
        {157, "ULTIMATE"},          {158, "STATUS_LOG"}, {159, "(UNKNOWN)"}, {~0u, "(UNKNOWN)"},
    };
    for (Row const& row : rows)
        EXPECT_STREQ(Mutex::PrecedenceName(static_cast<Mutex::PrecedenceT>(row.number)), row.name);
}

TEST(Mutex, IsAPlainLockWithoutAThreadObject) {
    LogCapture log;
    Clock clock;
    Mutex late(Mutex::ULTIMATE);
    Condition early(Mutex::CACHE);
    EXPECT_EQ(Mutex::SetThreshold("100"), 0x000903E8u);
    {
        Mutex::Guard const a(late);
        Mutex::Guard const b(early); // nobody checks the order
        EXPECT_TRUE(a.Held() && b.Held());
        EXPECT_FALSE(late.TryLock());
        EXPECT_FALSE(early.Wait(0L));
        early.Signal();
        clock.Advance(1000);
    }
    EXPECT_TRUE(late.TryLock());
    EXPECT_EQ(late.Unlock(), 0u);
    EXPECT_EQ(Mutex::RstThreshold(), 0x0009044Cu);
    EXPECT_EQ(log.Take(),
              (LogCapture::LinesT{"I Mutex: set threshold to 100 ms.", "I Mutex: reset threshold."}));
}

TEST_F(MutexMonitor, FollowsALockThroughItsStates) {
    Mutex core(Mutex::CORE);
    Condition mode(Mutex::MODE);
    EXPECT_TRUE(constantMutex.Lock());
    EXPECT_EQ(LocksOf("Main"), LocksT{"ULTIMATE ACQUIRED"});
    EXPECT_EQ(constantMutex.Unlock(), 0u);
    {
        Mutex::Guard const a(core);
        Mutex::Guard const b(mode);
        EXPECT_EQ(LocksOf("Main"), (LocksT{"CORE ACQUIRED", "MODE ACQUIRED"}));
        EXPECT_EQ(Thread::OwnerId(core), Thread::Id());
    }
    EXPECT_TRUE(LocksOf("Main").empty());
    EXPECT_EQ(Thread::OwnerId(core), Thread::TID_UNKNOWN);
    EXPECT_TRUE(log_.Take().empty());
}

TEST_F(MutexMonitor, ShowsWhatABlockedThreadWaitsFor) {
    Mutex lock(Mutex::CORE);
    ASSERT_TRUE(lock.Lock());
    Worker worker([&] { Mutex::Guard const guard(lock); });
    ASSERT_EQ(worker.Start(), Thread::STARTED);
    while (LocksOf("worker").empty())
        std::this_thread::yield();
    EXPECT_EQ(LocksOf("worker"), LocksT{"CORE RELEASED"});
    EXPECT_EQ(Thread::OwnerId(lock), Thread::Id());
    lock.Unlock();
    EXPECT_TRUE(worker.Stop());
    EXPECT_TRUE(log_.Take().empty());
}

TEST_F(MutexMonitor, ReportsEachViolation) {
    Mutex cache(Mutex::CACHE);
    Mutex core(Mutex::CORE);
    Mutex core2(Mutex::CORE);
    Condition mode(Mutex::MODE);
    Thread& self = *Thread::Self();
    Time::Span const now = Time::Monotonic();
    auto const push = [&](Mutex const& mutex, Thread::LockPushT_ type) { self.LockPush_(mutex, type, now); };
    auto const pop = [&](Mutex const& mutex, Thread::LockPopT_ type) { self.LockPop_(mutex, type); };
    auto const holds = [](LocksT const& locks) { EXPECT_EQ(LocksOf("Main"), locks); };
    std::string const system = "system failed [0xcffd****]";
    struct Row {
        char const* what;
        std::function<void()> body;
        LogCapture::LinesT lines; // behind "C "
    } const rows[] = {
        {"a lower lock",
         [&] {
             EXPECT_TRUE(mode.Lock() && core.Lock());
             holds({"MODE ACQUIRED", "CORE ACQUIRED"});
             core.Unlock();
             mode.Unlock();
         },
         {"Thread: \"Main\": lock precedence violation: CORE (28) after MODE (35)."}},
        {"an equal lock",
         [&] {
             EXPECT_TRUE(core.Lock() && core2.TryLock());
             core2.Unlock();
             core.Unlock();
         },
         {"Thread: \"Main\": lock precedence violation: CORE (28) after CORE (28)."}},
        {"a held lock",
         [&] {
             EXPECT_TRUE(core.Lock() && mode.Lock() && !core.Lock() && !core.TryLock());
             holds({"CORE ACQUIRED", "MODE ACQUIRED"});
             mode.Unlock();
             core.Unlock();
         },
         {"Mutex: \"CORE\": " + system + ", resource deadlock avoided.",
          "Mutex: \"CORE\": " + system + ", resource deadlock avoided."}},
        {"unlocking in the wrong order",
         [&] {
             EXPECT_TRUE(cache.Lock() && mode.Lock() && cache.Unlock() == 0);
             holds({"CACHE ACQUIRED", "MODE ACQUIRED"});
             mode.Unlock();
             pop(cache, Thread::POP_ACQUIRED);
         },
         {"Thread: \"Main\": CACHE lock: unexpected pop operation, MODE lock expected."}},
        {"unlocking once too often",
         [&] { pop(core, Thread::POP_ACQUIRED); },
         {"Thread: \"Main\": CORE lock/unlock count mismatch."}},
        {"a pop in another state",
         [&] {
             push(core, Thread::PUSH_RELEASED);
             pop(core, Thread::POP_ACQUIRED);
             push(core, Thread::PUSH_ACQUIRED);
             pop(core, Thread::POP_RELEASED);
         },
         {"Thread: \"Main\": CORE lock is in unexpected state ACQUIRED, RELEASED expected.",
          "Thread: \"Main\": CORE lock is in unexpected state RELEASED, ACQUIRED expected."}},
        {"an acquisition of nothing",
         [&] { self.LockAcquired_(core, now); },
         {"Thread: \"Main\": CORE lock acquisition violation: no lock to acquisition."}},
        {"an acquisition of another one",
         [&] {
             push(core, Thread::PUSH_RELEASED);
             self.LockAcquired_(mode, now);
             pop(core, Thread::POP_RELEASED);
         },
         {"Thread: \"Main\": MODE lock: unexpected acquisition operation, CORE lock expected."}},
        {"an acquisition of a held one",
         [&] {
             push(core, Thread::PUSH_ACQUIRED);
             self.LockAcquired_(core, now);
             pop(core, Thread::POP_ACQUIRED);
         },
         {"Thread: \"Main\": CORE lock is in unexpected state ACQUIRED, RELEASED expected."}},
        {"waiting without a lock",
         [&] { self.LockWaitStarted_(mode, now); },
         {"Thread: \"Main\": MODE lock acquisition violation: no lock to wait."}},
        {"waiting under another one",
         [&] {
             push(core, Thread::PUSH_ACQUIRED);
             self.LockWaitStarted_(mode, now);
             self.LockWaitFinished_(mode, now);
             pop(core, Thread::POP_ACQUIRED);
         },
         {"Thread: \"Main\": MODE lock: unexpected wait operation, CORE lock expected.",
          "Thread: \"Main\": MODE lock: unexpected finish to wait operation, CORE lock expected."}},
        {"waiting ahead of the acquisition",
         [&] {
             push(mode, Thread::PUSH_RELEASED);
             self.LockWaitStarted_(mode, now);
             self.LockWaitFinished_(mode, now);
             pop(mode, Thread::POP_RELEASED);
         },
         {"Thread: \"Main\": trying to wait on an unlocked MODE lock.",
          "Thread: \"Main\": MODE lock finished waiting in RELEASED state."}},
        {"signalling without the lock",
         [&] { mode.Signal(); },
         {"Thread: \"Main\": MODE lock: not found in an acquired locks list.",
          "Condition: \"MODE\": " + system + "."}},
    };
    for (Row const& row : rows) {
        SCOPED_TRACE(row.what);
        row.body();
        LogCapture::LinesT expected;
        for (std::string const& line : row.lines)
            expected.push_back("C " + line);
        EXPECT_EQ(log_.Take(), expected);
        holds({});
    }
}

TEST_F(MutexMonitor, TryLockOnABusyLockLeavesNoTrace) {
    Mutex low(Mutex::CACHE);
    Mutex high(Mutex::MODE);
    std::binary_semaphore taken(0);
    std::binary_semaphore end(0);
    Worker holder([&] {
        Mutex::Guard const guard(low);
        taken.release();
        end.acquire();
    });
    ASSERT_EQ(holder.Start(), Thread::STARTED);
    taken.acquire();
    Mutex::Guard const guard(high);
    EXPECT_FALSE(low.TryLock()); // out of order as well, but it was not taken
    EXPECT_EQ(LocksOf("Main"), LocksT{"MODE ACQUIRED"});
    EXPECT_TRUE(log_.Take().empty());
    end.release();
    EXPECT_TRUE(holder.Stop());
}

TEST_F(MutexMonitor, SurvivesWithoutMemoryForItsStack) {
    std::vector<std::unique_ptr<Mutex>> locks;
    for (unsigned i = 0; i < 9; ++i)
        locks.push_back(std::make_unique<Mutex>(static_cast<Mutex::PrecedenceT>(i)));
    ForEveryAllocation(
        [&](Heap& heap) {
            RunInWorker([&] { // with a stack of its own
                heap.Arm();
                for (unsigned i = 0; i < 9; ++i)
                    EXPECT_TRUE(locks[i]->Lock());
                heap.Disarm();
                bool const ok = !heap.Fired();
                bool complete = !ok;
                EXPECT_EQ(LocksOf("worker", &complete).size(), ok ? 9u : 8u);
                EXPECT_EQ(complete, ok);
                if (!ok) {
                    Mutex top(Mutex::ULTIMATE);
                    EXPECT_FALSE(top.Lock()) << "all checks are off, and the answer is the safe one";
                }
                for (unsigned i = 9; i-- != 0;)
                    locks[i]->Unlock();
                EXPECT_TRUE(locks[0]->Lock()) << "the list is complete again";
                locks[0]->Unlock();
                EXPECT_EQ(log_.Take(),
                          ok ? LogCapture::LinesT{}
                             : (LogCapture::LinesT{"C Thread: \"worker\": out of memory [0xcffe****].",
                                                   "C Mutex: \"ULTIMATE\": system failed [0xcffd****], "
                                                   "resource deadlock avoided."}));
            });
        },
        Heap::ScopeT::PROCESS);
}

TEST_F(MutexMonitor, ReportsFailuresOfTheSystem) {
    Condition lock(Mutex::CORE);
    auto const fails = [](SysCall call, std::function<void()> const& body) {
        Calls calls;
        calls.Script(call, {Calls::Fail(EPERM)});
        body();
    };
    auto const lockBusy = [&] {
        Calls calls;
        calls.Script(SysCall::pthread_mutex_trylock, {Calls::Fail(EBUSY)});
        calls.Script(SysCall::pthread_mutex_lock, {Calls::Fail(EPERM)});
        EXPECT_FALSE(lock.Lock());
    };
    auto const failed = [](char const* ident, char const* reason = "operation not permitted") {
        return std::string("C ") + ident + ": \"CORE\": system failed [0xcffd****], " + reason + ".";
    };
    struct Row {
        std::function<void()> body;
        LogCapture::LinesT lines;
    } const rows[] = {
        {[&] { fails(SysCall::pthread_mutex_trylock, [&] { EXPECT_FALSE(lock.Lock()); }); },
         {failed("Mutex")}},
        {[&] { fails(SysCall::pthread_mutex_trylock, [&] { EXPECT_FALSE(lock.TryLock()); }); },
         {failed("Mutex")}},
        {lockBusy, {failed("Mutex")}},
        {[&] {
             fails(SysCall::pthread_mutex_init, [] {
                 Mutex bad(Mutex::CORE);
                 EXPECT_FALSE(bad.Lock());
                 EXPECT_FALSE(bad.TryLock());
                 EXPECT_EQ(bad.Unlock(), 0u);
             });
         },
         {failed("Mutex"), failed("Mutex", "invalid argument"), failed("Mutex", "invalid argument"),
          failed("Mutex", "invalid argument")}},
        {[&] {
             fails(SysCall::pthread_cond_init, [] {
                 Condition bad(Mutex::CORE);
                 Mutex::Guard const guard(bad);
                 EXPECT_FALSE(bad.Wait(-1L));
                 bad.Signal();
             });
         },
         {failed("Condition"), failed("Condition", "invalid argument"),
          failed("Condition", "invalid argument")}},
        {[&] {
             Mutex::Guard const guard(lock);
             fails(SysCall::pthread_cond_wait, [&] { EXPECT_FALSE(lock.Wait(-1L)); });
             fails(SysCall::pthread_cond_timedwait, [&] { EXPECT_FALSE(lock.Wait(5L)); });
             fails(SysCall::pthread_cond_signal, [&] { lock.Signal(); });
             fails(SysCall::pthread_cond_broadcast, [&] { lock.Broadcast(); });
         },
         LogCapture::LinesT(4, failed("Condition"))},
    };
    for (Row const& row : rows) {
        row.body();
        EXPECT_EQ(log_.Take(), row.lines);
        EXPECT_TRUE(LocksOf("Main").empty());
    }
    Calls calls;
    ASSERT_TRUE(lock.Lock());
    calls.Script(SysCall::pthread_mutex_unlock, {Calls::Fail(EPERM)});
    EXPECT_EQ(lock.Unlock(), 0u);
    EXPECT_EQ(log_.Take(), LogCapture::LinesT{failed("Mutex")});
    EXPECT_EQ(LocksOf("Main"), LocksT{"CORE ACQUIRED"});
    lock.Unlock();
}

TEST_F(MutexMonitor, LockHasAnXmlForm) {
    Clock clock;
    setenv("TZ", "UTC", 1);
    clock.SetWall(784111777);
    RunInWorker([&] {
        Mutex::Guard const guard(constantMutex);
        clock.Advance(1500);
        AutoPVector<Thread::State, StdDeleter> states;
        ASSERT_EQ(Thread::GetStates(states), 0x00220190u);
        Thread::Lock const& lock = states[1]->Locks().Front();
        Xml::Document document;
        EXPECT_TRUE(lock.AttachTo(document));
        EXPECT_EQ(document.FirstNode()->DataType(), Xml::Base::DATA_ARRAY);
        Io::StringStream text;
        EXPECT_TRUE(Xml::Print(text, document, Xml::PRINT_COMPACT) && text.Flush());
        EXPECT_STREQ(text.Str().Cstr(),
                     "<lock><precedence><name>ULTIMATE</name><order>157</order></precedence>"
                     "<state>ACQUIRED</state><since>Nov  6 08:49:37</since>"
                     "<duration>1.500000</duration></lock>");
        ForEveryAllocation([&](Heap& heap) {
            Xml::Document full;
            (void)full.AllocateString(std::string(1500, 'x').c_str(), 0);
            heap.Arm();
            bool const ok = lock.AttachTo(full);
            heap.Disarm();
            EXPECT_EQ(ok, !heap.Fired());
        });
    });
}

TEST_F(MutexThreshold, TakesOneHundredMillisecondsToADay) {
    struct Row {
        char const* text;
        uint32_t code;
        unsigned long threshold;
    } const rows[] = {
        {"100", 0x000903E8, 100},
        {"99", 0x800903E8, 100},
        {"100000001", 0x800903E8, 100},
        {"1s", 0x800903E8, 100},
        {"", 0x800903E8, 100},
        {"-100", 0x800903E8, 100},
        {"100000000", 0x000903E8, 100000000},
    };
    for (Row const& row : rows) {
        EXPECT_EQ(Mutex::SetThreshold(row.text), row.code) << row.text;
        EXPECT_EQ(Mutex::Threshold(), row.threshold) << row.text;
        EXPECT_EQ(Thread::SelfStatus()->Code(), row.code);
        EXPECT_EQ(log_.Take(),
                  LogCapture::LinesT{row.code >> 31
                                         ? "E Mutex: threshold out of range [100..100000000] ms."
                                         : std::string("I Mutex: set threshold to ") + row.text + " ms."});
    }
    EXPECT_EQ(Mutex::RstThreshold(), 0x0009044Cu);
    EXPECT_EQ(Mutex::Threshold(), Mutex::THRESHOLD_OFF);
}

TEST_F(MutexThreshold, WarnsOfALongHold) {
    Clock clock;
    Condition lock(Mutex::CORE);
    (void)Mutex::SetThreshold("100");
    log_.Clear();
    auto const hold = [&](long milliseconds) {
        EXPECT_TRUE(lock.Lock());
        clock.Advance(milliseconds);
        return lock.Unlock();
    };
    EXPECT_EQ(hold(99), 0u);
    EXPECT_TRUE(log_.Take().empty());
    EXPECT_EQ(hold(100), 100u);
    EXPECT_TRUE(lock.TryLock());
    clock.Advance(150);
    EXPECT_EQ(lock.Unlock(), 150u);
    EXPECT_EQ(log_.Take(), (LogCapture::LinesT{"W Mutex: \"Main\" acquired \"CORE\" lock for 100 ms.",
                                               "W Mutex: \"Main\" acquired \"CORE\" lock for 150 ms."}));
    // A wait gives the lock up, and the time begins anew behind it.
    EXPECT_TRUE(lock.Lock());
    clock.Advance(200);
    std::thread mover([&] {
        clock.AwaitWaiters(1);
        clock.Advance(500);
    });
    EXPECT_FALSE(lock.Wait(500L));
    mover.join();
    EXPECT_EQ(lock.Unlock(), 0u);
    EXPECT_EQ(log_.Take(), LogCapture::LinesT{"W Condition: \"Main\" acquired \"CORE\" lock for 200 ms."});
    (void)Mutex::RstThreshold();
    log_.Clear();
    EXPECT_EQ(hold(100000), 0u);
    EXPECT_TRUE(log_.Take().empty());
}

TEST_F(ConditionMonitor, WaitsForASignalOrATime) {
    Clock clock(Clock::ModeT::AUTO);
    Condition lock(Mutex::CORE);
    Mutex::Guard const guard(lock);
    EXPECT_FALSE(lock.Wait(0L));
    EXPECT_FALSE(lock.Wait(2500L));
    EXPECT_FALSE(lock.Wait(Time::Span(1, 500)));
    EXPECT_NEAR(clock.Moved() / 1e9, 4.0, 1e-4);
    EXPECT_EQ(LocksOf("Main"), LocksT{"CORE ACQUIRED"});
    EXPECT_TRUE(log_.Take().empty());
}

TEST_F(ConditionMonitor, IsWokenBySignalAndBroadcast) {
    Condition lock(Mutex::CORE);
    int turns = 0;
    auto const wait = [&](Time::Span const& timeout) {
        Mutex::Guard const guard(lock);
        while (turns == 0)
            EXPECT_TRUE(lock.Wait(timeout));
        --turns;
    };
    Worker forEver([&] { wait(Time::Span(-1)); }, "first");
    Worker limited([&] { wait(Time::Span(20000)); }, "second");
    ASSERT_EQ(forEver.Start(), Thread::STARTED);
    ASSERT_EQ(limited.Start(), Thread::STARTED);
    while (LocksOf("first") != LocksT{"CORE WAITING"} || LocksOf("second") != LocksT{"CORE WAITING"})
        std::this_thread::yield();
    EXPECT_EQ(Thread::OwnerId(lock), Thread::TID_UNKNOWN);
    {
        Mutex::Guard const guard(lock);
        turns = 2;
        lock.Signal();
        lock.Broadcast();
    }
    EXPECT_TRUE(forEver.Stop());
    EXPECT_TRUE(limited.Stop());
    EXPECT_EQ(turns, 0);
    EXPECT_TRUE(log_.Take().empty());
}

TEST_F(MutexMonitor, CanBeReadWhileItChanges) {
    Mutex cache(Mutex::CACHE);
    Condition core(Mutex::CORE);
    std::atomic<long> sum = 0;
    auto const work = [&] {
        while (!Thread::Self()->StopRequested()) {
            Mutex::Guard const a(cache);
            Mutex::Guard const b(core);
            ++sum;
            core.Broadcast();
        }
    };
    Worker one(work, "one");
    Worker two(work, "two");
    ASSERT_EQ(one.Start(), Thread::STARTED);
    ASSERT_EQ(two.Start(), Thread::STARTED);
    for (int i = 0; i < 200 || sum < 100; ++i) {
        EXPECT_LE(LocksOf("one").size(), 2u);
        Thread::OwnerId(core);
    }
    EXPECT_TRUE(one.Stop());
    EXPECT_TRUE(two.Stop());
    EXPECT_TRUE(log_.Take().empty());
}

TEST_F(MutexMonitor, StatesReportExhaustedMemory) {
    Mutex::Guard const guard(constantMutex);
    Worker worker([] {});
    ForEveryAllocation([&](Heap& heap) {
        AutoPVector<Thread::State, StdDeleter> states;
        heap.Arm();
        ReturnT const code = Thread::GetStates(states);
        heap.Disarm();
        EXPECT_EQ(code.IsOom(), heap.Fired());
        EXPECT_EQ(states.Size(), heap.Fired() ? 0u : 2u);
    });
    AutoPVector<Thread::State, StdDeleter> states;
    ASSERT_EQ(Thread::GetStates(states), 0x00220190u);
    ForEveryAllocation([&](Heap& heap) {
        heap.Arm();
        Thread::State const copy(*states[0]);
        heap.Disarm();
        EXPECT_EQ(copy.Initialized(), !heap.Fired());
        if (heap.Fired()) return;
        EXPECT_TRUE(copy.Name() == "Main" && copy.LockListComplete());
        EXPECT_EQ(copy.Tid(), Thread::Id());
        EXPECT_EQ(copy.Locks().Size(), 1u);
    });
}

} // namespace
