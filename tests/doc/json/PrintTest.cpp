#include "tests/doc/json/Text.h"
#include "zeb/doc/json/Decimal.h"

#include <bit>
#include <cmath>

using namespace JsonTest;

namespace {

TEST(JsonPrint, WritesTheWideAndTheCompactForm) {
    std::string const compact = R"({"a":[1,[],{}],"b":{"c":"d"}})";
    char const wide[] = "{\n  \"a\": [\n    1,\n    [\n    ],\n    {\n    }\n  ],\n  \"b\": {\n    \"c\": \"d\"\n  }\n}";
    Parsed const doc(compact);
    EXPECT_EQ(JsonText(doc, true), compact);
    EXPECT_EQ(JsonText(doc, false), wide);
    EXPECT_EQ(JsonText(*doc.Object()->First()->Value()->Array()->Last()->Value(), false), "{\n}");
    // The settings of the stream change nothing.
    Io::StringStream root, wrapper;
    wrapper.Attach(&root);
    wrapper.Width(12).Hex().Upper();
    EXPECT_TRUE(doc.Print(wrapper, true) && root.Flush());
    EXPECT_EQ(root.Str(), View(compact));
}

TEST(JsonPrint, TreatsEachByteByItsKind) {
    std::string const from = "\b\t\n\f\r\"\\", to = "btnfr\"\\";
    Document doc;
    for (unsigned c = 0; c < 256; ++c) {
        std::string const byte(1, static_cast<char>(c));
        char code[8];
        snprintf(code, sizeof(code), "\\u00%02X", c);
        std::size_t const pair = from.find(byte);
        std::string const expected = pair != from.npos ? std::string("\\") + to[pair] : c < 0x20 ? code : byte;
        // At each place of a text that is shorter and longer than what is looked at in one step.
        for (unsigned size : {0U, 3U, 17U, 40U})
            for (unsigned at = 0; at <= size; ++at) {
                std::string const head(at, 'x'), tail(size - at, 'y');
                ASSERT_EQ(JsonText(Value(doc, View(head + byte + tail))), '"' + head + expected + tail + '"') << c;
            }
        doc.InitObject();
    }
}

TEST(JsonPrint, WritesADoubleInSixDigits) {
    std::vector<double> values = {0.0, -0.0, 0.0001, 9.99999e-5, 999999.5, 1e6, 5e-324, HUGE_VAL, -HUGE_VAL, std::nan("")};
    std::mt19937_64 random(5);
    for (unsigned i = 0; i < 40000; ++i) {
        double const tie = static_cast<double>(random() % 900000 + 100000) * 10 + 5; // above 10^6; below there are some too
        values.insert(values.end(),
                      {static_cast<double>(random() % 2000001) / 2, tie, tie * 1000, std::bit_cast<double>(random()),
                       std::ldexp(random() % 1000000, static_cast<int>(random() % 160) - 80)});
    }
    for (double value : values) {
        char expected[40], text[Json::DOUBLE_SIZE + 1];
        snprintf(expected, sizeof(expected), "%g", value);
        *Json::PrintDouble(text, value) = '\0';
        ASSERT_STREQ(text, expected);
    }
}

TEST(JsonPrint, TheStreamMayHaveABlockOfAnySizeAndAnyRoom) {
    Parsed const doc(R"({"name":["long text that has \n more than one block",1234567890123,-0.5,)"
                     R"(18446744073709551615],"b\u0001":{"c":[[[true]]]}})");
    for (bool compact : {true, false}) {
        std::string const expected = JsonText(doc, compact);
        for (unsigned long size : {1UL, 2UL, 3UL, 4UL, 7UL, 16UL, 17UL, 31UL, 64UL, 101UL})
            for (long bound : {0L, 1L, 12L, 20L, 1000L}) {
                Io::StringStream stream(CString::Nil(), Io::MODE_READ_WRITE, Io::EOL_LF, size, bound);
                EXPECT_EQ(doc.Print(stream, compact) && stream.Flush(), bound == 1000);
                EXPECT_EQ(stream.Str(), View(std::string_view(expected).substr(0, static_cast<size_t>(bound))));
                // A stream that has failed gets nothing more.
                EXPECT_TRUE(stream.Ok() || !doc.Print(stream, compact)) << size << '/' << bound;
            }
    }
}

TEST(JsonPrint, FollowsTheLineEndOfTheStream) {
    Parsed const doc("[1]");
    for (bool lazy : {true, false}) {
        Io::StringStream stream(CString::Nil(), Io::MODE_READ_WRITE, Io::EOL_CRLF);
        stream.LazyEndl(lazy);
        EXPECT_TRUE(doc.Print(stream, false));
        EXPECT_EQ(stream.Str(), CString(lazy ? "" : "[\r\n  1\r\n")); // each line end has flushed
        EXPECT_TRUE(stream.Flush());
        EXPECT_EQ(stream.Str(), CString("[\r\n  1\r\n]"));
    }
}

} // namespace
