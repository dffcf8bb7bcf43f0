#include "zeb/network/Tools.h"

#include "libzeb/zeb_punycode.h"
#include "workbench/Heap.h"
#include "zeb/core/String.h"

#include <string>

namespace {

using Network::Tools;
using namespace std::string_literals;

TEST(NetworkToolsTest, DomainNames) {
    std::string const label63(63, 'a');
    std::string const name253 = label63 + "." + label63 + "." + label63 + "." + std::string(61, 'b');
    for (std::string const& name : {"a"s, "a.b-c.D9"s, "1.2"s, label63, name253})
        EXPECT_TRUE(Tools::IsDomainName(name.c_str())) << name;
    for (std::string const& name :
         {label63 + "a", name253 + "b", ""s, "a."s, ".a"s, "a..b"s, "a-.b"s, "-a"s, "a_b"s, "a b"s, "\xC3\xA9.b"s, "-"s})
        EXPECT_FALSE(Tools::IsDomainName(name.c_str())) << name;
    unsigned const lo = Tools::IfNameToIndex("lo");
    EXPECT_NE(lo, 0u);
    EXPECT_EQ(Tools::IfNameToIndex(CString("lo:eth0", 2)), lo) << "the view ends there";
    for (CString const& name : {CString("lo", 3), CString(""), CString("lo-and-15-others"), CString("l")})
        EXPECT_EQ(Tools::IfNameToIndex(name), 0u) << name.Cstr();
}

// The first rows are samples of RFC 3492, section 7.1.
TEST(NetworkToolsTest, PunycodeDecodes) {
    // clang-format off
    std::pair<char const*, char const*> const rows[] = { // null: refused
        {"egbpdaj6bu4bxfgehfvwxn", "ليهمابتكلموشعربي؟"}, {"ihqwcrb4cv8a8dqg056pqjye", "他们为什么不说中文"},
        {"TisaohkhngthchnitingVit-kjcr8268qyxafd2f1b9g", "TạisaohọkhôngthểchỉnóitiếngViệt"},
        {"3B-ww4c5e180e575a65lsy2b", "3年B組金八先生"},
        {"-> $1.00 <--", "-> $1.00 <-"}, {"bcher-kva", "bücher"}, {"", ""}, {"abc-", "abc"}, {"n3h", "☃"},
        {"bcher-kv", nullptr}, {"bcher-kv!", nullptr}, {"b\xC3\xBC-kva", nullptr}, {"99999999", nullptr},
        {"a-zzzzzzzzzzzzzzzzzzzz", nullptr}, {"-n3h", nullptr}, {"-", nullptr}, {"--", "-"},
    };
    // clang-format on
    for (auto const& [text, utf8] : rows) {
        String out;
        ASSERT_TRUE(out.Assign("old", 3));
        EXPECT_EQ(Tools::DecodePunycode(text, out), utf8 != nullptr) << text;
        EXPECT_STREQ(out.Cstr(), utf8 ? utf8 : "old") << text;
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
