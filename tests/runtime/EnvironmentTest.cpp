#include "zeb/runtime/Environment.h"
#include "workbench/Calls.h"
#include "workbench/Child.h"
#include "workbench/Heap.h"
#include "workbench/LogCapture.h"
#include "workbench/TempDir.h"
#include "zeb/core/StringMap.h"

#include <gtest/gtest.h>
#include <unistd.h>

namespace {

// Puts another environment in place for a test.
class Variables {
public:
    explicit Variables(std::vector<char const*> const& entries) {
        for (char const* const entry : entries)
            entries_.push_back(const_cast<char*>(entry));
        entries_.push_back(nullptr);
        environ = entries_.data();
    }
    ~Variables() { environ = saved_; }
    Variables(Variables const&) = delete;
    Variables& operator=(Variables const&) = delete;

private:
    char** const saved_ = environ;
    std::vector<char*> entries_;
};

TEST(Environment, FindsAVariableByItsWholeName) {
    Variables const variables({"AB=1", "A=x=y", "BARE", "EMPTY=", "A=2"});
    std::tuple<CString, uint32_t, char const*> const rows[] = {
        // clang-format off
        {"A", 0x001C0064, "x=y"},         {"AB", 0x001C0064, "1"},     {"EMPTY", 0x001C0064, ""}, {"B", 0x801C00C8, "old"},
        {"BARE", 0x801C00C8, "old"},      {"ABC", 0x801C00C8, "old"},  {"", 0x801C0064, "old"},   {"A=x", 0x801C0064, "old"},
        {"A B", 0x801C0064, "old"},       {"A\t", 0x801C0064, "old"},  {"\nA", 0x801C0064, "old"},
        {CString("AB\0=1", 5), 0x801C0064, "old"}, {CString("A\0B", 3), 0x801C00C8, "old"}, {CString("ABx", 2), 0x001C0064, "1"},
        // clang-format on
    };
    for (auto const& [name, code, expected] : rows) {
        String value;
        ASSERT_TRUE(value.Assign("old"));
        EXPECT_EQ(Environment::Get(name, value), code) << name.Cstr();
        EXPECT_STREQ(value.Cstr(), expected) << name.Cstr();
        EXPECT_EQ(Environment::IsNameValid(name), code != 0x801C0064) << name.Cstr();
    }
}

TEST(Environment, GetsAllVariablesIntoTheMap) {
    Variables const variables({"B=2", "BARE", "A=x=y", "=z"});
    ForEveryAllocation([](Heap& heap) {
        LogCapture log;
        StringMap map;
        String value;
        ASSERT_TRUE(map.Set("old", "1") && value.Assign("old"));
        heap.Arm();
        ReturnT const got = Environment::Get("A", value);
        ReturnT const all = Environment::GetAll(map);
        heap.Disarm();
        EXPECT_EQ(heap.Fired(), got.Failed() || all.Failed());
        EXPECT_EQ(got, got.IsOom() ? got : Environment::DONE);
        EXPECT_EQ(all, all.IsOom() ? all : Environment::DONE);
        EXPECT_STREQ(value.Cstr(), got.Failed() ? "old" : "x=y");
        EXPECT_EQ(map.Size(), all.Failed() ? 0u : 4u);
        EXPECT_TRUE(all.Failed() || (map.Get("B") == "2" && map.Get("A") == "x=y" && map.Get("") == "z"));
        LogCapture::LinesT const lines = {"C Environment: invalid environment value \"BARE\"."};
        EXPECT_TRUE(heap.Fired() || log.Lines() == lines) << testing::PrintToString(log.Lines());
    });
    environ = nullptr;
    StringMap none;
    String value;
    EXPECT_EQ(Environment::GetAll(none), 0x001C0064u);
    EXPECT_EQ(Environment::Get("A", value), 0x801C00C8u);
    EXPECT_TRUE(none.Empty());
}

TEST(Environment, HidesWhatTheProcessStartedWithIfItMay) {
    Child const child = Child::Run([] {
        LogCapture const log;
        std::string const before = ReadWholeFile("/proc/self/environ");
        bool const done = Environment::ClearInitial() == 0x001C0064; // as the rights of the machine are
        EXPECT_EQ(ReadWholeFile("/proc/self/environ"), done ? "cleared=true" : before);
        EXPECT_EQ(log.Lines().size(), done ? 0u : 1u);
        EXPECT_NE(getenv("PATH"), nullptr);
    });
    EXPECT_EQ(child.ExitCode(), 0) << child;
    for (int const failing : {0, 1}) {
        LogCapture log;
        Calls calls;
        if (failing == 1) calls.Script(SysCall::prctl, {Calls::Return(0)});
        calls.Script(SysCall::prctl, {Calls::Fail(EPERM)});
        EXPECT_EQ(Environment::ClearInitial() >> 16, 0xCFFDu);
        EXPECT_EQ(log.Take(),
                  LogCapture::LinesT({"C Environment: system failed [0xcffd****], unable to erase: "
                                      "operation not permitted."}));
    }
}

} // namespace
