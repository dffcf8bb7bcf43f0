#include "zeb/core/CString.h"

#include "tests/support/Heap.h"
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

    int Differ(char const* a, char const* b, unsigned long n) const {
        return Sign(ignoreCase ? strncasecmp(a, b, n) : strncmp(a, b, n));
    }
    int Compare(unsigned long pos, unsigned long count, std::string const& other) const {
        unsigned long const n = std::min(count, text.size() - pos);
        if (n == other.size()) return Differ(&text[pos], other.data(), n);
        int const result = Differ(&text[pos], other.data(), std::min(n, other.size()));
        return result != 0 ? result : n < other.size() ? -1 : 1;
    }
    unsigned long Find(std::string const& what, unsigned long pos) const {
        for (; !what.empty() && pos + what.size() <= text.size(); ++pos) {
            if (Differ(&text[pos], what.data(), what.size()) == 0) return pos;
        }
        return text.size();
    }
    unsigned long FindLast(std::string const& what, unsigned long end) const {
        for (unsigned long pos = end; !what.empty() && pos-- > 0;) {
            if (pos + what.size() <= text.size() && Differ(&text[pos], what.data(), what.size()) == 0)
                return pos;
        }
        return text.size();
    }
};

std::vector<std::string> Fields(CString const& text, char separator) {
    StringVector fields;
    EXPECT_TRUE(fields.PushBack("left from before"));
    EXPECT_TRUE(text.Split(fields, separator));
    std::vector<std::string> result;
    for (unsigned long i = 0; i < fields.Size(); ++i)
        result.emplace_back(fields[i].Cstr(), fields[i].Size());
    return result;
}

} // namespace

TEST(CStringTest, AViewIsNeverNull) {
    CString view("text");
    EXPECT_EQ(view.Size(), 4U);
    view.Reset(nullptr);
    for (CString const& empty : {view, CString(), CString(nullptr), CString(""), CString::Nil()}) {
        EXPECT_EQ(empty.Size(), 0U);
        ASSERT_NE(empty.Cstr(), nullptr);
        EXPECT_EQ(*empty.Cstr(), '\0');
        EXPECT_EQ(empty, CString::Nil());
    }
    view.Reset(CString("other text", 5));
    EXPECT_EQ(view, "other");
}

TEST(CStringTest, CaseIsIgnoredWhenEitherSideSaysSo) {
    CString const plain("x-head");
    CString::IgnoreCase const folded("X-Head");
    EXPECT_EQ(folded.Compare(plain), 0);
    EXPECT_EQ(plain.Compare(folded), 0);
    EXPECT_EQ(plain.Find(CString::IgnoreCase("HEAD"), 0), 2U);
    EXPECT_EQ(folded.Find('h', 0), 2U);
    EXPECT_EQ(folded.Compare(2, "hEAD", 4), 0);
    EXPECT_LT(folded.Compare(2, 3, "hEAD", 4), 0);
    EXPECT_NE(plain.Compare(0, "X-Head", 6), 0) << "a pointer says nothing about case";
}

