#include "tests/doc/json/Text.h"
#include "zeb/doc/json/Decimal.h"

#include <bit>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <vector>

using Json::Document;
using Json::Value;
using JsonTest::Text;

namespace {

constexpr char COMPACT[] = R"({"a":[1,[],{}],"b":{"c":"d"}})";
constexpr char WIDE[] = R"({
  "a": [
    1,
    [
    ],
    {
    }
  ],
  "b": {
    "c": "d"
  }
})";

TEST(JsonPrint, WritesTheWideAndTheCompactForm) {
    Document doc;
    ASSERT_EQ(JsonTest::Parse(doc, COMPACT), Json::CODE_OK);
    EXPECT_EQ(Text(doc, true), COMPACT);
    EXPECT_EQ(Text(doc, false), WIDE);
    EXPECT_EQ(Text(*doc.Object()->First()->Value()->Array()->Last()->Value(), false), "{\n}");
    doc.InitArray();
    EXPECT_EQ(Text(doc, false), "[\n]");
}

TEST(JsonPrint, TreatsEachByteByItsKind) {
    std::string const pairs = "\bb\tt\nn\ff\rr\"\"\\\\";
    for (unsigned c = 0; c < 256; ++c) {
        std::string const byte(1, static_cast<char>(c));
        std::string expected = byte;
        char code[8];
        snprintf(code, sizeof(code), "\\u00%02X", c);
        if (c < 0x20) expected = code;
        for (std::size_t i = 0; i < pairs.size(); i += 2)
            if (byte[0] == pairs[i]) expected = {'\\', pairs[i + 1]};
        // At each place of a text that is shorter and longer than what is looked at in one step.
        Document doc;
        for (unsigned size : {0U, 3U, 17U, 40U}) {
            for (unsigned at = 0; at <= size; ++at) {
                std::string const head(at, 'x');
                std::string const tail(size - at, 'y');
                ASSERT_EQ(Text(Value(doc, JsonTest::View(head + byte + tail))),
                          '"' + head + expected + tail + '"')
                    << c;
            }
        }
    }
}

TEST(JsonPrint, WritesNumbersAsTheirKindSays) {
    Document doc;
    EXPECT_EQ(Text(Value(doc, std::numeric_limits<long long>::min())), "-9223372036854775808");
    EXPECT_EQ(Text(Value(doc, std::numeric_limits<unsigned long long>::max())), "18446744073709551615");
    std::vector<double> values = {0.0, -0.0,   0.0001,   9.99999e-5, 999999.5,
                                  1e6, 5e-324, HUGE_VAL, -HUGE_VAL,  std::nan("")};
    std::mt19937_64 random(5);
    for (unsigned i = 0; i < 40000; ++i) {
        values.push_back(static_cast<double>(random() % 2000001) / 2);              // ties among them
        values.push_back(static_cast<double>(random() % 900000 + 100000) * 10 + 5); // and above 10^6
        values.push_back(values.back() * 1000);
        values.push_back(
            std::ldexp(static_cast<double>(random() % 1000000), static_cast<int>(random() % 160) - 80));
        values.push_back(std::bit_cast<double>(random()));
    }
    for (double value : values) {
        char expected[40];
        snprintf(expected, sizeof(expected), "%g", value);
        char text[Json::DOUBLE_SIZE + 1];
        *Json::PrintDouble(text, value) = '\0';
        ASSERT_STREQ(text, expected);
    }
    EXPECT_EQ(Text(Value(doc, 0.1)), "0.1");
}

TEST(JsonPrint, TheBlockOfTheStreamMayBeOfAnySize) {
    Document doc;
    ASSERT_EQ(JsonTest::Parse(doc,
                              R"({"name":["long text that has \n more than one block",1234567890123,-0.5,)"
                              R"(18446744073709551615],"b\u0001":{"c":[[[true]]]}})"),
              Json::CODE_OK);
    for (bool compact : {true, false}) {
        std::string const expected = Text(doc, compact);
        for (unsigned long size : {1UL, 2UL, 3UL, 7UL, 16UL, 17UL, 31UL, 64UL, 101UL}) {
            Io::StringStream stream(CString::Nil(), Io::MODE_READ_WRITE, Io::EOL_LF, size);
            EXPECT_TRUE(doc.Print(stream, compact) && stream.Flush());
            EXPECT_EQ(std::string(stream.Str().Cstr(), stream.Str().Size()), expected) << size;
        }
    }
}

TEST(JsonPrint, FollowsTheLineEndOfTheStream) {
    Document doc;
    ASSERT_EQ(JsonTest::Parse(doc, "[1]"), Json::CODE_OK);
    for (bool lazy : {true, false}) {
        Io::StringStream stream(CString::Nil(), Io::MODE_READ_WRITE, Io::EOL_CRLF);
        stream.LazyEndl(lazy);
        EXPECT_TRUE(doc.Print(stream, false));
        EXPECT_EQ(stream.Str(), CString(lazy ? "" : "[\r\n  1\r\n")); // each line end has flushed
        EXPECT_TRUE(stream.Flush());
        EXPECT_EQ(stream.Str(), CString("[\r\n  1\r\n]"));
    }
}

TEST(JsonPrint, AWrapperAndFormatSettingsChangeNothing) {
    Document doc;
    ASSERT_EQ(JsonTest::Parse(doc, "{\"Abc\":15}"), Json::CODE_OK);
    Io::StringStream root;
    Io::StringStream wrapper;
    wrapper.Attach(&root);
    wrapper.Width(12).Hex().Upper();
    EXPECT_TRUE(doc.Print(wrapper, true));
    EXPECT_TRUE(root.Flush());
    EXPECT_EQ(root.Str(), CString("{\"Abc\":15}"));
}

TEST(JsonPrint, AStreamThatFailsGetsNothingMore) {
    Document doc;
    ASSERT_EQ(JsonTest::Parse(doc, R"(["0123456789","0123456789","0123456789"])"), Json::CODE_OK);
    for (long bound : {0L, 1L, 12L, 20L}) {
        Io::StringStream stream(CString::Nil(), Io::MODE_READ_WRITE, Io::EOL_LF, 4, bound);
        EXPECT_FALSE(doc.Print(stream, true) && stream.Flush());
        EXPECT_EQ(stream.Str().Size(), static_cast<unsigned long>(bound));
        EXPECT_EQ(stream.ErrorString(), std::string("operation failed"));
        EXPECT_FALSE(doc.Print(stream, true));
    }
}

} // namespace
