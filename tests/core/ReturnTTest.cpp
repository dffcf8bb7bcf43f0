#include "tests/core/Rig.h"
#include "zeb/core/Cwmp.h"
#include "zeb/core/ErrorString.h"
#include "zeb/core/Tools.h"

#include <cerrno>

// A code is neither a truth value nor a number, and is made of neither.
template<class T>
constexpr bool MakesACode = std::is_constructible_v<ReturnT, T>;
template<class T>
constexpr bool IsMadeOfACode = std::is_constructible_v<T, ReturnT>;
template<class T>
concept IsOrderedOrNegated = requires(T code) {
    code < code;
}
|| requires(T code) { !code; };
static_assert(MakesACode<uint32_t> && !MakesACode<bool> && !MakesACode<long> && !MakesACode<double>);
static_assert(!MakesACode<char const*> && !MakesACode<std::nullptr_t> && !MakesACode<char>);
static_assert(!IsMadeOfACode<bool> && !IsMadeOfACode<int> && !IsMadeOfACode<uint32_t>);
static_assert(!IsOrderedOrNegated<ReturnT> && ReturnT(0x00800001) == 0x00800001);

TEST(ReturnTTest, FailureIsTheSignOfTheCode) {
    std::tuple<uint32_t, uint32_t, uint32_t, bool> const rows[] = {
        {0, 0, 0, false}, {0x80C90064, 2, 201, true}, {0x40090001, 1, 9, false}, {0xCFFE00B1, 3, 4094, true}};
    for (auto const& [number, severity, facility, failed] : rows) {
        ReturnT const code = number;
        EXPECT_TRUE(code.Failed() == failed && code.Severity() == severity && code.Facility() == facility);
        EXPECT_EQ(ReturnT::Make(ReturnT::SeverityT(severity), facility, number), code);
    }
    uint32_t const line = __LINE__;
    EXPECT_EQ(ReturnT::Fail(), 0xCFFD0000 + line + 1);
    EXPECT_EQ(ReturnT::Oom(), 0xCFFE0000 + line + 2);
    EXPECT_EQ(ReturnT::Done(0x10139), 0x0FFF0139U) << "16 bits of the line";
}

TEST(ToolsTest, TheFirstRowDecidesAndGenericCodesPass) {
    // clang-format off
    Tools::CodePair const pairs[] = {{0x80370001, 0x80380001}, {0x80370001, 0x80380002}, {0xCFFD0005, 1}, {0, 7},
                                     Tools::CodePair::Nil(), {0x80370009, 2}};
    uint32_t const rows[][2] = {{0x80370001, 0x80380001}, {0x00370001, 99}, {0x80370009, 99},
                                {0xCFFD0005, 0xCFFD0005}, {0x0FFF0001, 0x0FFF0001}, {0, 7}};
    // clang-format on
    for (auto const& row : rows) EXPECT_EQ(Tools::TranslateCode(row[0], pairs, 99), row[1]) << row[0];
}

TEST(CwmpTest, FaultsComeFromTheTableOrFromTheKindOfFailure) {
    auto const def = Cwmp::DefaultT(3);
    Cwmp::ErrorCodeMapT const table[] = {{0x80370001, 9003, def}, {0x80370001, 9005, def}, {0, 1, def}};
    std::tuple<uint32_t, int, int, bool> const rows[] = {{0x80370001, 9003, 9002, true},  {0, 1, 0, true},
                                                         {0xCFFE0001, 9004, 9004, false}, {0x0FFE0001, 9004, 9004, false},
                                                         {0xCFFD0001, 9002, 9002, false}, {0x40090001, 0, 0, false}};
    for (auto const& [code, fault, plain, hit] : rows) {
        auto found = Cwmp::DefaultT(77);
        bool ok = plain != 0;
        EXPECT_TRUE(Cwmp::ErrorMap(code, table, 3, found) == fault && found == (hit ? def : 0)) << code;
        EXPECT_TRUE(Cwmp::ErrorMap(code, ok) == plain && ok == (plain == 0)) << code;
        EXPECT_TRUE(Cwmp::ErrorMap(code, found) == plain && found == 0) << code;
    }
}

TEST(ErrorStringTest, NumbersHaveWords) {
    std::pair<int, char const*> const rows[] = {
        {0, "no error"}, {-1, "unknown error"}, {41, "unknown error"}, {EAGAIN, "resource temporarily unavailable"}};
    for (auto const& [error, words] : rows) EXPECT_STREQ(ErrorString(error), words) << error;
    uint64_t sum = 0xCBF29CE484222325; // of all words, in the order of the numbers
    for (int error = 0; error < 200; ++error)
        for (char const c : CString(ErrorString(error))) sum = (sum ^ static_cast<unsigned char>(c)) * 0x100000001B3;
    EXPECT_EQ(sum, 1628823287002439264u);
}
