#include "zeb/event/Bus.h"

#include "tests/event/Notes.h"
#include "zeb/event/SenderImpl.h"

#include <semaphore>

namespace {

struct EventBus : WithMainThread {
    static long Senders() {
        AutoPVector<Thread::State, StdDeleter> states;
        EXPECT_EQ(Thread::GetStates(states), 0x00220190u);
        long count = 0;
        for (Thread::State const* const state : states) count += state->Name() == "Event sender";
        return count;
    }
    static void Subscribe(std::initializer_list<Acceptor*> acceptors, char const* type = Note::IDENT) {
        for (Acceptor* const acceptor : acceptors) ASSERT_TRUE(acceptor->Subscribe(type));
    }
    Acceptor::HandlerT Write(char name) {
        return [this, name](Note const& note) {
            EXPECT_NE(note.RaiseTime(), Time::Span());
            calls_ += name + std::to_string(note.Value()) + " ";
        };
    }

    std::string calls_;
};

TEST_F(EventBus, CallsTheAcceptorsOfATypeInOrder) {
    Mutex const lock{Mutex::CACHE};
    Acceptor lone(Write('l')), b(Write('b')), c(Write('c')), other(Write('x')), absent(Write('?'));
    Acceptor a([&](Note const& note) { Write('a')(note), note.Value() == 6 ? lone.Unsubscribe() : void(); }, &lock);
    Subscribe({&a, &b, &c});
    Subscribe({&lone}, "Event::Type::Lone"); // goes during the call for another type
    Subscribe({&other, &c}, "Event::Type::Other");
    ASSERT_TRUE(Event::Subscribe("Event::Type::Other", c.General()));
    Send(1);
    Send(2, Event::SYNC, Event::OrderT(2)); // anything but DIRECT
    Send(3, Event::ASYNC, Event::REVERSE, &b.delegate);
    SendAs("Event::Type::Nobody", 4);
    Send(5, Event::SYNC, Event::DIRECT, &absent.delegate), b.Unsubscribe();
    Event::Unsubscribe(Note::IDENT, &other, "acceptor");
    Event::Unsubscribe("", &a, "another ident");
    Send(6), SendAs("Event::Type::Other", 7);
    EXPECT_EQ(calls_, "a1 b1 c1 c2 b2 a2 b3 a6 c6 x7 c7 c7 ");
    EXPECT_EQ(log_.Take(), LinesT());
}

TEST_F(EventBus, ItsThreadLivesAsLongAsThereIsAnAcceptor) {
    Acceptor a(Write('a')), b(Write('b'));
    AutoPtr<Event::Base> event(new Note(1));
    Raise(event);
    EXPECT_TRUE(event) << "nobody can have subscribed: it stays with the raiser";
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(Senders(), 0);
        Subscribe({&a, &b}), Subscribe({&b}, "Event::Type::B");
        EXPECT_EQ(Senders(), 1);
        a.Unsubscribe(), Event::Unsubscribe("Event::Type::B", &b, "acceptor");
        EXPECT_EQ(Senders(), 1);
        Send(2), b.Unsubscribe();
    }
    EXPECT_EQ(Senders(), 0);
    EXPECT_EQ(calls_, "b2 b2 ");
}

// An event of another class under the type of the notes.
struct Impostor : Event::Base {
    char const* Ident() const override { return Note::IDENT; }
    Base* Clone_() const override { return new (std::nothrow) Impostor; }
};

