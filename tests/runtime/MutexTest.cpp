#include "zeb/runtime/Mutex.h"

#include "tests/runtime/Worker.h"
#include "zeb/doc/xml/Document.h"
#include "zeb/doc/xml/Print.h"
#include "zeb/runtime/Condition.h"
#include "zeb/runtime/ThreadImpl.h"
#include "zeb/stream/StringStream.h"

#include <deque>

namespace {

using MutexMonitor = WithMainThread;

constinit Mutex const constantMutex{Mutex::ULTIMATE};

// Runs operations on the locks a (CACHE), c and d (CORE) and m (MODE): L Lock, T TryLock, l and t the same
// without success, U Unlock, w and v Wait without success (for ever, 5 ms), S Signal, B Broadcast; and, of
// the monitor, P and p push (acquired, released), Q and q pop, A acquired, W and F wait started and finished.
struct Script {
    void Run(std::string const& operations) {
        for (unsigned long i = 0; i + 1 < operations.size(); i += 3)
            Step(operations[i], locks_[std::string("acdm").find(operations[i + 1])]);
    }
    void Step(char operation, Condition const& one) {
        Thread& self = *Thread::Self();
        Time::Span const now = Time::Monotonic();
        switch (operation) {
        // clang-format off
        case 'L': EXPECT_TRUE(one.Lock()); break;          case 'l': EXPECT_FALSE(one.Lock()); break;
        case 'T': EXPECT_TRUE(one.TryLock()); break;       case 't': EXPECT_FALSE(one.TryLock()); break;
        case 'w': EXPECT_FALSE(one.Wait(-1L)); break;      case 'v': EXPECT_FALSE(one.Wait(5L)); break;
        case 'S': one.Signal(); break;                     case 'B': one.Broadcast(); break;
        case 'U': EXPECT_EQ(one.Unlock(), 0u); break;      case 'A': self.LockAcquired_(one, now); break;
        case 'W': self.LockWaitStarted_(one, now); break;  case 'F': self.LockWaitFinished_(one, now); break;
        case 'P': self.LockPush_(one, Thread::PUSH_ACQUIRED, now); break;
        case 'p': self.LockPush_(one, Thread::PUSH_RELEASED, now); break;
        case 'Q': self.LockPop_(one, Thread::POP_ACQUIRED); break; case 'q': self.LockPop_(one, Thread::POP_RELEASED); break;
            // clang-format on
        }
    }

