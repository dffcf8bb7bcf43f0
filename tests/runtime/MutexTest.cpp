#include "zeb/runtime/Mutex.h"

#include "tests/runtime/Worker.h"
#include "workbench/Calls.h"
#include "workbench/Clock.h"
#include "workbench/Heap.h"
#include "zeb/core/Time.h"
#include "zeb/doc/xml/Document.h"
#include "zeb/doc/xml/Print.h"
#include "zeb/runtime/Condition.h"
#include "zeb/runtime/ThreadImpl.h"
#include "zeb/stream/StringStream.h"

#include <cerrno>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

using MutexMonitor = WithMainThread;
using LinesT = LogCapture::LinesT;

constinit Mutex const constantMutex{Mutex::ULTIMATE};

// Runs operations on the locks a (CACHE), c and d (CORE) and m (MODE): L Lock, T TryLock, l and t the same
// without success, U Unlock, w and v Wait without success (for ever, 5 ms), S Signal, B Broadcast; and, of
// the monitor, P and p push (acquired, released), Q and q pop, A acquired, W and F wait started and finished.
class Script {
public:
    void Run(std::string const& operations) {
        for (unsigned long i = 0; i + 1 < operations.size(); i += 3)
            Step(operations[i], locks_[std::string("acdm").find(operations[i + 1])]);
    }

private:
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
        case 'Q': self.LockPop_(one, Thread::POP_ACQUIRED); break;
        case 'q': self.LockPop_(one, Thread::POP_RELEASED); break;
            // clang-format on
        }
    }

    Condition locks_[4] = {Condition(Mutex::CACHE), Condition(Mutex::CORE), Condition(Mutex::CORE), Condition(Mutex::MODE)};
};

std::string Violation(std::string const& text, std::string const& thread = "Main") {
    return "C Thread: \"" + thread + "\": " + text + ".";
}

std::string Failure(char const* ident, char const* reason = "operation not permitted") {
    return std::string("C ") + ident + ": \"CORE\": system failed [0xcffd****], " + reason + ".";
}

TEST(Mutex, IsAPlainLockWithoutAThreadObject) {
    LogCapture log;
    Condition early(Mutex::CACHE);
    {
        Mutex::Guard const a(constantMutex);
        Mutex::Guard const b(early); // nobody checks the order
        EXPECT_TRUE(a.Held() && b.Held());
        EXPECT_FALSE(constantMutex.TryLock() || early.Wait(0L));
        early.Signal();
    }
    EXPECT_TRUE(early.TryLock());
    EXPECT_EQ(early.Unlock(), 0u);
    EXPECT_TRUE(log.Take().empty());
    EXPECT_STREQ(Mutex::PrecedenceName(Mutex::STATUS_LOG), "STATUS_LOG");
    EXPECT_STREQ(Mutex::PrecedenceName(static_cast<Mutex::PrecedenceT>(159)), "(UNKNOWN)");
}

