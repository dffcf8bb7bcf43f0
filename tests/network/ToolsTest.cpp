#include "zeb/network/Tools.h"

#include "libzeb/zeb_punycode.h"
#include "workbench/Heap.h"
#include "zeb/core/String.h"

#include <gtest/gtest.h>

#include <string>

// clang-format off
namespace {

using Network::Tools;

TEST(NetworkToolsTest, DomainNames) {
    std::string const label63(63, 'a');
    std::string const name253 = label63 + "." + label63 + "." + label63 + "." + std::string(61, 'b');
    for (std::string const& name : {std::string("a"), std::string("a.b-c.D9"), std::string("1.2"), label63, name253})
        EXPECT_TRUE(Tools::IsDomainName(name.c_str())) << name;
    for (std::string const& name : {label63 + "a", name253 + "b", std::string("")})
        EXPECT_FALSE(Tools::IsDomainName(name.c_str())) << name;
    for (char const* name : {"a.", ".a", "a..b", "a-.b", "-a", "a_b", "a b", "\xC3\xA9.b", "-"})
        EXPECT_FALSE(Tools::IsDomainName(name)) << name;
    unsigned const lo = Tools::IfNameToIndex("lo");
    EXPECT_NE(lo, 0u);
    EXPECT_EQ(Tools::IfNameToIndex(CString("lo:eth0", 2)), lo) << "the view ends there";
    for (CString const& name : {CString("lo", 3), CString(""), CString("lo-and-15-others"), CString("l")})
        EXPECT_EQ(Tools::IfNameToIndex(name), 0u) << name.Cstr();
}

// The first rows are samples of RFC 3492, section 7.1.
TEST(NetworkToolsTest, PunycodeDecodes) {
    struct {
        char const* text;
        char const* utf8; // null: refused
    } const rows[] = {
        {"egbpdaj6bu4bxfgehfvwxn", "ليهمابتكلموشعربي؟"}, {"ihqwcrb4cv8a8dqg056pqjye", "他们为什么不说中文"},
        {"TisaohkhngthchnitingVit-kjcr8268qyxafd2f1b9g", "TạisaohọkhôngthểchỉnóitiếngViệt"},
        {"3B-ww4c5e180e575a65lsy2b", "3年B組金八先生"},
        {"-> $1.00 <--", "-> $1.00 <-"}, {"bcher-kva", "bücher"}, {"", ""}, {"abc-", "abc"}, {"n3h", "☃"},
        {"bcher-kv", nullptr}, {"bcher-kv!", nullptr}, {"b\xC3\xBC-kva", nullptr}, {"99999999", nullptr},
        {"a-zzzzzzzzzzzzzzzzzzzz", nullptr}, {"-n3h", nullptr}, {"-", nullptr}, {"--", "-"},
    };
    for (auto const& row : rows) {
        String out;
        ASSERT_TRUE(out.Assign("old", 3));
        EXPECT_EQ(Tools::DecodePunycode(row.text, out), row.utf8 != nullptr) << row.text;
        EXPECT_STREQ(out.Cstr(), row.utf8 ? row.utf8 : "old") << row.text;
    }
}

TEST(NetworkToolsTest, PunycodeReportsThatMemoryRanOut) {
    ForEveryAllocation([](Heap& heap) {
        String out;
        heap.Arm();
        bool const ok = Tools::DecodePunycode("bcher-kva", out);
        heap.Disarm();
        EXPECT_EQ(ok, !heap.Fired());
        EXPECT_STREQ(out.Cstr(), ok ? "bücher" : "");
    });
}

} // namespace
// clang-format on
