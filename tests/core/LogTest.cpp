#include "zeb/core/Log.h"

#include "tests/core/Rig.h"
#include "workbench/Calls.h"
#include "workbench/Child.h"
#include "workbench/Clock.h"
#include "workbench/LogCapture.h"
#include "workbench/Namespace.h"
#include "zeb/core/LogImpl.h"
#include "zeb/core/StringAccumulator.h"
#include "zeb/core/Time.h"

#include <atomic>
#include <csignal>
#include <map>
#include <regex>
#include <thread>

namespace {

struct Pair : Log::Combo {
    void Draw(Log& log) const override { log << "10.0.0.1" << Log::GLUE << ':' << Log::GLUE << 80; }
};

std::string X(unsigned long count) { return std::string(count, 'x'); }

// A name of "n" stands for a statement whose arguments do not fit its template.
TEST(Log, ExpandsTheTemplateCutsAndReportsFaultsOfTheStatement) {
    std::string const bad = "invalid message format: ", misfit = " log arguments in a stream: ", cut = " [...]";
    std::string const huge(2000, 'h'), most(1010, 'm');
    std::tuple<std::string, std::string, std::vector<std::string>, std::string> const rows[] = {
        // name, format, arguments, text
        // clang-format off
        {"", "plain", {}, "plain."}, {"eth0", "link %1", {"up"}, "\"eth0\": link up."}, {"", "%1", {""}, ""},
        {"", "%9%8%7%6%5%4%3%2%1", {"1", "2", "3", "4", "5", "6", "7", "8", "9"}, "987654321."}, {"", "list:", {}, "list:"},
        {"", "%%%%%%%%%%%%%%%%%%%%%%%%%%%%%%%%%1%%", {"x"}, "%%%%%%%%%%%%%%%%x%."}, {"", "%%1 %1 %%", {"x"}, "%1 x %."},
        {"", "a. b; c! d* e,", {}, "a. b; c! d* e,"}, {"", "%1", {"%2 stays"}, "%2 stays."}, {"", "%1", {"really?"}, "really?"},
        {"n", "100%", {}, bad + "100%."}, {"n", "%x", {}, bad + "%x."}, {"n", "%0", {"a"}, bad + "%0."},
        {"n", "%1 %1:", {"a"}, bad + "%1 %1:"}, {"n", "%2", {"a", "b"}, bad + "%2."}, {"n", "%1 %3", {"a", "b"}, bad + "%1 %3."},
        {"n", "a %1 b", {}, "too few" + misfit + "a %1 b."}, {"n", "%1", {"a", "b"}, "too many" + misfit + "%1."},
        {"n", "", {"a"}, "too many" + misfit + "."}, {"n", "%%", {"a"}, "too many" + misfit + "%%."},
        {"", X(1021), {}, X(1021) + "."}, {"", X(1022), {}, X(1022) + "."}, {"", X(1023), {}, X(1017) + cut},
        {"", X(5000), {}, X(1017) + cut}, {"", X(1100) + "%1", {"tail"}, X(1017) + cut}, {X(1100), "m", {}, "\"" + X(1016) + cut},
        {"n", "%1" + X(1100), {}, "too few" + misfit + "%1" + X(980) + cut}, {"", "%1-%2-%3", {"a", huge, "c"}, "a-\?\?\?-c."},
        {"", "%2 %3 %4%1", {most, "0123456789abc", "ok", "x"}, "\?\?\? ok x" + most + "."},
        // clang-format on
    };
    for (auto const& [name, format, arguments, text] : rows) {
        LogCapture capture;
        auto log = std::make_unique<Log>(Log::ERROR, "T", name.empty() ? nullptr : name.c_str(), format.c_str());
        for (std::string const& argument : arguments) *log << argument.c_str();
        log.reset();
        EXPECT_EQ(capture.Take(), LogCapture::LinesT{(name == "n" ? "C Log: " : "E T: ") + text}) << format;
    }
}

TEST(Log, TakesEveryTypeAndSteersTheNextOneAndLeadsWithTheCode) {
    static std::string const huge(2000, 'h');
    std::pair<void (*)(Log&), char const*> const rows[] = {
        // clang-format off
        {[](Log& l) { l << 'c' << static_cast<signed char>('s') << static_cast<unsigned char>('u') << Log::Slice("0123", 1, 2); },
         "c s u 12"},
        {[](Log& l) { l << (StringAccumulator() << "acc" << 1) << Pair() << "" << static_cast<char const*>(nullptr); },
         "acc1 10.0.0.1:80  "},
        {[](Log& l) { l << Log::HEX << 255 << 255 << Log::HEX << short{-1} << Log::HEX << LLONG_MIN; },
         "ff 255 ffff 8000000000000000"},
        {[](Log& l) { l << Log::Slice("0123", 2, 9) << Log::Slice("0123", 9, 1) << Log::Slice("0123", ~0UL, ~0UL) << 7; },
         "23   7"},
        {[](Log& l) { l << Log::HEX << 'a' << 16 << CString("ab\0cd", 5) << '\0'; }, "a 16 ab "},
        {[](Log& l) { l << short{-1} << static_cast<unsigned short>(65535) << INT_MIN << UINT_MAX; },
         "-1 65535 -2147483648 4294967295"},
        {[](Log& l) { l << LONG_MIN << ULONG_MAX << LLONG_MIN << ULLONG_MAX; },
         "-9223372036854775808 18446744073709551615 -9223372036854775808 18446744073709551615"},
        {[](Log& l) { l << "a" << Log::GLUE << huge.c_str() << Log::GLUE << "lost" << "b" << "c" << "d"; },
         "\?\?\? b c d"},
        {[](Log& l) { l.Done(0x0FFF0139) << 1 << 2 << 3 << 4; }, "I T: returned code [0x0fff0139], 1 2 3 4"},
        {[](Log& l) { l.Fail(0xCFFD00BE) << 1 << 2 << 3 << 4; }, "C T: system failed [0xcffd00be], 1 2 3 4"},
        {[](Log& l) { l.Oom(0xCFFE00B1) << 1 << 2 << 3 << 4; }, "C T: out of memory [0xcffe00b1], 1 2 3 4"},
        {[](Log& l) { l.Fail(1).Oom(2).Done(3) << 1 << 2 << 3 << 4; }, "I T: returned code [0x00000003], 1 2 3 4"},
        {[](Log& l) { l.Oom(2).Fail(0) << 1 << 2 << 3 << 4; }, "C T: system failed [0x00000000], 1 2 3 4"},
        {[](Log& l) { l.Fail(5) << Log::GLUE << "glued to nothing"; }, "C Log: too few log arguments in a stream: %1 %2 %3 %4"},
        // clang-format on
    };
    LogCapture capture;
    for (auto const& [fill, text] : rows) {
        Log(Log::WARNING, "T", nullptr, "") << Log::LOUD; // without a message
        fill(Log(Log::WARNING, "T", nullptr, "%1 %2 %3 %4") << Log::NO_DOT);
        std::string const line = strstr(text, ": ") ? text : "W T: " + std::string(text);
        EXPECT_EQ(capture.RawLines(), LogCapture::LinesT{line});
        capture.Clear();
    }
    Log(Log::ERROR, "T", "n", "").Done(0x0FFF0139);
    EXPECT_EQ(capture.RawLines(), LogCapture::LinesT{"I T: \"n\": returned code [0x0fff0139]."});
}

TEST(Log, StatementsOfOneThreadHavePlacesOfTheirOwnAndOneTooManyIsDropped) {
    LogCapture capture;
    auto const open = [](char const* text) {
        auto log = std::make_unique<Log>(Log::ERROR, "T", nullptr, "%1 %2 %3");
        return *log << text, std::move(log);
    };
    std::unique_ptr<Log> logs[] = {open("0"), open("1"), open("2"), open("3"), nullptr};
    for (int const i : {3, 0, 2, 1}) *logs[i] << i;
    bool internal = true;
    EXPECT_TRUE(!(*open("x") << 'y' << Log::HEX << 5 << Log::Backtrace(0)).Fail(5).MakeMessage_(&internal));
    EXPECT_EQ(open("x")->Done(5).Code_(), ReturnT::UNDEFINED);
    EXPECT_FALSE(internal);
    for (int const i : {1, 3, 0, 4, 2}) { // they end in any order
        *logs[i] << "last";
        logs[i].reset();
        if (i == 1) *(logs[4] = open("4")) << 4;
    }
    EXPECT_EQ(capture.Take(),
              (LogCapture::LinesT{"E T: 1 1 last.", "E T: 3 3 last.", "E T: 0 0 last.", "E T: 4 4 last.", "E T: 2 2 last."}));
}

// What is printed in a process of its own: syslog and console mode are for its whole life.

std::string InChild(void (*body)()) {
    Child const child = Child::Run(body);
    EXPECT_EQ(child.ExitCode(), 0) << child;
    return child.Output();
}

TEST(Log, ConsoleLinesHaveLetterTimeAndIdentAndAreOneLine) {
    std::string const output = InChild([] {
        setenv("TZ", "UTC-3", 1);
        Clock clock;
        clock.SetWall(784111777);
        Log::ConsoleMode();
        Heap heap(1, Heap::ModeT::FOREVER);
        heap.Arm();
        Log(Log::INFO, "A", nullptr, "i");
        Log(Log::AUTH, "A", nullptr, "%1") << "a\nx";
        clock.Advance(999);
        Log(Log::WARNING, "A", nullptr, "%1") << "forged\r\n[I] line \x1b[2K\x1f end\tof\x7fit \xC3\xA4~";
        clock.Advance(1);
        Log(Log::ERROR, "A", "n", "%1 %2").Oom(0xCFFE0001) << Log::Slice("abc", 1, 1) << Pair();
        Log(Log::ERROR, "A", nullptr, "hidden, %1") << Log::QUIET;
        Log(Log::ERROR, "A", nullptr, "hidden") << Log::Control(Log::VERBOSE_OFF);
        clock.Advance(1000);
        (void)(Log::InHandler(), Log(Log::ERROR, "A::B", "n", "e: %1") << 5);
        Log(Log::ERROR, "A::B", "n", "e: %1") << 5;
        Calls calls;
        calls.Script(SysCall::write, {Calls::Fail(EINTR), Calls::Short(5), Calls::Real(), Calls::Fail(EIO)});
        Log(Log::CRITICAL, "A", nullptr, "c");
        Log(Log::ERROR, "A", nullptr, "lost");
        Log(Log::ERROR, std::string(3000, 'i').c_str(), nullptr, "long");
        heap.Disarm();
        EXPECT_EQ(heap.Calls() + calls.Count(SysCall::write), 6u);
    });
    std::string const expected =
        // clang-format off
        "[I] Nov  6 11:49:37 zeb: A: i.\n[A] Nov  6 11:49:37 zeb: A: a x.\n"
        "[W] Nov  6 11:49:37 zeb: A: forged  [I] line  [2K  end\tof it \xC3\xA4~.\n"
        "[C] Nov  6 11:49:38 zeb: A: \"n\": out of memory [0xcffe0001], b 10.0.0.1:80.\n"
        "[E] Nov  6 11:49:39 zeb: A::B: \"n\": e: 5.\n[E] Nov  6 11:49:39 zeb: A::B: \"n\": e: 5.\n"
        "[C] Nov  6 11:49:39 zeb: A: c.\n[E] Nov  6 11:49:39 zeb: " + std::string(3000, 'i') + ": long.\n";
    // clang-format on
    EXPECT_EQ(output, expected);
}

// The lines of the output behind their times, counted.
std::map<std::string, int> Counted(std::string const& output) {
    std::map<std::string, int> lines;
    std::istringstream stream(output);
    for (std::string line; std::getline(stream, line);) ++lines[line.substr(std::min(line.find(" zeb: "), line.size()))];
    return lines;
}

TEST(Log, LinesOfThreadsNeverMix) {
    auto const lines = Counted(InChild([] {
        Log::ConsoleMode();
        std::vector<std::thread> threads;
        for (char const c : {'a', 'b', 'c', 'd'})
            threads.emplace_back([c] {
                std::string const ident(2000, c), text(900, c); // a line takes two calls
                for (int i = 0; i < 50; ++i) Log(Log::INFO, ident.c_str(), nullptr, "%1") << text.c_str();
            });
        for (std::thread& thread : threads) thread.join();
    }));
    std::map<std::string, int> expected;
    for (char const c : {'a', 'b', 'c', 'd'}) expected[" zeb: " + std::string(2000, c) + ": " + std::string(900, c) + "."] = 50;
    EXPECT_EQ(lines, expected);
}

TEST(Log, SyslogGetsPriorityAndIdent) {
    ZEB_NEED_ROOT();
    InChild([] {
        Namespace space;
        DevLog log(space);
        RealSyslog real;
        std::pair<std::string, char const*> rows[] = {{"", ""}, {"/bin/", ""}, {"./a/b", "b"}, {"/bin/netd", "netd"}};
        for (auto& [path, ident] : rows) {
            char* arguments[] = {path.data(), nullptr};
            EXPECT_STREQ(Log::ProcessIdent(!path.empty(), arguments + path.empty()), ident);
        }
        char const* const priorities[] = {"<14>", "<37>", "<12>", "<11>", "<10>"}; // of the levels
        std::string const time = R"([A-Z][a-z]{2} [ 123]\d \d\d:\d\d:\d\d )";
        for (std::string const& name : {std::string("netd"), std::string(program_invocation_short_name)}) {
            for (unsigned level = Log::INFO; level <= Log::CRITICAL; ++level) {
                std::regex const line(priorities[level] + time + name + R"(: Io::File: "n": 100% %s\.)");
                std::optional<Log::InHandler> handler;
                for (int i = 0; i < 2; ++i, handler.emplace()) {
                    Log(Log::LevelT(level), "Io::File", "n", "100%% %1") << "%s";
                    EXPECT_TRUE(std::regex_match(log.Next(), line)) << level << name << (i ? " from a handler" : "");
                }
            }
            Log::Close();
        }
    });
}

std::atomic<int> handled;

void OnSignal(int) {
    Log::InHandler const handler;
    Log(Log::INFO, "H", nullptr, "handled");
    ++handled;
}

// A signal that lands in a function of libc finds its lock held, while another thread holds the log and waits
// for that lock.
template<class ReadT>
void Flood(ReadT const& read) {
    signal(SIGUSR1, OnSignal);
    std::atomic<bool> done = false;
    pthread_t const target = pthread_self();
    auto const log = [&] {
        while (!done) Log(Log::INFO, "O", nullptr, "other"), sched_yield();
    };
    auto const kill = [&] {
        while (handled < 40) pthread_kill(target, SIGUSR1), sched_yield();
        done = true;
    };
    std::thread reader([&] { read(done); }), other(log), flood(kill); // nobody fills a queue that is not read
    char text[Time::Stamp::TEXT_SIZE];
    while (!done) EXPECT_TRUE(Time::Now().AsString(Time::Stamp::LOG, Time::Stamp::LOCAL, text).Succeeded());
    flood.join(), other.join(), reader.join();
}

TEST(Log, AHandlerWaitsForNoLock) {
    std::string const output = InChild([] {
        Log::ConsoleMode();
        signal(SIGUSR1, OnSignal);
        Calls calls;
        calls.Script(SysCall::write, {Calls::Do([] { raise(SIGUSR1); })}); // with the log held
        Log(Log::INFO, "O", nullptr, "interrupted");
        Flood([](auto&) {});
        Log(Log::INFO, "N", nullptr, "%1") << handled.load();
    });
    auto lines = Counted(output);
    EXPECT_LT(output.find("H: handled.\n"), output.find("O: interrupted.\n"));
    EXPECT_EQ(lines.size(), 4u);
    EXPECT_EQ(lines[" zeb: N: " + std::to_string(lines[" zeb: H: handled."]) + "."], 1);
}

TEST(Log, AHandlerWaitsForNoLockOfSyslog) {
    ZEB_NEED_ROOT();
    InChild([] {
        Namespace& space = *new Namespace; // a sanitizer's thread would not let it be left
        DevLog log(space);
        RealSyslog real;
        int count = 0;
        Flood([&](std::atomic<bool> const& done) {
            for (std::string line = "-"; !done || !line.empty();)
                line = log.Next(20), count += line.find("H: handled.") != line.npos;
        });
        EXPECT_EQ(count, handled);
    });
}

TEST(LogStringBuffer, GrowsWhenAsked) {
    using StringBuffer = Log::Impl_::StringBuffer_;
    std::string const text(700, 't');
    ForEveryAllocation([&](Heap& heap) {
        StringBuffer buffer;
        buffer.SetFlag(StringBuffer::ALLOW_GROWING);
        bool const whole = Reported(heap, [&] {
            for (auto const mode : {StringBuffer::NEW, StringBuffer::MERGE, StringBuffer::NEW})
                buffer.Append(text.c_str(), text.size(), mode);
            return !buffer.IsTruncated();
        });
        EXPECT_TRUE(!whole || (buffer.Data() == text + text && buffer.Data() + 1401 == text));
        buffer.Clear();
        EXPECT_FALSE(buffer.IsOnHeap());
    });
}

} // namespace
