// The backtrace behind a statement of the log: which lines it has, and that it begins with the client.

#include "tests/runtime/Worker.h"
#include "zeb/io/FdBase.h"
#include "zeb/io/PollableBase.h"
#include "zeb/io/PollableDgram.h"
#include "zeb/runtime/Condition.h"
#include "zeb/runtime/Random.h"
#include "zeb/runtime/ThreadImpl.h"

#include <array>
#include <regex>
#include <sys/socket.h>

namespace {

// What the body logs, with the id of this thread as TID and each offset as H.
LinesT LinesOf(std::function<void()> const& body) {
    LogCapture log(LogCapture::WITH_BACKTRACES);
    body();
    LinesT lines = log.Take();
    std::regex const id("\\b" + std::to_string(gettid()) + "\\b"), offset("0x[0-9a-f]+$");
    for (auto& line : lines) line = std::regex_replace(std::regex_replace(line, id, "TID"), offset, "H");
    return lines;
}

std::atomic<unsigned> sink; // keeps the frames of what would else be tail calls
Clock* clockOfTest = nullptr;
Calls* callsOfTest = nullptr; // of the client that runs

void Later() { clockOfTest->Advance(150); }
void Fails(SysCall call, int error) { callsOfTest->Script(call, {Calls::Fail(error)}); }

#define INLINE [[gnu::always_inline]] inline

struct Locks {
    INLINE void Push(Thread::LockPushT_ type) { self.LockPush_(low, type, now); }
    INLINE void Pop(Thread::LockPopT_ type) { self.LockPop_(low, type); }

    Condition low{Mutex::CACHE}, high{Mutex::CORE};
    Time::Span const now = Time::Monotonic();
    Thread& self = *Thread::Self();
    static constexpr auto HELD = Thread::PUSH_ACQUIRED, FREE = Thread::PUSH_RELEASED;
    static constexpr auto UNHOLD = Thread::POP_ACQUIRED, UNFREE = Thread::POP_RELEASED;
};

struct Transport {
    Transport() { sink = static_cast<unsigned>(socketpair(AF_UNIX, SOCK_DGRAM, 0, pair) + write(pair[1], "x", 1)); }
    ~Transport() { close(pair[0]), close(pair[1]); }

