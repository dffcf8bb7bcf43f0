#include "zeb/core/CString.h"

#include "tests/core/Rig.h"
#include "zeb/core/StringVector.h"

namespace {

using namespace std::string_literals;

int Sign(int value) { return (value > 0) - (value < 0); }

} // namespace

TEST(CStringTest, AViewIsNeverNull) {
    for (CString const& empty : {CString(), CString(nullptr), CString(""), CString::Nil()})
        EXPECT_TRUE(empty.Cstr() && empty.Empty() && *empty.Cstr() == '\0' && empty == CString::Nil());
    CString view("text"), other("text");
    view.Reset(nullptr), other.Reset(CString("other text", 5));
    EXPECT_TRUE(view.Cstr() && view.Empty() && other == "other");
}

TEST(CStringTest, ComparesAndFindsAsTheRulesSay) {
    EXPECT_EQ(CString("abc").Compare("abcd") + 4 * CString("abcd").Compare("abc"), 3);
    EXPECT_EQ(View("a\0b"s).Compare(View("a\0c"s)), 0);
    EXPECT_EQ(CString("x-head").Compare(CString::IgnoreCase("X-Head")), 0) << "either side may ask for it";
    std::mt19937 random(20);
    auto const text = [&](std::string result) {
        for (char& c : result) c = "aAb"[random() % 3];
        return result;
    };
    for (int round = 0; round < 8000; ++round) {
        std::string twin = text(std::string(random() % 9, ' ')), other = text(std::string(random() % 5, ' ')), given = twin,
                    sought = other;
        CString::IgnoreCase const folded(View(given));
        CString const plain = View(given), what = View(sought), &view = round % 2 == 0 ? folded : plain;
        for (std::string* const part : {&twin, &other})
            for (char& c : *part) c = static_cast<char>(round % 2 == 0 ? tolower(c) : c);
        unsigned long const size = twin.size(), pos = random() % (size + 1), count = random() % 9;
        SCOPED_TRACE(given + " " + sought);
        ASSERT_EQ(Sign(view.Compare(what)), Sign(twin.compare(other)));
        ASSERT_EQ(Sign(view.Compare(pos, count, what)), Sign(twin.compare(pos, count, other)));
        ASSERT_EQ(Sign(view.Compare(pos, ~0UL, sought.data(), sought.size())), Sign(twin.compare(pos, 99, other)));
        ASSERT_EQ(view.Find(what, pos), other.empty() ? size : std::min(twin.find(other, pos), size));
        ASSERT_EQ(view.FindLast(what), other.empty() ? size : std::min(twin.rfind(other), size));
        ASSERT_EQ(view.Find('a', pos), std::min(twin.find('a', pos), size));
        ASSERT_EQ(view.FindLast('a', pos), pos == 0 ? size : std::min(twin.rfind('a', pos - 1), size));
        ASSERT_EQ(view.FindLast(sought.data(), sought.size()), size) << "on purpose";
    }
    CString const view("abc"); // positions behind the end
    EXPECT_EQ(view.Find('a', ~0UL) + view.Find(CString("c"), ~0UL) + view.FindLast('c', ~0UL), 3U + 3U + 2U);
    EXPECT_EQ(view.Compare(9, "", 0), 0);
}

TEST(CStringTest, ClassesHoldForAllBytesUpToANul) {
    // clang-format off
    std::tuple<std::string, bool, bool, bool> const rows[] = {
        {"", false, false, false}, {"0129", true, true, true}, {"12 3", true, false, false}, {"a\tb", false, false, false},
        {"-1", true, true, false}, {"\xC3\xA4", false, false, false}, {std::string("12\0x\n", 5), true, true, true}};
    // clang-format on
    for (auto const& [text, printable, graphic, numeric] : rows) {
        std::vector<char> const bytes(text.begin(), text.end()); // without a NUL behind them
        CString const view(bytes.data(), bytes.size());
        EXPECT_EQ(std::tuple(view.IsPrintable(), view.IsPrintableNonSpace(), view.IsNumeric()),
                  std::tuple(printable, graphic, numeric))
            << text;
    }
}

TEST(CStringTest, SplitsAtASeparatorOrAtWhiteSpaceAndJoinsAgain) {
    // clang-format off
    std::tuple<char const*, char, std::vector<std::string>> const rows[] = {
        {"a,,b", ',', {"a", "", "b"}}, {"a,", ',', {"a", ""}}, {",", ',', {"", ""}}, {"", ',', {""}}, {"ab c", ',', {"ab c"}},
        {"  a \t\n bc ", '\0', {"a", "bc"}}, {" \v\f\r ", '\0', {}}, {"", '\0', {""}}, {"abc", '\0', {"abc"}}};
    // clang-format on
    for (auto const& [text, separator, expected] : rows) {
        StringVector fields;
        ASSERT_TRUE(fields.PushBack("left from before") && CString(text).Split(fields, separator));
        std::vector<std::string> found;
        for (String const& field : fields) found.emplace_back(field.Cstr());
        EXPECT_EQ(found, expected) << text;
        String joined;
        EXPECT_TRUE(joined.Assign("old") && joined.Join(fields, CString(&separator, 1)));
        EXPECT_TRUE(separator == '\0' || joined == text) << joined.Cstr();
        ASSERT_TRUE(fields.Assign(StringVector::Nil()) && fields.PushBack(text));
        EXPECT_TRUE(fields[0].Split(fields, separator) && fields.Size() == found.size()); // of itself
    }
}