TEST_F(MutexMonitor, ReportsEachViolationAndGoesOn) {
    std::pair<char const*, char const*> const rows[] = {
        // clang-format off
        {"La Lc Lm Um Uc Ua Ta Ua", nullptr},
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
        {"pm Fm qm", "MODE lock finished waiting in RELEASED state"},
        // clang-format on
    };
    Script script;
    for (auto const& [operations, text] : rows) {
        script.Run(operations);
        EXPECT_EQ(log_.Take(), text ? LinesT{Violation(text)} : LinesT{}) << operations;
        EXPECT_EQ(LocksOf("Main"), "") << operations;
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
    struct Row {
        SysCall call;
        char const *before, *operation, *ident;
    } const rows[] = {
        // clang-format off
        {SysCall::pthread_mutex_trylock, "", "lc", "Mutex"},
        {SysCall::pthread_mutex_trylock, "", "tc", "Mutex"},
        {SysCall::pthread_mutex_unlock, "Lc", "Uc", "Mutex"},
        {SysCall::pthread_cond_wait, "Lc", "wc", "Condition"},
        {SysCall::pthread_cond_timedwait, "Lc", "vc", "Condition"},
        {SysCall::pthread_cond_signal, "Lc", "Sc", "Condition"},
        {SysCall::pthread_cond_broadcast, "Lc", "Bc", "Condition"},
        // clang-format on
    };
    Script script;
    for (Row const& row : rows) {
        script.Run(row.before);
        Calls calls;
        calls.Script(row.call, {Calls::Fail(EPERM)});
        script.Run(row.operation);
        if (*row.before) script.Run("Uc"); // what failed has changed nothing
        EXPECT_EQ(log_.Take(), LinesT{Failure(row.ident)}) << row.operation;
        EXPECT_EQ(LocksOf("Main"), "");
    }
    Calls calls;
    calls.Script(SysCall::pthread_mutex_trylock, {Calls::Fail(EBUSY)});
    calls.Script(SysCall::pthread_mutex_lock, {Calls::Fail(EPERM)}); // blocked, and then failed
    script.Run("lc");
    calls.Script(SysCall::pthread_mutex_init, {Calls::Fail(EPERM)});
    Condition const bad(Mutex::CORE);
    EXPECT_FALSE(bad.Lock() || bad.TryLock() || bad.Unlock() != 0);
    calls.Script(SysCall::pthread_cond_init, {Calls::Fail(EPERM)});
    Condition const deaf(Mutex::CORE);
    Mutex::Guard const guard(deaf);
    EXPECT_FALSE(deaf.Wait(-1L));
    std::string const invalid = Failure("Mutex", "invalid argument");
    EXPECT_EQ(log_.Take(), (LinesT{Failure("Mutex"), Failure("Mutex"), invalid, invalid, invalid, Failure("Condition"),
                                   Failure("Condition", "invalid argument")}));
}

TEST_F(MutexMonitor, ShowsHoldersAndWaiters) {
    Condition lock(Mutex::CORE);
    Mutex high(Mutex::MODE);
    for (bool const all : {false, true}) {
        bool turn = false;
        Worker waiter([&] {
            Mutex::Guard const guard(lock);
            while (!turn) EXPECT_TRUE(lock.Wait(all ? 20000L : -1L));
        });
        auto const await = [](char const* locks) { EXPECT_TRUE(Await([&] { return LocksOf("worker") == locks; })); };
        ASSERT_TRUE(lock.Lock());
        ASSERT_EQ(waiter.Start(), Thread::STARTED);
        await("CORE RELEASED"); // blocked
        EXPECT_EQ(LocksOf("Main"), "CORE ACQUIRED");
        EXPECT_EQ(Thread::OwnerId(lock), Thread::Id());
        lock.Unlock();
        await("CORE WAITING");
        EXPECT_EQ(Thread::OwnerId(lock), Thread::TID_UNKNOWN);
        Mutex::Guard const guard(lock);
        turn = true;
        all ? lock.Broadcast() : lock.Signal();
        lock.Unlock();
        EXPECT_TRUE(waiter.Stop() && lock.Lock());
    }
    Mutex::Guard const guard(lock);
    auto const tryBelow = [&] { // out of order as well, but nothing is taken
        Mutex::Guard const above(high);
        EXPECT_FALSE(lock.TryLock());
        EXPECT_EQ(LocksOf("worker"), "MODE ACQUIRED");
        EXPECT_EQ(Thread::OwnerId(high), Thread::Id());
    };
    RunInWorker(tryBelow);
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
    std::vector<std::unique_ptr<Mutex>> locks;
    for (unsigned i = 0; i < 9; ++i) locks.push_back(std::make_unique<Mutex>(static_cast<Mutex::PrecedenceT>(i)));
    ForEveryAllocation(
        [&](Heap& heap) {
            RunInWorker([&] { // with a stack of its own
                heap.Arm();
                for (auto const& lock : locks) EXPECT_TRUE(lock->Lock());
                heap.Disarm();
                bool complete;
                EXPECT_NE(LocksOf("worker", &complete), "");
                EXPECT_EQ(complete, !heap.Fired());
                // Without the list all checks are off, and the answer is the safe one.
                EXPECT_EQ(constantMutex.Lock(), complete);
                if (complete) constantMutex.Unlock();
                for (unsigned i = 9; i-- != 0;) locks[i]->Unlock();
                EXPECT_TRUE(constantMutex.Lock()) << "the list is complete again";
                constantMutex.Unlock();
                EXPECT_EQ(log_.Take().size(), complete ? 0u : 2u);
            });
        },
        Heap::ScopeT::PROCESS);
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
            heap.Arm();
            ReturnT const code = Thread::GetStates(states);
            heap.Disarm();
            EXPECT_EQ(code.IsOom(), heap.Fired());
            EXPECT_EQ(states.Size(), heap.Fired() ? 0u : 2u);
            states.Clear();
        });
        ASSERT_EQ(Thread::GetStates(states), 0x00220190u);
        ForEveryAllocation([&](Heap& heap) {
            Xml::Document document;
            document.AllocateString(std::string(1500, 'x').c_str(), 0);
            heap.Arm();
            Thread::State const copy(*states[1]);
            bool const ok = copy.Initialized() && copy.Locks().Front().AttachTo(document);
            heap.Disarm();
            EXPECT_EQ(ok, !heap.Fired());
            EXPECT_EQ(copy.Locks().Size(), copy.Initialized() ? 1u : 0u);
            if (!ok) return;
            EXPECT_EQ(document.FirstNode()->DataType(), Xml::Base::DATA_ARRAY);
            Io::StringStream text;
            EXPECT_TRUE(Xml::Print(text, document, Xml::PRINT_COMPACT) && text.Flush());
            EXPECT_STREQ(text.Str().Cstr(), "<lock><precedence><name>ULTIMATE</name><order>157</order></precedence>"
                                            "<state>ACQUIRED</state><since>Nov  6 08:49:37</since>"
                                            "<duration>1.500000</duration></lock>");
        });
    });
}