    int pair[2];
    unsigned long done;
    Io::ModeT const mode = Io::MODE_READ_WRITE;
    Log::VerboseT const loud = Log::VERBOSE_ON;
    Io::Stateful state;
    Io::FdBase base{pair[0], mode, loud, "T", state};
    Io::PollableDgram dgram{"T", pair[0], mode, waiting};
    Io::PollableBase waiting{base, dgram, "T"};
};

// Clients of what logs with a backtrace, one by one.
template<int>
void Client();

// clang-format off
#define CLIENT(number, ...)                                                                                                      \
    template<> [[gnu::noinline]] void Client<number>() { [[maybe_unused]] Locks l; __VA_ARGS__; sink = number; }
CLIENT(0, Log(Log::INFO, "T", nullptr, "here") << Log::Backtrace(0))
CLIENT(1, (void)(StatusLog(5, Log::INFO, "T", nullptr, "here") << Log::Backtrace(0)))
CLIENT(2, Mutex::Guard const a(l.high), b(l.low))
CLIENT(3, l.low.Lock(); l.low.Lock(); l.low.Unlock())
CLIENT(4, l.low.Lock(); l.low.TryLock(); l.low.Unlock())
CLIENT(5, l.low.Lock(); l.high.Lock(); l.low.Unlock(); l.high.Unlock(); l.Pop(l.UNHOLD))
CLIENT(6, l.Pop(l.UNHOLD))
CLIENT(7, l.Push(l.FREE); l.Pop(l.UNHOLD))
CLIENT(8, l.self.LockAcquired_(l.low, l.now))
CLIENT(9, l.Push(l.HELD); l.self.LockAcquired_(l.low, l.now); l.Pop(l.UNHOLD))
CLIENT(10, l.Push(l.FREE); l.self.LockWaitStarted_(l.low, l.now); l.Pop(l.UNFREE))
CLIENT(11, l.Push(l.FREE); l.self.LockWaitFinished_(l.low, l.now); l.Pop(l.UNFREE))
CLIENT(12, l.low.Signal())
CLIENT(13, l.low.Broadcast())
CLIENT(14, l.low.Lock(); Fails(SysCall::pthread_cond_wait, EPERM); l.low.Wait(-1L); l.low.Unlock())
CLIENT(15, l.low.Lock(); Fails(SysCall::pthread_mutex_unlock, EPERM); l.low.Unlock(); l.low.Unlock())
CLIENT(16, Fails(SysCall::pthread_mutex_init, EPERM); Mutex const bad(Mutex::CACHE))
CLIENT(17, Fails(SysCall::pthread_cond_init, EPERM); Condition const bad(Mutex::CACHE))
CLIENT(18, l.low.Lock(); Later(); l.low.Unlock())
CLIENT(19, l.low.Lock(); Later(); l.low.Wait(0L); l.low.Unlock())
CLIENT(20, Fails(SysCall::getrandom, EIO); Random::Get())
CLIENT(21, Fails(SysCall::getrandom, EIO); String text; sink = Random::GetAsciiString(5, text))
CLIENT(22, Fails(SysCall::getrandom, EIO); unsigned char bytes[5]; Random::GetNz(bytes, 5))
CLIENT(23, Fails(SysCall::getrandom, EIO); Random::GetUniformInterval(0, 5))
CLIENT(24, Transport t; Fails(SysCall::write, EPERM); sink = t.base.SysWrite("a", 1, t.done))
CLIENT(25, Transport t; Fails(SysCall::recv, ENOBUFS); sink = t.dgram.GetBytesAvailable(t.done))
CLIENT(26, for (int i = 0; i < 8; ++i) l.Push(l.HELD); Heap heap(1); heap.Arm(); l.Push(l.HELD); heap.Disarm();
           for (int i = 0; i < 9; ++i) l.Pop(l.UNHOLD))
// clang-format on

using LogBacktrace = WithMainThread;

template<int... NUMBERS>
void ExpectClients(std::integer_sequence<int, NUMBERS...>) {
    void (*const clients[])() = {Client<NUMBERS>...};
    for (unsigned number = 0; number < sizeof...(NUMBERS); ++number) {
        Calls calls;
        callsOfTest = &calls;
        LinesT const lines = LinesOf(clients[number]);
        unsigned statements = 0;
        for (unsigned i = 0; i + 1 < lines.size(); ++i) {
            if (lines[i].find("\"Main\" (TID) backtrace:") == std::string::npos) continue;
            ++statements;
            std::string const head = lines[i].substr(0, lines[i].find('"')), own = "Client<" + std::to_string(number) + ">()+H";
            EXPECT_TRUE(lines[i + 1].starts_with(head + "  void (") && lines[i + 1].find(own) != std::string::npos)
                << lines[i - 1] << "\n"
                << lines[i + 1];
        }
        EXPECT_GT(statements, 0u) << number << testing::PrintToString(lines);
    }
}

TEST_F(LogBacktrace, BeginsWithTheFunctionOfTheClient) {
    Clock clock(Clock::ModeT::AUTO);
    clockOfTest = &clock;
    EXPECT_EQ(Mutex::SetThreshold("100"), 0x000903E8u);
    ExpectClients(std::make_integer_sequence<int, 27>());
    EXPECT_EQ(Mutex::RstThreshold(), 0x0009044Cu);
}

[[gnu::noinline]] void Here(Log::Backtrace const& request) { Log(Log::WARNING, "T", nullptr, "here") << request, sink = 1; }

struct TypeOfALongName {};

template<class... PartsT>
[[gnu::noinline]] void Long(PartsT...) {
    Log(Log::WARNING, "T", nullptr, "here") << Log::Backtrace(0), sink = 1;
}

[[gnu::noinline]] void Deep(unsigned depth) { (depth ? Deep(depth - 1) : Here(Log::Backtrace(0))), sink = depth; }

// The lines with the first and the last frame alone.
std::string Shown(std::function<void()> const& body) {
    std::string text, last;
    std::regex const frame("W T:   \\S.*\\+H");
    for (std::string const& line : LinesOf(body)) {
        bool const isFrame = std::regex_match(line, frame);
        if (!isFrame || last.empty()) text += line + "|";
        if (isFrame) last = line;
    }
    return text;
}

TEST_F(LogBacktrace, HasAHeadAndTheFramesBehindTheSkippedOnes) {
    auto const readable = Log::Backtrace::DEMANGLE, raw = Log::Backtrace::SIGNAL;
    int const self = Thread::TID_SELF;
    std::string const here = "W T: here.|",
                      head = here + "W T: \"Main\" (TID) backtrace:|W T:   ", none = "no backtrace available.|";
    std::string const name = "(anonymous namespace)::Here(Log::Backtrace const&)+H|",
                      mangled = "_ZN12_GLOBAL__N_14HereERKN3Log9BacktraceE+H|";
    auto const failed = [&](std::string const& why) { return here + "E T: unable to get a backtrace (" + why + ".|"; };
    std::tuple<Log::Backtrace, bool, std::string> const rows[] = {
        {Log::Backtrace(0), false, head + name},
        {Log::Backtrace(0, gettid(), readable), false, head + name},
        {Log::Backtrace(0, self, raw), false, head + mangled},
        {Log::Backtrace(0), true, head + mangled}, // in a handler: no heap
        {Log::Backtrace(1000), false, head + none},
        {Log::Backtrace(~0UL - 3), true, head + none},
        {Log::Backtrace(~0UL - 2), false, here},
        {Log::Backtrace(~0UL), false, here},
        {Log::Backtrace(0, 1, readable), false, failed("1): no such process")},
        {Log::Backtrace(0, 1, readable), true, failed("1): resource deadlock avoided")},
        {Log::Backtrace(~0UL, 0, readable), false, failed("0): no such process")}};
    for (auto const& [request, handler, text] : rows) {
        EXPECT_EQ(Shown([request = request, handler = handler] {
                      std::unique_ptr<Log::InHandler> const inside(handler ? new Log::InHandler : nullptr);
                      Heap heap;
                      heap.Arm(), Here(request), heap.Disarm();
                      EXPECT_TRUE(!handler || heap.Calls() == 0);
                  }),
                  text);
    }
    std::string const deep = Shown([] { Deep(600); }),
                      wide = Shown([] { std::apply([](auto... part) { Long(part...); }, std::array<TypeOfALongName, 90>()); });
    EXPECT_EQ(deep, head + name + "W T:   [...]|");
    EXPECT_TRUE(wide.starts_with(head + "void (anonymous namespace)::Long<(anonymous namespace)::TypeOfALongName, ") &&
                wide.size() == head.size() + 963)
        << wide;
}

TEST_F(LogBacktrace, ShowsAnotherThreadAndWhatFailed) {
    std::atomic<int> tid = 0;
    std::atomic<bool> stop = false;
    auto const spin = [&] {
        for (tid = Thread::Id(); !stop;) sink = 0;
    };
    Worker busy(spin, "busy");
    ASSERT_TRUE(busy.Start() == Thread::STARTED && Await([&] { return tid != 0; }));
    Calls calls;
    calls.Script(SysCall::read, {Calls::Fail(EACCES)});
    std::string const head = "W T: here.|E T: unable to go to a next stack frame: permission denied|W T: \"busy\" (" +
                             std::to_string(tid) + ") backtrace:|W T:   ";
    std::string shown;
    for (auto const& line : LinesOf([&] { Here(Log::Backtrace(5, tid, Log::Backtrace::DEMANGLE)); })) shown += line + "|";
    EXPECT_TRUE(shown.starts_with(head) && shown.find("ShowsAnotherThread") != std::string::npos) << shown;
    EXPECT_TRUE((stop = true) && busy.Stop());
}

} // namespace
