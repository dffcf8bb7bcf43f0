#include "zeb/runtime/Environment.h"
#include "tests/runtime/Worker.h"
#include "zeb/core/StringMap.h"

namespace {

// Another environment for the time of a test.
struct EnvironmentTest : testing::Test {
    char entries_[7][6] = {"AB=1", "A=x=y", "BARE", "E=", "A=z=y", "=z", "~"};
    char* list_[7] = {entries_[0], entries_[1], entries_[2], entries_[3], entries_[4], entries_[5], nullptr};
    char** const saved_ = std::exchange(environ, list_);

    void TearDown() override { environ = saved_; }
};

TEST_F(EnvironmentTest, FindsAVariableByItsWholeName) {
    std::tuple<CString, uint32_t, char const*> const rows[] = {
        // clang-format off
        {"A", 0x001C0064, "x=y"}, {"AB", 0x001C0064, "1"}, {"E", 0x001C0064, ""}, {CString("ABx", 2), 0x001C0064, "1"},
        {"B", 0x801C00C8, "old"}, {"BARE", 0x801C00C8, "old"}, {"ABC", 0x801C00C8, "old"}, {CString("A\0", 2), 0x801C00C8, "old"},
        {"", 0x801C0064, "old"}, {"A=x", 0x801C0064, "old"}, {"A B", 0x801C0064, "old"}, {"A\t", 0x801C0064, "old"}};
    // clang-format on
    for (auto const& [name, code, expected] : rows) {
        String value;
        ASSERT_TRUE(value.Assign("old"));
        EXPECT_EQ((std::tuple{Environment::Get(name, value).Code(), std::string(value.Cstr()), Environment::IsNameValid(name)}),
                  std::tuple(code, std::string(expected), code != 0x801C0064));
    }
    ForEveryAllocation([](Heap& heap) {
        LogCapture log;
        StringMap map;
        String value;
        ASSERT_TRUE(map.Set("A", "old"));
        heap.Arm();
        ReturnT const got = Environment::Get("A", value), all = Environment::GetAll(map);
        heap.Disarm();
        EXPECT_EQ(heap.Fired(), got.IsOom() || all.IsOom());
        EXPECT_TRUE((got == 0x001C0064 || (got.IsOom() && value.Empty())) && (all == 0x001C0064 || all.IsOom()));
        std::string texts;
        for (auto const& [name, text] : map) texts = texts + name.Cstr() + ":" + text.Cstr() + " ";
        EXPECT_EQ(texts, all.Failed() ? "" : ":z A:z=y AB:1 E: "); // the last of two
        EXPECT_TRUE(heap.Fired() || log.Has("C Environment: invalid environment value \"BARE\"."));
    });
    environ = nullptr;
    StringMap map;
    String value;
    EXPECT_TRUE(Environment::GetAll(map) == 0x001C0064 && Environment::Get("A", value) == 0x801C00C8);
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
    for (long const failing : {1, 2, 3}) { // of the two calls
        LogCapture log;
        Calls calls;
        if (failing > 1) calls.Script(SysCall::prctl, {Calls::Return(0)});
        calls.Script(SysCall::prctl, {failing == 3 ? Calls::Return(0) : Calls::Fail(EPERM)});
        EXPECT_EQ(Environment::ClearInitial().Code() >> 16, failing == 3 ? 0x001Cu : 0xCFFDu);
        std::string const line = "C Environment: system failed [0xcffd****], unable to erase: operation not permitted.";
        EXPECT_EQ(log.Take(), failing == 3 ? LinesT() : LinesT{line});
    }
}

} // namespace