TEST_F(MutexMonitor, ThresholdHasARange) {
    std::pair<char const*, unsigned long> const rows[] = {{"100", 100}, {"99", 0},   {"100000001", 0},        {"1s", 0},
                                                          {"", 0},      {"-100", 0}, {"100000000", 100000000}};
    unsigned long threshold = Mutex::THRESHOLD_OFF;
    for (auto const& [text, value] : rows) {
        uint32_t const code = value ? 0x000903E8 : 0x800903E8;
        if (value) threshold = value;
        EXPECT_EQ(Mutex::SetThreshold(text), code) << text;
        EXPECT_EQ(Mutex::Threshold(), threshold);
        EXPECT_EQ(Thread::SelfStatus()->Code(), code);
        EXPECT_EQ(log_.Take(), LinesT{value ? std::string("I Mutex: set threshold to ") + text + " ms."
                                            : "E Mutex: threshold out of range [100..100000000] ms."});
    }
    EXPECT_EQ(Mutex::RstThreshold(), 0x0009044Cu);
    EXPECT_EQ(Mutex::Threshold(), Mutex::THRESHOLD_OFF);
}

TEST_F(MutexMonitor, ThresholdWarnsOfALongHoldAndWaitsEndAtTheirTime) {
    Clock clock(Clock::ModeT::AUTO);
    Condition lock(Mutex::CORE);
    auto const hold = [&](long milliseconds) {
        EXPECT_TRUE(lock.Lock());
        clock.Advance(milliseconds);
        return lock.Unlock();
    };
    EXPECT_EQ(hold(100000), 0u);
    (void)Mutex::SetThreshold("100");
    EXPECT_EQ(hold(99), 0u);
    EXPECT_EQ(hold(150), 150u);
    EXPECT_TRUE(lock.TryLock());
    clock.Advance(200);
    long const before = clock.Moved(); // a wait gives the lock up, and the time begins anew behind it
    EXPECT_FALSE(lock.Wait(0L) || lock.Wait(2500L) || lock.Wait(Time::Span(1, 500)));
    EXPECT_NEAR(static_cast<double>(clock.Moved() - before) / 1e9, 4.0, 1e-4);
    EXPECT_EQ(LocksOf("Main"), "CORE ACQUIRED");
    EXPECT_EQ(lock.Unlock(), 0u);
    (void)Mutex::RstThreshold();
    EXPECT_EQ(log_.Take(), (LinesT{"I Mutex: set threshold to 100 ms.", "W Mutex: \"Main\" acquired \"CORE\" lock for 150 ms.",
                                   "W Condition: \"Main\" acquired \"CORE\" lock for 200 ms.", "I Mutex: reset threshold."}));
}

} // namespace
