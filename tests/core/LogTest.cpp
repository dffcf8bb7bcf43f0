#include "zeb/core/Log.h"

#include "workbench/Child.h"
#include "workbench/Clock.h"
#include "workbench/Heap.h"
#include "workbench/LogCapture.h"
#include "workbench/Namespace.h"
#include "zeb/core/CString.h"
#include "zeb/core/LogImpl.h"
#include "zeb/core/StringAccumulator.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdio>
#include <string>
#include <vector>

namespace {

std::string Cut(unsigned long kept, char c = 'x') { return std::string(kept, c) + " [...]"; }

// The lines that a statement of these arguments logs.
LogCapture::LinesT Lines(char const* name, char const* format, std::vector<std::string> const& arguments) {
    LogCapture capture;
    {
        Log log(Log::ERROR, "T", name, format);
        for (std::string const& argument : arguments)
            log << argument.c_str();
    }
    return capture.Take();
}

struct Pair : Log::Combo {
    void Draw(Log& log) const override { log << "10.0.0.1" << Log::GLUE << ':' << Log::GLUE << 80; }
};

TEST(Log, ExpandsTheTemplateAndReportsFaultsOfTheStatement) {
    struct Row {
        char const* name;
        char const* format;
        std::vector<std::string> arguments;
        std::string line; // behind "E T: ", or behind "C Log: " if the arguments do not fit the format
    } const rows[] = {
        // clang-format off
        {nullptr, "plain", {}, "plain."}, {"", "no name", {}, "no name."},
        {"eth0", "link %1", {"up"}, "\"eth0\": link up."},
        {nullptr, "%9%8%7%6%5%4%3%2%1", {"1", "2", "3", "4", "5", "6", "7", "8", "9"}, "987654321."},
        {nullptr, "%%1 %1 %%", {"x"}, "%1 x %."}, {nullptr, "%1", {""}, ""}, {nullptr, "list:", {}, "list:"},
        {nullptr, "%%%%%%%%%%%%%%%%%%%%%%%%%%%%%%%%%1%%", {"x"}, "%%%%%%%%%%%%%%%%x%."},
        {nullptr, "well, %1", {"really?"}, "well, really?"},
        {nullptr, "a. b; c! d* e,", {}, "a. b; c! d* e,"}, {nullptr, "%1", {"%2 stays"}, "%2 stays."},
        {"n", "100%", {}, "invalid message format: 100%."}, {"n", "%x", {}, "invalid message format: %x."},
        {"n", "%0", {"a"}, "invalid message format: %0."},
        {"n", "%1 %1:", {"a"}, "invalid message format: %1 %1:"},
        {"n", "%2", {"a", "b"}, "invalid message format: %2."},
        {"n", "%1 %3", {"a", "b"}, "invalid message format: %1 %3."},
        {"n", "a %1 b", {}, "too few log arguments in a stream: a %1 b."},
        {"n", "%1", {"a", "b"}, "too many log arguments in a stream: %1."},
        {"n", "", {"a"}, "too many log arguments in a stream: ."},
        {"n", "%%", {"a"}, "too many log arguments in a stream: %%."},
        // clang-format on
    };
    for (Row const& row : rows) {
        bool const isFault = row.name && *row.name == 'n';
        LogCapture::LinesT expected = {(isFault ? "C Log: " : "E T: ") + row.line};
        EXPECT_EQ(Lines(row.name, row.format, row.arguments), expected) << row.format;
    }
    EXPECT_TRUE(Lines("name", "", {}).empty() && Lines(nullptr, nullptr, {}).empty());
}

TEST(Log, TakesEveryTypeAndSteersTheNextOne) {
    StringAccumulator accumulator;
    accumulator << "acc" << 1;
    LogCapture capture;
    Log(Log::INFO, "T", nullptr, "%1 %2 %3 %4 %5 %6")
        << 'c' << static_cast<signed char>('s') << static_cast<unsigned char>('u') << accumulator
        << Log::Slice("0123456", 2, 3) << Pair();
    Log(Log::INFO, "T", nullptr, "%1 %2 %3 %4")
        << Log::HEX << 255 << 255 << Log::HEX << short{-1} << Log::HEX << ULONG_MAX;
    Log(Log::INFO, "T", nullptr, "%1 %2") << Log::HEX << 'a' << 16; // a text uses the wish up
    Log(Log::INFO, "T", nullptr, "%1|%2") << static_cast<char const*>(nullptr) << CString("ab\0cd", 5);
    Log(Log::INFO, "T", nullptr, "no dot") << Log::LOUD << Log::NO_DOT;
    Log(Log::INFO, "T", nullptr, "%1 %2 %3 %4 %5 %6 %7 %8")
        << short{-1} << static_cast<unsigned short>(65535) << INT_MIN << UINT_MAX << LONG_MIN << ULONG_MAX
        << LLONG_MIN << ULLONG_MAX;
    Log(Log::INFO, "T", nullptr, "%1") << Log::GLUE << "glued to nothing is no argument";
    LogCapture::LinesT const expected = {
        // clang-format off
        "I T: c s u acc1 234 10.0.0.1:80.", "I T: ff 255 ffff ffffffffffffffff.", "I T: a 16.", "I T: |ab.",
        "I T: no dot",
        "I T: -1 65535 -2147483648 4294967295 -9223372036854775808 18446744073709551615 "
        "-9223372036854775808 18446744073709551615.",
        "C Log: too few log arguments in a stream: %1.",
        // clang-format on
    };
    EXPECT_EQ(capture.Take(), expected);
}

TEST(Log, LeadsWithTheCode) {
    LogCapture capture;
    ReturnT const code{0x0FFF0139};
    Log(Log::ERROR, "T", nullptr, "").Done(code);
    Log(Log::WARNING, "T", "n", "why: %1").Fail(0xCFFD00BE) << "x";
    Log(Log::WARNING, "T", nullptr, "").Oom(0xCFFE00B1);
    Log(Log::ERROR, "T", nullptr, "done").Fail(1).Oom(2).Done(3);
    Log(Log::INFO, "T", nullptr, "failed").Oom(2).Fail(0);
    Log(Log::INFO, "T", nullptr, "%1").Fail(code);
    LogCapture::LinesT const expected = {
        // clang-format off
        "I T: returned code [0x0fff0139].", "C T: \"n\": system failed [0xcffd00be], why: x.",
        "C T: out of memory [0xcffe00b1].", "I T: returned code [0x00000003], done.",
        "C T: system failed [0x00000000], failed.", "C Log: too few log arguments in a stream: %1.",
        // clang-format on
    };
    EXPECT_EQ(capture.RawLines(), expected);
}

TEST(Log, CutsALongMessageAndReplacesArgumentsThatDoNotFit) {
    for (unsigned long const size : {1021, 1022, 1023, 1024, 5000}) {
        std::string const format(size, 'x');
        std::string const text = size < 1023 ? format + "." : Cut(1017);
        EXPECT_EQ(Lines(nullptr, format.c_str(), {}), LogCapture::LinesT{"E T: " + text}) << size;
    }
    // Nothing is written behind what was cut.
    EXPECT_EQ(Lines(nullptr, (std::string(1100, 'x') + "%1").c_str(), {"tail"}),
              LogCapture::LinesT{"E T: " + Cut(1017)});
    EXPECT_EQ(Lines(nullptr, ("%1" + std::string(1100, 'x')).c_str(), {}),
              LogCapture::LinesT{"C Log: too few log arguments in a stream: %1" + Cut(1017 - 37)});
    EXPECT_EQ(Lines(std::string(1100, 'x').c_str(), "m", {}), LogCapture::LinesT{"E T: \"" + Cut(1016)});
    std::string const huge(2000, 'h');
    std::string const most(1010, 'm');
    EXPECT_EQ(Lines(nullptr, "%1-%2-%3", {"a", huge, "c"}), LogCapture::LinesT{"E T: a-\?\?\?-c."});
    EXPECT_EQ(Lines(nullptr, "%2 %3 %4%1", {most, "0123456789abc", "ok", "x"}).front().substr(0, 17),
              "E T: \?\?\? ok x" + std::string(4, 'm'));
    LogCapture capture;
    Log(Log::INFO, "T", nullptr, "%1|%2|%3") << "a" << Log::GLUE << huge.c_str() << Log::GLUE << "lost"
                                             << "b" << Log::GLUE << "c"
                                             << "d";
    EXPECT_EQ(capture.Lines().front(), "I T: \?\?\?|bc|d.");
}

TEST(Log, TakesAStatementWithinAnother) {
    LogCapture capture;
    Log outer(Log::ERROR, "Outer", nullptr, "%1 %2");
    outer << "a";
    Log(Log::ERROR, "Inner", nullptr, "%1") << "b"; // as from a signal handler
    outer << "c";
    char const* const message = outer.MakeMessage_(nullptr);
    Log(Log::ERROR, "Inner", nullptr, "%1") << "d"; // as from the monitor of a lock
    EXPECT_STREQ(message, "a c.");
    EXPECT_EQ(capture.Take(), (LogCapture::LinesT{"E Inner: b.", "E Inner: d."}));
}

// What is printed in a process of its own: syslog and console mode are for its whole life.

TEST(Log, ConsoleLinesHaveLetterTimeAndIdent) {
    Child const child = Child::Run([] {
        setenv("TZ", "UTC-3", 1);
        Clock clock;
        clock.SetWall(784111777);
        Log::ConsoleMode();
        Heap heap(1, Heap::ModeT::FOREVER);
        heap.Arm();
        Log(Log::INFO, "A", nullptr, "i");
        Log(Log::AUTH, "A", nullptr, "a");
        clock.Advance(999);
        Log(Log::WARNING, "A", nullptr, "w");
        clock.Advance(1);
        Log(Log::ERROR, "A", "n", "%1 %2").Oom(0xCFFE0001) << Log::Slice("abc", 1, 1) << Pair();
        Log(Log::ERROR, "A::B", "n", "e: %1") << 5;
        Log(Log::CRITICAL, "A", nullptr, "c");
        Log(Log::ERROR, "A", nullptr, "hidden, %1") << Log::QUIET;
        Log(Log::ERROR, "A", nullptr, "hidden") << Log::Control(Log::VERBOSE_OFF);
        heap.Disarm();
        EXPECT_EQ(heap.Calls(), 0u);
        Log(Log::ERROR, std::string(3000, 'i').c_str(), nullptr, "long");
    });
    EXPECT_EQ(child.ExitCode(), 0) << child;
    std::string const expected =
        // clang-format off
        "[I] Nov  6 11:49:37 zeb: A: i.\n[A] Nov  6 11:49:37 zeb: A: a.\n[W] Nov  6 11:49:37 zeb: A: w.\n"
        "[C] Nov  6 11:49:38 zeb: A: \"n\": out of memory [0xcffe0001], b 10.0.0.1:80.\n"
        "[E] Nov  6 11:49:38 zeb: A::B: \"n\": e: 5.\n"
        // clang-format on
        "[C] Nov  6 11:49:38 zeb: A: c.\n[E] Nov  6 11:49:38 zeb: ";
    EXPECT_EQ(child.Output(), expected + std::string(3000, 'i') + ": long.\n");
}

TEST(Log, SyslogGetsPriorityAndIdent) {
    ZEB_NEED_ROOT();
    Child const child = Child::Run([] {
        Namespace space;
        DevLog log(space);
        RealSyslog real;
        struct {
            char const *path, *ident;
        } const idents[] = {{"", ""}, {"/bin/", ""}, {"./a/b", "b"}, {"/usr/sbin/netd", "netd"}};
        for (auto const& [path, ident] : idents) {
            char* arguments[] = {const_cast<char*>(path), nullptr};
            EXPECT_STREQ(Log::ProcessIdent(*path ? 1 : 0, *path ? arguments : arguments + 1), ident);
        }
        std::pair<Log::LevelT, char const*> const rows[] = {
            // clang-format off
            {Log::INFO, "<14>"}, {Log::AUTH, "<37>"}, {Log::WARNING, "<12>"}, {Log::ERROR, "<11>"},
            {Log::CRITICAL, "<10>"},
            // clang-format on
        };
        for (auto const& [level, priority] : rows) {
            Log(level, "Io::File", "n", "100%% %1") << "%s";
            std::string const line = log.Next();
            EXPECT_EQ(line.substr(0, 4), priority);
            EXPECT_NE(line.find(" netd: Io::File: \"n\": 100% %s."), std::string::npos) << line;
        }
        Log::Close();
    });
    EXPECT_EQ(child.ExitCode(), 0) << child;
}

TEST(LogStringBuffer, GrowsWhenAsked) {
    using StringBuffer = Log::Impl_::StringBuffer_;
    std::string const text(700, 't');
    ForEveryAllocation([&](Heap& heap) {
        StringBuffer buffer;
        buffer.SetFlag(StringBuffer::ALLOW_GROWING);
        heap.Arm();
        for (auto const mode : {StringBuffer::NEW, StringBuffer::MERGE, StringBuffer::NEW})
            buffer.Append(text.c_str(), text.size(), mode);
        heap.Disarm();
        EXPECT_EQ(buffer.IsTruncated(), heap.Fired());
        EXPECT_TRUE(heap.Fired() || std::string(buffer.Data()) == text + text);
        EXPECT_TRUE(heap.Fired() || std::string(buffer.Data() + 1401) == text);
        buffer.Clear();
        EXPECT_FALSE(buffer.IsOnHeap());
    });
}

} // namespace
