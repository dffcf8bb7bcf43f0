#include "zeb/runtime/Environment.h"
#include "tests/runtime/Worker.h"
#include "zeb/core/StringMap.h"

namespace {

TEST(Environment, FindsAVariableByItsWholeName) {
    char entries[][6] = {"AB=1", "A=x=y", "BARE", "E=", "A=z=y", "=z"};
    char* list[] = {entries[0], entries[1], entries[2], entries[3], entries[4], entries[5], nullptr};
    char** const saved = std::exchange(environ, list);
    std::tuple<CString, uint32_t, char const*> const rows[] = {
        // clang-format off
        {"A", 0x001C0064, "x=y"}, {"AB", 0x001C0064, "1"}, {"E", 0x001C0064, ""}, {CString("ABx", 2), 0x001C0064, "1"},
        {"B", 0x801C00C8, "old"}, {"BARE", 0x801C00C8, "old"}, {"ABC", 0x801C00C8, "old"}, {CString("A\0", 2), 0x801C00C8, "old"},
        {"", 0x801C0064, "old"}, {"A=x", 0x801C0064, "old"}, {"A B", 0x801C0064, "old"}, {"A\t", 0x801C0064, "old"}};
    // clang-format on
    for (auto const& [name, code, expected] : rows) {
        String value;
        EXPECT_TRUE(value.Assign("old") && Environment::IsNameValid(name) == (code != 0x801C0064));
        EXPECT_EQ(Environment::Get(name, value), code) << name.Cstr();
        EXPECT_STREQ(value.Cstr(), expected);
    }
    ForEveryAllocation([](Heap& heap) {
        LogCapture log;
        StringMap map;
        String value;
        EXPECT_TRUE(map.Set("A", "old"));
        heap.Arm();
        ReturnT const got = Environment::Get("A", value), all = Environment::GetAll(map);
        heap.Disarm();
        std::string texts = value.Cstr();
        for (auto const& [name, text] : map) texts = texts + " " + name.Cstr() + ":" + text.Cstr();
        EXPECT_EQ(texts, std::string(got.IsOom() ? "" : "x=y") + (all.IsOom() ? "" : " :z A:z=y AB:1 E:")); // the last of two
        EXPECT_EQ(heap.Fired(), got != 0x001C0064 || all != 0x001C0064);
        EXPECT_TRUE(heap.Fired() || log.Has("C Environment: invalid environment value \"BARE\"."));
    });
    environ = nullptr;
    StringMap map;
    EXPECT_EQ(std::pair(Environment::GetAll(map).Code(), map.Size()), std::pair(0x001C0064u, 0ul));
    environ = saved;
}

TEST(Environment, HidesWhatTheProcessStartedWithIfItMay) {
    Child const child = Child::Run([] {
        LogCapture const log;
        std::string const before = ReadWholeFile("/proc/self/environ");
        bool const done = Environment::ClearInitial() == 0x001C0064; // as the rights of the machine are
        EXPECT_EQ(ReadWholeFile("/proc/self/environ"), done ? "cleared=true" : before);
        EXPECT_TRUE(log.Lines().empty() == done && getenv("PATH") != nullptr);
    });
    EXPECT_EQ(child.ExitCode(), 0) << child;
    for (unsigned long const good : {0, 1, 2}) { // of the two calls
        LogCapture log;
        Calls calls;
        calls.Script(SysCall::prctl, {Calls::Return(0)}, good);
        if (good < 2) calls.Script(SysCall::prctl, {Calls::Fail(EPERM)});
        EXPECT_EQ(Environment::ClearInitial().Code() >> 16, good < 2 ? 0xCFFDu : 0x001Cu);
        EXPECT_EQ(log.Take(),
                  LinesT(good < 2, "C Environment: system failed [0xcffd****], unable to erase: operation not permitted."));
    }
}

} // namespace
