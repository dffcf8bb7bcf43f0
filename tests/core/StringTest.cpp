#include "zeb/core/String.h"

#include "tests/core/Rig.h"
#include "zeb/core/RString.h"

TEST(StringTest, AnyRowOfChangesMatchesTheTwin) {
    std::mt19937 random(7);
    std::string const source = "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
    String text;
    std::string twin;
    for (int step = 0; step < 12000; ++step) {
        unsigned long const pos = random() % (twin.size() + 1), count = random() % (twin.size() - pos + 1);
        // A fourth of the sources lie in the string itself.
        std::string const from = random() % 4 == 0 && !twin.empty() ? twin.substr(random() % twin.size()) : source;
        unsigned long const size = random() % 3 == 0 ? 0 : random() % (from.size() + 1);
        CString const piece(from == source ? source.data() : text.Cstr() + (twin.size() - from.size()), size);
        bool ok = true;
        switch (random() % 8) {
        // clang-format off
        case 0: ok = text.Assign(piece), twin.assign(from, 0, size); break;
        case 1: ok = text.Assign('x', size), twin.assign(size, 'x'); break;
        case 2: ok = text.Replace(pos, count, piece.Cstr(), size), twin.replace(pos, count, from, 0, size); break;
        case 3: ok = text.Replace(pos, count, 'y', size), twin.replace(pos, count, size, 'y'); break;
        case 4: ok = text.Append(piece), twin.append(from, 0, size); break;
        case 5: text.Erase(pos, count), twin.erase(pos, count); break;
        case 6: text.Truncate(size), twin.resize(std::min(size, twin.size())); break;
        default: text.Clear(), twin.clear(); break;
            // clang-format on
        }
        ASSERT_TRUE(ok && text.Cstr()[text.Size()] == '\0');
        ASSERT_EQ(std::string(text.Cstr(), text.Size()), twin);
    }
}

TEST(StringTest, HoldsExactlyItsSizeOnTheHeap) {
    Heap heap;
    String text;
    EXPECT_TRUE(text.Assign('x', 1000) && text.Append(CString(std::string(5000, 'y').c_str())));
    EXPECT_EQ(heap.LiveBytes(), 6001U);
    EXPECT_EQ((text.Truncate(99), heap.LiveBytes()), 100U);
    EXPECT_EQ((text.Erase(0, 99), heap.Live()), 0U) << "an empty string owns nothing";
}

TEST(StringTest, StripsChangesCaseAndMoves) {
    String text;
    for (char const* const spaced : {" \t\n\v\f\rab c ", "ab c", "ab c ", " ab c"})
        EXPECT_TRUE(text.Assign(spaced) && text.Strip() == "ab c") << spaced;
    EXPECT_TRUE(text.Assign(" \n ") && text.Strip().Empty() && text.Strip().Empty());
    ASSERT_TRUE(text.Assign("aZ9\xE4-"));
    EXPECT_TRUE(text.ToUpper() == "AZ9\xE4-" && text.ToLower() == "az9\xE4-");
    String target(std::move(text));
    EXPECT_TRUE(target.Assign(target) && target == "az9\xE4-" && text.Empty() && text.Append("again"));
    target = std::move(text);
    EXPECT_TRUE(target == "again" && text.Empty());
}

TEST(RStringTest, CutsWhatDoesNotFit) {
    RString<8> text;
    EXPECT_TRUE(text.Assignf("%s-%d", "ab", 1234) && text == "ab-1234");
    EXPECT_FALSE(text.Assignf("%s-%d", "cd", 12345));
    RString<8> copy(text);
    EXPECT_TRUE(!text.Assign("12345678") && text == "1234567" && copy == "cd-1234");
    copy = text;
    EXPECT_TRUE(text.Assign("x") && !text.Assignf("%lc", static_cast<wint_t>(0xFFFFFFF))) << "no such character";
    EXPECT_TRUE(text.Size() == 1 && copy == "1234567" && text.Clear() == "");
}
