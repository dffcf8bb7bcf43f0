#include "zeb/core/CString.h"

#include "zeb/core/String.h"
#include "zeb/core/StringVector.h"

#include <gtest/gtest.h>
#include <random>
#include <string>
#include <strings.h>
#include <vector>

namespace {

int Sign(int value) { return (value > 0) - (value < 0); }

CString View(std::string const& text) { return {text.data(), text.size()}; }

// The rules of comparison and search, one step at a time.
struct Twin {
    std::string text;
    bool ignoreCase;

    int Compare(unsigned long pos, unsigned long count, std::string const& other) const {
        unsigned long const n = std::min(count, text.size() - pos), m = other.size();
        auto const compare = ignoreCase ? &strncasecmp : &strncmp;
        int const result = Sign(compare(&text[pos], other.data(), std::min(n, m)));
        return result != 0 || n == m ? result : n < m ? -1 : 1;
    }
    bool Hit(std::string const& what, unsigned long pos) const {
        return !what.empty() && pos + what.size() <= text.size() && Compare(pos, what.size(), what) == 0;
    }
    unsigned long Find(std::string const& what, unsigned long pos) const {
        while (pos < text.size() && !Hit(what, pos))
            ++pos;
        return pos;
    }
    unsigned long FindLast(std::string const& what, unsigned long end) const {
        while (end-- > 0)
            if (Hit(what, end)) return end;
        return text.size();
    }
};

} // namespace

TEST(CStringTest, AViewIsNeverNull) {
    for (CString const& empty : {CString(), CString(nullptr), CString(""), CString::Nil()})
        EXPECT_TRUE(empty.Cstr() && empty.Empty() && *empty.Cstr() == '\0' && empty == CString::Nil());
    CString view("text");
    view.Reset(nullptr);
    EXPECT_TRUE(view.Cstr() && view.Empty());
    view.Reset(CString("other text", 5));
    EXPECT_EQ(view, "other");
}

TEST(CStringTest, ComparesAndFindsAsTheRulesSay) {
    EXPECT_EQ(CString("abc").Compare("abcd"), -1);
    EXPECT_EQ(CString("x-head").Compare(CString::IgnoreCase("X-Head")), 0) << "either side may ask for it";
    std::mt19937 random(20);
    char const alphabet[] = {'a', 'A', 'b', '\0'};
    auto const text = [&](unsigned long size) {
        std::string result(size, ' ');
        for (char& c : result)
            c = alphabet[random() % 4];
        return result;
    };
    for (int round = 0; round < 8000; ++round) {
        Twin const twin{text(random() % 9), random() % 2 == 0};
        std::string const other = text(random() % 5), c(1, alphabet[random() % 4]);
        CString const plain = View(twin.text), what = View(other);
        CString::IgnoreCase const folded(plain);
        CString const& view = twin.ignoreCase ? folded : plain;
        unsigned long const size = twin.text.size(), pos = random() % (size + 1), count = random() % 9;
        SCOPED_TRACE(testing::PrintToString(twin.text) + " " + testing::PrintToString(other));
        ASSERT_EQ(Sign(view.Compare(what)), twin.Compare(0, 99, other));
        ASSERT_EQ(Sign(view.Compare(pos, count, what)), twin.Compare(pos, count, other));
        ASSERT_EQ(Sign(view.Compare(pos, ~0UL, other.data(), other.size())), twin.Compare(pos, 99, other));
        ASSERT_EQ(view.Find(what, pos), twin.Find(other, pos));
        ASSERT_EQ(view.Find(other.data(), other.size()), twin.Find(other, 0));
        ASSERT_EQ(view.Find(c[0], pos), twin.Find(c, pos));
        ASSERT_EQ(view.FindLast(what), twin.FindLast(other, size));
        ASSERT_EQ(view.FindLast(c[0], pos), twin.FindLast(c, pos));
        ASSERT_EQ(view.FindLast(other.data(), other.size()), size) << "on purpose";
    }
    CString const view("abc"); // positions behind the end
    EXPECT_EQ(view.Find('a', ~0UL) + view.Find(CString("c"), ~0UL) + view.FindLast('c', ~0UL), 3U + 3U + 2U);
    EXPECT_EQ(view.Compare(9, "", 0), 0);
}

TEST(CStringTest, ClassesHoldForAllBytesUpToANul) {
    struct {
        std::string text;
        bool printable, graphic, numeric;
        // clang-format off
    } const rows[] = {{"", false, false, false}, {"0129", true, true, true}, {"12 3", true, false, false}, {"a\tb", false, false, false},
                      {"-1", true, true, false}, {"\xC3\xA4", false, false, false}, {std::string("12\0x\n", 5), true, true, true}};
    // clang-format on
    for (auto const& row : rows) {
        CString const view = View(row.text);
        EXPECT_EQ(view.IsPrintable(), row.printable) << row.text;
        EXPECT_TRUE(view.IsPrintableNonSpace() == row.graphic && view.IsNumeric() == row.numeric) << row.text;
    }
}

TEST(CStringTest, SplitsAtASeparatorOrAtWhiteSpace) {
    struct {
        char const* text;
        char separator;
        std::vector<std::string> fields;
        // clang-format off
    } const rows[] = {{"a,,b", ',', {"a", "", "b"}}, {"a,", ',', {"a", ""}}, {",", ',', {"", ""}}, {"", ',', {""}}, {"ab c", ',', {"ab c"}},
                      {"  a \t\n bc ", '\0', {"a", "bc"}}, {" \v\f\r ", '\0', {}}, {"", '\0', {""}}, {"abc", '\0', {"abc"}}};
    // clang-format on
    for (auto const& row : rows) {
        StringVector fields;
        ASSERT_TRUE(fields.PushBack("left from before") && CString(row.text).Split(fields, row.separator));
        std::vector<std::string> found;
        for (unsigned long i = 0; i < fields.Size(); ++i)
            found.emplace_back(fields[i].Cstr());
        EXPECT_EQ(found, row.fields) << '"' << row.text << '"';
    }
}
