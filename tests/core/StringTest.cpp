#include "zeb/core/String.h"

#include "tests/support/Heap.h"
#include "zeb/core/RString.h"
#include "zeb/core/StringVector.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <random>
#include <string>

namespace {

std::string Copy(CString const& text) { return {text.Cstr(), text.Size()}; }

} // namespace

TEST(StringTest, AnyRowOfChangesMatchesTheTwin) {
    std::mt19937 random(7);
    std::string const source = "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
    for (int round = 0; round < 200; ++round) {
        String text;
        std::string twin;
        for (int step = 0; step < 60; ++step) {
            unsigned long const pos = random() % (twin.size() + 1),
                                count = random() % (twin.size() - pos + 1);
            unsigned long const size = random() % 3 == 0 ? 0 : random() % source.size();
            CString const piece(source.data(), size);
            bool ok = true;
            switch (random() % 8) {
            case 0:
                ok = text.Assign(piece), twin.assign(source, 0, size);
                break;
            case 1:
                ok = text.Assign('x', size), twin.assign(size, 'x');
                break;
            case 2:
                ok = text.Replace(pos, count, source.data(), size), twin.replace(pos, count, source, 0, size);
                break;
            case 3:
                ok = text.Replace(pos, count, 'y', size), twin.replace(pos, count, size, 'y');
                break;
            case 4:
                ok = text.Append(piece), twin.append(source, 0, size);
                break;
            case 5:
                text.Erase(pos, count), twin.erase(pos, count);
                break;
            case 6:
                text.Truncate(size), twin.resize(std::min(size, twin.size()));
                break;
            default:
                text.Clear(), twin.clear();
                break;
            }
            ASSERT_TRUE(ok);
            ASSERT_EQ(Copy(text), twin);
            ASSERT_EQ(text.Cstr()[text.Size()], '\0');
        }
    }
}

TEST(StringTest, HoldsExactlyItsSizeOnTheHeap) {
    Heap heap;
    String text;
    EXPECT_TRUE(text.Assign('x', 1000));
    EXPECT_EQ(heap.LiveBytes(), 1001U);
    EXPECT_TRUE(text.Append(CString(std::string(5000, 'y').c_str())));
    EXPECT_EQ(heap.LiveBytes(), 6001U);
    text.Truncate(99);
    EXPECT_EQ(heap.LiveBytes(), 100U);
    text.Erase(0, 99);
    EXPECT_EQ(heap.Live(), 0U) << "an empty string owns nothing";
}

TEST(StringTest, MovesLeaveAnEmptyStringBehind) {
    String source;
    ASSERT_TRUE(source.Assign("text") && source.Assign(source));
    String target(std::move(source));
    EXPECT_EQ(target, "text");
    EXPECT_TRUE(source.Empty());
    ASSERT_TRUE(source.Append("again"));
    target = std::move(source);
    EXPECT_EQ(target, "again");
    EXPECT_EQ(source.Size(), 0U);
    String& self = target;
    target = std::move(self);
    EXPECT_EQ(target, "again");
}

TEST(StringTest, StripsAndChangesCase) {
    char const* const rows[][2] = {
        {" \t\n\v\f\rab c ", "ab c"}, {"", ""}, {"  \n", ""}, {"abc", "abc"}, {"a ", "a"}, {" a", "a"}};
    for (auto const& row : rows) {
        String text;
        ASSERT_TRUE(text.Assign(row[0]));
        EXPECT_EQ(text.Strip(), row[1]);
    }
    String text;
    ASSERT_TRUE(text.Assign("aZ9\xE4-"));
    EXPECT_EQ(text.ToUpper(), "AZ9\xE4-");
    EXPECT_EQ(text.ToLower(), "az9\xE4-");
}

TEST(StringTest, JoinsThePartsWithTheSeparatorBetween) {
    struct {
        std::vector<char const*> parts;
        char const *separator, *joined;
    } const rows[] = {
        {{}, ", ", ""}, {{"a"}, ", ", "a"}, {{"a", "", "b"}, ", ", "a, , b"}, {{"a", "b"}, "", "ab"}};
    for (auto const& row : rows) {
        StringVector parts;
        for (char const* part : row.parts)
            ASSERT_TRUE(parts.PushBack(part));
        String text;
        ASSERT_TRUE(text.Assign("old") && text.Join(parts, row.separator));
        EXPECT_EQ(text, row.joined);
    }
}

TEST(StringTest, EachChangeSurvivesAFailedAllocation) {
    StringVector parts;
    std::string const big(300, 'p');
    ASSERT_TRUE(parts.PushBack(big.c_str()) && parts.PushBack(big.c_str()));
    bool (*const changes[])(String&, StringVector const&) = {
        [](String& text, StringVector const&) { return text.Assign(std::string(300, 'a').c_str()); },
        [](String& text, StringVector const&) { return text.Assign('a', 300); },
        [](String& text, StringVector const&) {
            return text.Replace(1, 1, std::string(300, 'a').data(), 300);
        },
        [](String& text, StringVector const&) { return text.Replace(1, 1, 'a', 300); },
        [](String& text, StringVector const&) { return text.Append(std::string(300, 'a').c_str()); },
        [](String& text, StringVector const&) { return text.Resize(300); },
        [](String& text, StringVector const& list) { return text.Join(list, ", "); },
    };
    for (auto const change : changes) {
        ForEveryAllocation([&](Heap& heap) {
            String text;
            ASSERT_TRUE(text.Assign("old"));
            heap.Arm();
            bool const ok = change(text, parts);
            heap.Disarm();
            EXPECT_EQ(ok, !heap.Fired());
            EXPECT_TRUE(ok ? text.Size() >= 300 : text == "old");
        });
    }
    String text;
    ASSERT_TRUE(text.Assign("old"));
    EXPECT_FALSE(text.Replace(0, 1, 'x', ~0UL)) << "a size that no memory has";
    EXPECT_FALSE(text.Assign('x', ~0UL));
    EXPECT_EQ(text, "old");
}

TEST(StringTest, ShrinkingNeverFails) {
    ForEveryAllocation([](Heap& heap) {
        String text;
        ASSERT_TRUE(text.Assign('x', 1000));
        heap.Arm();
        text.Truncate(500).Erase(100, 300).Erase(0).Strip();
        heap.Disarm();
        EXPECT_EQ(Copy(text), std::string(199, 'x'));
    });
}

TEST(RStringTest, CutsWhatDoesNotFit) {
    RString<8> text;
    EXPECT_TRUE(text.Assignf("%s-%d", "ab", 1234));
    EXPECT_EQ(text, "ab-1234");
    EXPECT_FALSE(text.Assignf("%s-%d", "cd", 12345));
    EXPECT_EQ(text, "cd-1234");
    RString<8> copy(text);
    EXPECT_TRUE(text.Assign("x") && text.Assign(""));
    EXPECT_FALSE(text.Assign("12345678"));
    EXPECT_EQ(text, "1234567");
    EXPECT_EQ(copy, "cd-1234");
    copy = text;
    EXPECT_NE(copy.Cstr(), text.Cstr());
    EXPECT_EQ(copy, "1234567");
    EXPECT_FALSE(text.Assignf("%lc", static_cast<wint_t>(0xFFFFFFF))) << "no such character";
    EXPECT_EQ(text.Size(), 7U);
    EXPECT_EQ(copy.Clear(), "");
}