TEST_F(EventBus, RefusesWithALine) {
    AutoPtr<Event::Base> broken(new Note(1, Note::IDENT, false)), none;
    Raise(broken), Raise(none);
    EXPECT_TRUE(broken && !Raise(*broken) && !Raise(Note(-1))) << "no clone of the last";
    Acceptor a([&](Note const& note) {
        AutoPtr<Event::Base> reply(new Note(note.Value() + 1));
        Raise(reply);
        EXPECT_TRUE(reply && !Raise(*reply)) << "it would wait for itself";
    });
    EXPECT_FALSE(a.Subscribe("") || Senders() != 0);
    EXPECT_TRUE(a.Subscribe() && !a.Subscribe());
    Send(7);
    EXPECT_TRUE(Raise(Impostor()));
    EXPECT_EQ((a.Unsubscribe(), Senders()), 0) << "one subscription";
    std::string const raise = "C Event::Raise: trying to ", note = "\"Event::Type::Note\"";
    std::string const failed = "C Event::Forwarder: system failed [0xcffd****], ";
    EXPECT_EQ(
        log_.Take(),
        LinesT({raise + "send a broken " + note + ", ignored.", raise + "raise a broken event.",
                raise + "send a broken " + note + ", ignored.", "C Event::Base: " + note + ": out of memory [0xcffe****].",
                failed + "unable to subscribe \"acceptor\" to an unknown event.",
                failed + "\"acceptor\" already subscribed to " + note + ".",
                raise + "wait for " + note + " in a handler, ignored.", raise + "wait for " + note + " in a handler, ignored.",
                "C Event::Delegate: \"acceptor\" takes another class than that of " + note + ", ignored."}));
}

TEST_F(EventBus, AHandlerMayUnsubscribeItselfAndComeBack) {
    Mutex const lock{Mutex::CACHE};
    auto const handle = [&](Acceptor& a, Note const& note) {
        Write('a')(note), a.Unsubscribe(), a.Unsubscribe();
        if (note.Value() == 1) {
            EXPECT_FALSE(Event::Subscribe(Note::IDENT, a.Under(nullptr)));
            EXPECT_TRUE(Event::Subscribe(Note::IDENT, a.Under(&lock, "renamed")));
        }
        Event::Unsubscribe("", &a, "acceptor");
        if (note.Value() == 2) Event::Unsubscribe("", &a, "renamed");
    };
    Acceptor a([&](Note const& note) { handle(a, note); }, &lock);
    Subscribe({&a});
    for (int value = 1; value != 4; ++value) Send(value);
    EXPECT_EQ(calls_, "a1 a2 ") << "back under its new name, and gone";
    EXPECT_EQ(Senders(), 1) << "the detached acceptor keeps it";
    // Its call has ended: what is at its address now is another handler, with a lock of its own.
    ASSERT_TRUE(Event::Subscribe(Note::IDENT, a.Under(nullptr, "next")));
    Send(3);
    EXPECT_EQ(calls_, "a1 a2 a3 ");
    for (auto const& [name, threads] : {std::pair("renamed", 1), {"next", 0}, {"acceptor", 0}}) {
        Event::Unsubscribe("", &a, name);
        EXPECT_EQ(Senders(), threads) << "nobody is called renamed any more";
    }
    EXPECT_EQ(log_.Take(),
              LinesT{"C Event::Forwarder: system failed [0xcffd****], unable to change a lock for a \"acceptor\" acceptor."});
}

TEST_F(EventBus, UnsubscribeWaitsForTheCallInProgress) {
    for (char const* const type : {"", Note::IDENT}) {
        std::binary_semaphore inside(0), leave(0);
        std::atomic<bool> ended = false, unsubscribed = false;
        Acceptor first(Write('f')), a([&](Note const&) { inside.release(), leave.acquire(), ended = true; });
        Subscribe({&first, &a}); // nobody is called behind it
        Send(1, Event::ASYNC), inside.acquire();
        Worker other([&] {
            Event::Unsubscribe(type, &a, "acceptor"), unsubscribed = true;
            EXPECT_TRUE(ended);
        });
        ASSERT_TRUE(other.Start().Succeeded());
        ASSERT_TRUE(Await([] { return LocksOf("worker").ends_with("WAITING"); }));
        EXPECT_FALSE(unsubscribed);
        EXPECT_TRUE(a.Subscribe()) << "detached: it is back until the waiting thread looks again";
        leave.release();
        ASSERT_TRUE(other.Stop());
        Send(2);
    }
    EXPECT_EQ(calls_, "f1 f2 f1 f2 ");
}