    Condition locks_[4] = {Condition(Mutex::CACHE), Condition(Mutex::CORE), Condition(Mutex::CORE), Condition(Mutex::MODE)};
};

std::string Violation(std::string const& text, std::string const& thread = "Main") {
    return "C Thread: \"" + thread + "\": " + text + ".";
}

std::string Failure(std::string const& ident, std::string const& reason = "operation not permitted") {
    return "C " + ident + ": \"CORE\": system failed [0xcffd****], " + reason + ".";
}

TEST(Mutex, IsAPlainLockWithoutAThreadObject) {
    LogCapture log;
    Condition early(Mutex::CACHE);
    {
        Mutex::Guard const a(constantMutex), b(early); // nobody checks the order
        EXPECT_TRUE(a.Held() && b.Held() && !constantMutex.TryLock() && !early.Wait(0L));
        early.Signal();
    }
    EXPECT_TRUE(early.TryLock() && early.Unlock() == 0 && log.Take().empty());
    std::string const name = Mutex::PrecedenceName(Mutex::STATUS_LOG);
    EXPECT_EQ(name + Mutex::PrecedenceName(static_cast<Mutex::PrecedenceT>(159)), "STATUS_LOG(UNKNOWN)");
}

TEST_F(MutexMonitor, ReportsEachViolationAndGoesOn) {
    std::pair<char const*, char const*> const rows[] = {
        // clang-format off
        {"La Lc Lm Um Uc Ua Ta Ua", ""},
        {"Lm Lc Uc Um", "lock precedence violation: CORE (28) after MODE (35)"},
        {"Lc Td Ud Uc", "lock precedence violation: CORE (28) after CORE (28)"},
        {"La Lm Ua Um Qa", "CACHE lock: unexpected pop operation, MODE lock expected"},
        {"Qc", "CORE lock/unlock count mismatch"},
        {"pc Qc", "CORE lock is in unexpected state ACQUIRED, RELEASED expected"},
        {"Pc qc", "CORE lock is in unexpected state RELEASED, ACQUIRED expected"},
        {"Ac", "CORE lock acquisition violation: no lock to acquisition"},
        {"pc Am qc", "MODE lock: unexpected acquisition operation, CORE lock expected"},
        {"Pc Ac Qc", "CORE lock is in unexpected state ACQUIRED, RELEASED expected"},
        {"Wm", "MODE lock acquisition violation: no lock to wait"},
        {"Pc Wm Qc", "MODE lock: unexpected wait operation, CORE lock expected"},
        {"Pc Fm Qc", "MODE lock: unexpected finish to wait operation, CORE lock expected"},
        {"pm Wm qm", "trying to wait on an unlocked MODE lock"},
        {"pm Fm qm", "MODE lock finished waiting in RELEASED state"}};
    // clang-format on
    Script script;
    for (auto const& [operations, text] : rows) {
        script.Run(operations);
        EXPECT_EQ(log_.TakeText() + LocksOf("Main"), *text ? Violation(text) + "\n" : "") << operations;
    }
    script.Run("Lc Lm lc tc Um Uc Sc");
    std::string const again = Failure("Mutex", "resource deadlock avoided");
    EXPECT_EQ(log_.Take(), (LinesT{again, again, Violation("CORE lock: not found in an acquired locks list"),
                                   "C Condition: \"CORE\": system failed [0xcffd****]."}));
    Worker careless([&] { script.Run("La Lm Ua Um"); });
    for (int round = 0; round < 2; ++round) { // a new run knows nothing of the old one
        EXPECT_TRUE(careless.Start() == Thread::STARTED && careless.Stop());
        EXPECT_EQ(log_.Take(), LinesT{Violation("CACHE lock: unexpected pop operation, MODE lock expected", "worker")});
    }
}

TEST_F(MutexMonitor, ReportsFailuresOfTheSystem) {
    std::tuple<std::string, char const*, char const*> const rows[] = {
        // clang-format off
        {"mutex_trylock", "lc", "Mutex"}, {"mutex_trylock", "tc", "Mutex"}, {"mutex_unlock", "Uc", "Mutex"},
        {"cond_wait", "wc", "Condition"}, {"cond_timedwait", "vc", "Condition"}, {"cond_signal", "Sc", "Condition"},
        {"cond_broadcast", "Bc", "Condition"}};
    // clang-format on
    Script script;
    for (auto const& [call, operation, ident] : rows) {
        bool const held = call != "mutex_trylock";
        if (held) script.Run("Lc");
        Calls calls;
        calls.ScriptFailure("pthread_" + call + " 0 EPERM");
        script.Run(operation);
        if (held) script.Run("Uc"); // what failed has changed nothing
        EXPECT_EQ(log_.TakeText() + LocksOf("Main"), Failure(ident) + "\n") << operation;
    }
    Calls calls;
    calls.Script(SysCall::pthread_mutex_trylock, {Calls::Fail(EBUSY)});
    calls.Script(SysCall::pthread_mutex_lock, {Calls::Fail(EPERM)}); // blocked, and then failed
    script.Run("lc");
    calls.Script(SysCall::pthread_mutex_init, {Calls::Fail(EPERM)});
    Condition const bad(Mutex::CORE);
    calls.Script(SysCall::pthread_cond_init, {Calls::Fail(EPERM)});
    Condition const deaf(Mutex::CORE);
    Mutex::Guard const guard(deaf);
    EXPECT_FALSE(bad.Lock() || bad.TryLock() || bad.Unlock() != 0 || deaf.Wait(-1L));
    std::string const invalid = Failure("Mutex", "invalid argument");
    EXPECT_EQ(log_.Take(), (LinesT{Failure("Mutex"), Failure("Mutex"), Failure("Condition"), invalid, invalid, invalid,
                                   Failure("Condition", "invalid argument")}));
}

TEST_F(MutexMonitor, ShowsHoldersAndWaiters) {
    Condition lock(Mutex::CORE), high(Mutex::MODE);
    for (bool const all : {false, true}) {
        bool turn = false;
        Worker waiter([&] {
            Mutex::Guard const guard(lock);
            while (!turn) EXPECT_TRUE(lock.Wait(all ? 20000L : -1L));
        });
        auto const await = [](char const* locks) { EXPECT_TRUE(Await([&] { return LocksOf("worker") == locks; })); };
        ASSERT_TRUE(lock.Lock() && waiter.Start() == Thread::STARTED);
        await("CORE RELEASED"); // blocked
        EXPECT_TRUE(LocksOf("Main") == "CORE ACQUIRED" && Thread::OwnerId(lock) == Thread::Id());
        lock.Unlock(), await("CORE WAITING");
        EXPECT_EQ(Thread::OwnerId(lock), Thread::TID_UNKNOWN);
        Mutex::Guard const guard(lock);
        turn = true, all ? lock.Broadcast() : lock.Signal();
        lock.Unlock();
        EXPECT_TRUE(waiter.Stop() && lock.Lock());
    }
    Mutex::Guard const guard(lock);
    RunInWorker([&] { // out of order as well, but nothing is taken
        Mutex::Guard const above(high);
        EXPECT_TRUE(!lock.TryLock() && LocksOf("worker") == "MODE ACQUIRED" && Thread::OwnerId(high) == Thread::Id());
    });
    EXPECT_TRUE(log_.Take().empty());
}

TEST_F(MutexMonitor, ReadsTheWallClockOnceASecond) {
    Clock clock;
    Mutex const lock(Mutex::CORE);
    for (long const milliseconds : {1000L, 0L, 0L, 1000L}) {
        clock.Advance(milliseconds);
        Calls calls;
        calls.Script(SysCall::pthread_mutex_trylock, {Calls::Fail(EBUSY)});
        Mutex::Guard const guard(lock);
        EXPECT_EQ(calls.Count(SysCall::clock_gettime), milliseconds ? 2u : 1u);
    }
}

TEST_F(MutexMonitor, SurvivesWithoutMemoryForItsStack) {
    std::deque<Mutex> locks;
    for (unsigned i = 0; i < 9; ++i) locks.emplace_back(static_cast<Mutex::PrecedenceT>(i));
    auto const body = [&](Heap& heap) {
        RunInWorker([&] { // with a stack of its own
            heap.Arm();
            for (Mutex const& lock : locks) EXPECT_TRUE(lock.Lock());
            heap.Disarm();
            bool complete;
            EXPECT_TRUE(!LocksOf("worker", &complete).empty() && complete == !heap.Fired());
            // Without the list all checks are off, and the answer is the safe one.
            EXPECT_EQ(constantMutex.Lock() && constantMutex.Unlock() == 0, complete);
            for (unsigned i = 9; i-- != 0;) locks[i].Unlock();
            EXPECT_TRUE(constantMutex.Lock() && constantMutex.Unlock() == 0) << "the list is complete again";
            EXPECT_EQ(log_.Take().size(), complete ? 0u : 2u);
        });
    };
    ForEveryAllocation(body, Heap::ScopeT::PROCESS);
}

TEST_F(MutexMonitor, StatesAndXmlReportExhaustedMemory) {
    setenv("TZ", "UTC", 1);
    Clock clock;
    clock.SetWall(784111777);
    RunInWorker([&] { // whose stack of locks has not seen another second
        Mutex::Guard const guard(constantMutex);
        clock.Advance(1500);
        AutoPVector<Thread::State, StdDeleter> states;
        ForEveryAllocation([&](Heap& heap) {
            bool const ok = Reported(heap, [&] { return !Thread::GetStates(states).IsOom(); });
            EXPECT_EQ(states.Size(), ok ? 2u : 0u);
            states.Clear();
        });
        ASSERT_EQ(Thread::GetStates(states), 0x00220190u);
        ForEveryAllocation([&](Heap& heap) {
            Xml::Document document;
            document.AllocateString(std::string(1500, 'x').c_str(), 0);
            if (!Reported(heap, [&] {
                    Thread::State const copy(*states[1]);
                    EXPECT_EQ(copy.Locks().Size(), copy.Initialized() ? 1u : 0u);
                    return copy.Initialized() && copy.Locks().Front().AttachTo(document);
                }))
                return;
            EXPECT_EQ(document.FirstNode()->DataType(), Xml::Base::DATA_ARRAY);
            Io::StringStream text;
            EXPECT_TRUE(Xml::Print(text, document, Xml::PRINT_COMPACT) && text.Flush());
            EXPECT_EQ(text.Str(), "<lock><precedence><name>ULTIMATE</name><order>157</order></precedence><state>ACQUIRED</state>"
                                  "<since>Nov  6 08:49:37</since><duration>1.500000</duration></lock>");
        });
    });
}

TEST_F(MutexMonitor, ThresholdHasARange) {
    unsigned long threshold = Mutex::THRESHOLD_OFF;
    for (std::string const text : {"100", "99", "100000001", "1s", "", "-100", "100000000"}) {
        bool const good = text == "100" || text == "100000000";
        uint32_t const code = good ? 0x000903E8 : 0x800903E8;
        if (good) threshold = std::stoul(text);
        EXPECT_EQ(Mutex::SetThreshold(text.c_str()), code) << text;
        EXPECT_EQ(std::pair(Mutex::Threshold(), Thread::SelfStatus()->Code().Code()), std::pair(threshold, code));
        EXPECT_EQ(log_.Take(), LinesT{good ? "I Mutex: set threshold to " + text + " ms."
                                           : "E Mutex: threshold out of range [100..100000000] ms."});
    }
    EXPECT_TRUE(Mutex::RstThreshold() == 0x0009044C && Mutex::Threshold() == Mutex::THRESHOLD_OFF);
}

TEST_F(MutexMonitor, ThresholdWarnsOfALongHoldAndWaitsEndAtTheirTime) {
    Clock clock(Clock::ModeT::AUTO);
    Condition lock(Mutex::CORE);
    auto const hold = [&](long milliseconds) { return lock.Lock() ? (clock.Advance(milliseconds), lock.Unlock()) : ~0UL; };
    EXPECT_TRUE(hold(100000) == 0 && Mutex::SetThreshold("100").Succeeded());
    EXPECT_EQ((std::pair{hold(99), hold(150)}), std::pair(0UL, 150UL));
    EXPECT_TRUE(lock.TryLock());
    clock.Advance(200);
    long const before = clock.Moved(); // a wait gives the lock up, and the time begins anew behind it
    EXPECT_FALSE(lock.Wait(0L) || lock.Wait(2500L) || lock.Wait(Time::Span(1, 500)));
    EXPECT_NEAR(static_cast<double>(clock.Moved() - before) / 1e9, 4.0, 1e-4);
    EXPECT_TRUE(LocksOf("Main") == "CORE ACQUIRED" && lock.Unlock() == 0 && Mutex::RstThreshold().Succeeded());
    EXPECT_EQ(log_.Take(), (LinesT{"I Mutex: set threshold to 100 ms.", "W Mutex: \"Main\" acquired \"CORE\" lock for 150 ms.",
                                   "W Condition: \"Main\" acquired \"CORE\" lock for 200 ms.", "I Mutex: reset threshold."}));
}

} // namespace
