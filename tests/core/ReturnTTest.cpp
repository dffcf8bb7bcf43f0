#include "zeb/core/Cwmp.h"
#include "zeb/core/ErrorString.h"
#include "zeb/core/Tools.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <string>

TEST(ReturnTTest, FailureIsTheSignOfTheCode) {
    struct {
        uint32_t code;
        bool failed;
        uint32_t severity, facility;
    } const rows[] = {
        {0, false, 0, 0},          {0x00C90064, false, 0, 201}, {0x80C90064, true, 2, 201},
        {0x40090001, false, 1, 9}, {0xCFFE00B1, true, 3, 4094},
    };
    for (auto const& row : rows) {
        ReturnT const code = row.code;
        EXPECT_EQ(code.Failed(), row.failed) << row.code;
        EXPECT_EQ(code.Severity(), row.severity) << row.code;
        EXPECT_EQ(code.Facility(), row.facility) << row.code;
        EXPECT_EQ(ReturnT::Make(ReturnT::SeverityT(row.severity), row.facility, row.code), code);
    }
    EXPECT_EQ(ReturnT(), ReturnT::UNDEFINED);
}

TEST(ReturnTTest, GenericCodesCarryTheLineOfTheReportingStatement) {
    uint32_t const line = __LINE__;
    EXPECT_EQ(ReturnT::Fail(), 0xCFFD0000 + line + 1);
    EXPECT_EQ(ReturnT::Oom(), 0xCFFE0000 + line + 2);
    EXPECT_EQ(ReturnT::Done(), 0x0FFF0000 + line + 3);
    EXPECT_EQ(ReturnT::Done(313), 0x0FFF0139U);
    EXPECT_EQ(ReturnT::Fail(0x12345), 0xCFFD2345U) << "16 bits of the line";
}

TEST(ToolsTest, TheFirstRowDecidesAndGenericCodesPass) {
    Tools::CodePair const pairs[] = {
        {0x80370001, 0x80380001}, {0x80370001, 0x80380002}, {0xCFFD0005, 1}, {0, 7},
        Tools::CodePair::Nil(), //
        {0x80370009, 0x80380009},
    };
    struct {
        ReturnT code, result;
    } const rows[] = {
        {0x80370001, 0x80380001}, {0x00370001, 99},         {0x80370009, 99},
        {0xCFFD0005, 0xCFFD0005}, {0x0FFF0001, 0x0FFF0001}, {0, 7},
    };
    for (auto const& row : rows)
        EXPECT_EQ(Tools::TranslateCode(row.code, pairs, 99), row.result) << row.code.Code();
}

TEST(CwmpTest, FaultsComeFromTheTableOrFromTheKindOfFailure) {
    auto const def = Cwmp::DefaultT(3);
    Cwmp::ErrorCodeMapT const table[] = {{0x80370001, 9003, def}, {0x80370001, 9005, def}, {0, 1, def}};
    struct {
        uint32_t code;
        int fault, plain;
        bool hit;
    } const rows[] = {
        {0x80370001, 9003, 9002, true},  {0, 1, 0, true},
        {0xCFFE0001, 9004, 9004, false}, {0x0FFE0001, 9004, 9004, false},
        {0xCFFD0001, 9002, 9002, false}, {0x80090001, 9002, 9002, false},
        {0x40090001, 0, 0, false},
    };
    for (auto const& row : rows) {
        auto found = Cwmp::DefaultT(77);
        bool ok = row.plain != 0;
        EXPECT_EQ(Cwmp::ErrorMap(row.code, table, 3, found), row.fault) << row.code;
        EXPECT_EQ(found, row.hit ? def : 0) << row.code;
        EXPECT_EQ(Cwmp::ErrorMap(row.code, ok), row.plain) << row.code;
        EXPECT_EQ(ok, row.plain == 0) << row.code;
        EXPECT_EQ(Cwmp::ErrorMap(row.code, found), row.plain) << row.code;
        EXPECT_EQ(found, 0);
    }
}

TEST(ErrorStringTest, EachNumberHasWords) {
    struct {
        int error;
        char const* text;
    } const rows[] = {
        {0, "no error"},
        {-1, "unknown error"},
        {41, "unknown error"},
        {11, "resource temporarily unavailable"},
        {ENOTSUP, "operation not supported"},
        {EDEADLK, "resource deadlock avoided"},
        {ENOMEM, "not enough space"},
        {EL3RST, "level 3 halted"},
        {E2BIG, "argument list too long"},
        {EXFULL, "exchange full"},
    };
    for (auto const& row : rows)
        EXPECT_STREQ(ErrorString(row.error), row.text) << row.error;
    int known = 0;
    for (int error = 1; error < 200; ++error)
        known += ErrorString(error) != std::string("unknown error");
    EXPECT_EQ(known, 122 - 3);
}