// Handlers that an object has from a base of its own, and constant ones.
struct Inherited {
    virtual ~Inherited() = default;

    void Hear(Note const& note) { heard += "h" + std::to_string(note.Value()); }
    virtual void Virtual(Event::Base const& event) { heard += event.Ident() == Note::IDENT ? "b" : "?"; }
    void Constant(Note const& note) const { heard += "c" + std::to_string(note.Value()); }

    mutable std::string heard;
};
struct Heir : Acceptor, Inherited {
    using Acceptor::Acceptor;
    void Virtual(Event::Base const&) override { heard += "v"; }
    void Other(Impostor const&) {}

    template<class E, class M>
    static constexpr bool TAKES = std::is_constructible_v<Event::Delegate<Heir, E>, char const*, Heir*, M, Mutex*>;
};
static_assert(Heir::TAKES<Note, decltype(&Heir::Hear)> && Heir::TAKES<Note, decltype(&Heir::Virtual)>);
static_assert(!Heir::TAKES<Note, decltype(&Heir::Other)>, "a handler of another class");
static_assert(!Heir::TAKES<Note, decltype(&Note::MarkRaised)>, "of another object");

TEST_F(EventBus, TakesTheTypeFromTheClassOfAHandler) {
    Heir heir(Write('?'));
    Event::Delegate<Heir, Note> const hear("h", &heir, &Heir::Hear, nullptr), same("s", &heir, &Heir::Hear, nullptr),
        any("v", &heir, &Heir::Virtual, nullptr), constant("c", &heir, &Heir::Constant, nullptr);
    EXPECT_EQ(hear, same);
    EXPECT_NE(hear, constant);
    for (auto const* const delegate : {&hear, &any, &constant}) ASSERT_TRUE(Event::Subscribe(*delegate));
    Send(1), Event::Unsubscribe(any);
    Send(2), Event::Unsubscribe(hear), Event::Unsubscribe(constant);
    EXPECT_EQ(Senders(), 0);
    EXPECT_EQ(heir.heard, "h1vc1h2c2");
}

// A lock whose attempts the test lets through one by one.
struct Gate : Mutex {
    using Mutex::Mutex;

    bool TryLock() const override {
        if (closed_) arrived.release(), pass.acquire();
        return Mutex::TryLock();
    }
    void Open() { closed_ = false, pass.release(); }

    mutable std::counting_semaphore<> arrived{0}, pass{0};
    std::atomic<bool> closed_ = true;
};

TEST_F(EventBus, ReportsAcceptorsWhoseLockIsHeld) {
    Clock clock;
    Gate outer(Mutex::BACKUP_CONFIGURATOR), inner(Mutex::CACHE);
    Acceptor a(Write('a'), &inner, "late"), b(Write('b'), &outer, "later"), c(Write('c'), &inner, "never");
    Subscribe({&a, &b, &c});
    auto const attempts = [&clock](Gate& gate, std::initializer_list<long> seconds) {
        for (long const second : seconds) {
            clock.Advance(second * 1000 - clock.Moved() / 1000000);
            gate.arrived.acquire(), gate.pass.release();
            ASSERT_TRUE(clock.AwaitWaiters(1));
        }
    };
    {
        Mutex::Guard const outerGuard(outer);
        {
            Mutex::Guard const innerGuard(inner);
            Send(1, Event::ASYNC);
            attempts(inner, {0, 29, 30, 45, 62, 89, 90, 95});
            c.Unsubscribe(); // does not wait: nobody is being called
        }
        inner.Open();
        attempts(outer, {96, 125, 126}); // from 96 on, when the call of the first ended
        ASSERT_TRUE((a.Unsubscribe(), a.Subscribe("Event::Type::Other")));
        clock.Advance(1000), outer.arrived.acquire(), outer.Open();
        b.Unsubscribe(); // goes on although this thread holds the lock, and takes the last of the type away
        ASSERT_TRUE(clock.AwaitWaiters(1));
        clock.Advance(1000);
    }
    SendAs("Event::Type::Other", 2);
    EXPECT_EQ(calls_, "a1 a2 ");
    std::string const line = "W Event::Forwarder: unable to send \"Event::Type::Note\" to \"late";
    EXPECT_EQ(log_.Take(), LinesT({line + "\" for 30 seconds.", line + "\" for 62 seconds.", line + "\" for 90 seconds.",
                                   line + "r\" for 30 seconds."}));
    Acceptor slow([&](Note const&) { clock.Advance(150); }, &inner, "slow");
    ASSERT_TRUE(Mutex::SetThreshold("100").Succeeded() && slow.Subscribe());
    Send(3);
    EXPECT_TRUE(log_.Has("W Event::Forwarder: sending \"Event::Type::Note\" to \"slow\" for 150 ms."));
    (void)Mutex::RstThreshold();
}