TEST(CStringTest, ComparesAndFindsAsTheRulesSay) {
    EXPECT_EQ(CString("abc").Compare("abcd"), -1);
    EXPECT_EQ(CString("abcd").Compare("abc"), 1);
    std::mt19937 random(20);
    char const alphabet[] = {'a', 'A', 'b', '\0'};
    auto const text = [&](unsigned long size) {
        std::string result(size, ' ');
        for (char& c : result)
            c = alphabet[random() % 4];
        return result;
    };
    for (int round = 0; round < 20000; ++round) {
        Twin const twin{text(random() % 9), random() % 2 == 0};
        std::string const other = text(random() % 5);
        CString const plain = View(twin.text);
        CString::IgnoreCase const folded(plain);
        CString const& view = twin.ignoreCase ? folded : plain;
        unsigned long const pos = random() % (twin.text.size() + 1), count = random() % 9;
        SCOPED_TRACE(testing::PrintToString(twin.text) + " " + testing::PrintToString(other));
        ASSERT_EQ(Sign(view.Compare(View(other))), twin.Compare(0, 99, other));
        ASSERT_EQ(Sign(view.Compare(pos, View(other))), twin.Compare(pos, 99, other));
        ASSERT_EQ(Sign(view.Compare(pos, ~0UL, other.data(), other.size())), twin.Compare(pos, 99, other));
        ASSERT_EQ(Sign(view.Compare(pos, count, View(other))), twin.Compare(pos, count, other));
        ASSERT_EQ(view.Find(View(other), pos), twin.Find(other, pos));
        ASSERT_EQ(view.Find(other.data(), other.size()), twin.Find(other, 0));
        ASSERT_EQ(view.FindLast(View(other)), twin.FindLast(other, twin.text.size()));
        ASSERT_EQ(view.FindLast(other.data(), other.size()), twin.text.size()) << "on purpose";
        std::string const c(1, alphabet[count % 4]);
        ASSERT_EQ(view.Find(c[0], pos), twin.Find(c, pos));
        ASSERT_EQ(view.FindLast(c[0], pos), twin.FindLast(c, pos));
        ASSERT_EQ(view.FindLast(c[0]), twin.FindLast(c, twin.text.size()));
    }
    CString const view("abc");
    EXPECT_EQ(view.Find('a', 3), 3U);
    EXPECT_EQ(view.Find('a', ~0UL), 3U);
    EXPECT_EQ(view.Find(CString("c"), ~0UL), 3U);
    EXPECT_EQ(view.FindLast('c', ~0UL), 2U);
    EXPECT_EQ(view.Compare(9, "", 0), 0) << "nothing is left behind the end";
}

TEST(CStringTest, ClassesHoldForAllBytesUpToANul) {
    struct {
        std::string text;
        bool printable, graphic, numeric;
    } const rows[] = {
        {"", false, false, false},         {"0129", true, true, true},
        {"12 3", true, false, false},      {"a\tb", false, false, false},
        {"12a", true, true, false},        {std::string("12\0x\n", 5), true, true, true},
        {"\xC3\xA4", false, false, false}, {"-1", true, true, false},
    };
    for (auto const& row : rows) {
        CString const view = View(row.text);
        EXPECT_EQ(view.IsPrintable(), row.printable) << row.text;
        EXPECT_EQ(view.IsPrintableNonSpace(), row.graphic) << row.text;
        EXPECT_EQ(view.IsNumeric(), row.numeric) << row.text;
    }
}

TEST(CStringTest, SplitsAtASeparatorOrAtWhiteSpace) {
    struct {
        char const* text;
        char separator;
        std::vector<std::string> fields;
    } const rows[] = {
        {"a,,b", ',', {"a", "", "b"}},
        {"a,", ',', {"a", ""}},
        {",", ',', {"", ""}},
        {"", ',', {""}},
        {"ab c", ',', {"ab c"}},
        {"  a \t\n bc ", '\0', {"a", "bc"}},
        {"a  b", '\0', {"a", "b"}},
        {" \v\f\r ", '\0', {}},
        {"", '\0', {""}},
        {"abc", '\0', {"abc"}},
    };
    for (auto const& row : rows)
        EXPECT_EQ(Fields(row.text, row.separator), row.fields) << '"' << row.text << '"';
}

TEST(CStringTest, SplitAndSubstrSurviveFailedAllocations) {
    ForEveryAllocation([](Heap& heap) {
        StringVector fields;
        heap.Arm();
        bool const ok = CString("a,b,c,d,e,f,g,h,i").Split(fields, ',');
        heap.Disarm();
        EXPECT_EQ(ok, !heap.Fired());
        EXPECT_EQ(fields.Size(), ok ? 9U : 0U);
    });
    ForEveryAllocation([](Heap& heap) {
        String part;
        heap.Arm();
        bool const ok = CString("abcdef").Substr(part, 2, 3);
        heap.Disarm();
        EXPECT_EQ(ok, !heap.Fired());
        EXPECT_EQ(part, ok ? "cde" : "");
    });
    String part;
    EXPECT_TRUE(CString("abcdef").Substr(part, 4));
    EXPECT_EQ(part, "ef");
}