// Each raiser's events arrive in its order at an acceptor that stays, while others come and go.
TEST_F(EventBus, LosesNothingUnderManyThreads) {
    constexpr int RAISERS = 4, EVENTS = 300;
    int seen[RAISERS] = {};
    Acceptor steady([&](Note const& note) { EXPECT_EQ(note.Value() % 1000, seen[note.Value() / 1000]++); });
    ASSERT_TRUE(steady.Subscribe());
    std::vector<std::unique_ptr<Worker>> workers;
    for (int raiser = 0; raiser < RAISERS; ++raiser) {
        workers.push_back(std::make_unique<Worker>([raiser] {
            Mutex const lock{Mutex::CACHE};
            std::atomic<int> calls = 0;
            for (int i = 0; i < EVENTS; ++i) {
                auto const called = [&](Acceptor& passing) { ++calls, i % 5 == 0 ? passing.Unsubscribe() : void(); };
                Acceptor passing([&](Note const&) { called(passing); }, &lock);
                EXPECT_TRUE(passing.Subscribe());
                Send(raiser * 1000 + i, i % 3 == 0 ? Event::SYNC : Event::ASYNC);
                EXPECT_TRUE(i % 3 != 0 || calls.exchange(0) > 0);
            }
        }));
        ASSERT_TRUE(workers.back()->Start().Succeeded());
    }
    for (auto const& worker : workers) ASSERT_TRUE(worker->Stop());
    SendAs("Event::Type::Nobody", RAISERS * 1000);
    for (int const count : seen) EXPECT_EQ(count, EVENTS);
    EXPECT_EQ(log_.Take(), LinesT());
}

TEST_F(EventBus, SaysExactlyWhenMemoryRanOut) {
    for (bool const runs : {true, false}) { // the thread of the bus
        ForEveryAllocation([&](Heap& heap) {
            Acceptor a([&](Note const&) { a.Unsubscribe(); }), b(Write('b'));
            if (runs) Subscribe({&a});
            Send(0); // its acceptor is one of a call that has ended
            calls_.clear();
            bool first = false, second = false, raised = false;
            Reported(heap, [&] {
                first = a.Subscribe(), second = b.Subscribe();
                raised = Event::Raise(Note(1), &b.delegate, Event::SYNC, Event::DIRECT);
                return first && second && raised;
            });
            EXPECT_EQ(calls_, second && raised ? "b1 " : "");
            EXPECT_EQ(log_.Has("out of memory") || log_.Has("unable to start the thread of the bus"), heap.Fired());
            EXPECT_EQ(Senders(), runs || first || second ? 1 : 0);
            EXPECT_EQ((a.Unsubscribe(), b.Unsubscribe(), log_.Clear(), Senders()), 0);
        });
    }
}

} // namespace
