#include "tests/doc/json/Text.h"
#include "tests/support/LogCapture.h"

#include <bit>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <random>
#include <vector>

using Json::Document;
using Json::Value;
using JsonTest::Parse;
using JsonTest::Text;
using namespace std::literals;

namespace {

// The same text at the end of its own block, so that a sanitizer sees a read behind it.
uint32_t ParseTight(Document& document, std::string_view text, Document::ParseT what = Document::PARSE_ANY) {
    std::unique_ptr<char[]> const block(new char[text.size()]);
    memcpy(block.get(), text.data(), text.size());
    return document.Parse(CBuffer(block.get(), text.size()), what).Code();
}

struct Refused {
    std::string_view text;
    uint32_t code;
};

constexpr Refused REFUSED[] = {
    {"", 0x80380077},
    {" \t\r\n ", 0x80380077},
    {"\0[]"sv, 0x80380077},
    {"\v[]", 0x8038007A},
    // literals
    {"nul", 0x80380065},
    {"nulL", 0x80380065},
    {"[fals", 0x80380066},
    {"[fake]", 0x80380066},
    {"tru]", 0x80380067},
    {"True", 0x8038007A},
    {"nullx", 0x80380079},
    {"[nullx]", 0x80380073},
    // strings
    {"\"\\u12", 0x80380068},
    {"\"\\u12g4\"", 0x80380068},
    {"\"\\u\"", 0x80380068},
    {"\"\\ud83d\"", 0x80380069},
    {"\"\\ud83dx\"", 0x80380069},
    {"\"\\udbff\\n\"", 0x80380069},
    {"\"\\ud83d\\", 0x80380069},
    {"\"\\ud83d\\u12\"", 0x80380068},
    {"\"\\ud83d\\ud83d\"", 0x8038006A},
    {"\"\\ud83d\\u0041\"", 0x8038006A},
    {"\"\\x\"", 0x8038006B},
    {"\"\\", 0x8038006B},
    {"\"\\\0\""sv, 0x8038006B},
    {"\"\\U0041\"", 0x8038006B},
    {"\"abc", 0x8038006C},
    {"\"", 0x8038006C},
    {"\"0123456789abcdef0123456789", 0x8038006C},
    {"\"a\0b\""sv, 0x8038006C},
    {"\"a\\nb\0\""sv, 0x8038006C},
    {"\"a\nb\"", 0x8038006D},
    {"\"0123456789abcdef\x1f\"", 0x8038006D},
    {"{\"a\tb\":1}", 0x8038006D},
    // numbers
    {"01", 0x8038006E},
    {"-00", 0x8038006E},
    {"[00.5]", 0x8038006E},
    {"-", 0x8038006F},
    {"-a", 0x8038006F},
    {"[-.5]", 0x8038006F},
    {"1.", 0x80380070},
    {"1.e5", 0x80380070},
    {"[12345678901234567890.]", 0x80380070},
    {"1e", 0x80380071},
    {"1E+", 0x80380071},
    {"[1.25e-]", 0x80380071},
    {"123456789012345678901234567890e", 0x80380071},
    {"1e999", 0x80380072},
    {"-1e309", 0x80380072},
    {"1.7976931348623159e308", 0x80380072},
    {"1e-320", 0x80380072},
    {"2.2250738585072011e-308", 0x80380072},
    {"-2.5e-324", 0x80380072},
    {"1e99999999999999999999", 0x80380072},
    {"+1", 0x8038007A},
    {".5", 0x8038007A},
    {"1.5e3e4", 0x80380079},
    {"1x", 0x80380079},
    {"NaN", 0x8038007A},
    // arrays
    {"[1,]", 0x80380073},
    {"[1, ]", 0x80380073},
    {"[1 2]", 0x80380073},
    {"[1", 0x80380073},
    {"[1}", 0x80380073},
    {"[1\0"sv, 0x80380073},
    {"[[1,],2]", 0x80380073},
    {"[{\"a\":]}]", 0x80380073}, // the array sees its own bracket where the value is missing
    {"[,1]", 0x8038007A},
    {"[", 0x8038007A},
    {"[1,", 0x8038007A},
    {"[1,,2]", 0x8038007A},
    // objects
    {"{", 0x80380074},
    {"{,}", 0x80380074},
    {"{a:1}", 0x80380074},
    {"{1:1}", 0x80380074},
    {"{\"a\":1,}", 0x80380074},
    {"{\"a\":1,", 0x80380074},
    {"{\"a\"}", 0x80380075},
    {"{\"a\" 1}", 0x80380075},
    {"{\"a\"", 0x80380075},
    {"{\"a\":}", 0x80380076},
    {"{\"a\":1", 0x80380076},
    {"{\"a\":1]", 0x80380076},
    {"{\"a\":1 \"b\":2}", 0x80380076},
    {"{\"a\":[}", 0x80380076},
    {"{\"a\":,}", 0x8038007A},
    {"{\"a\":", 0x8038007A},
    // behind the root
    {"[] x", 0x80380079},
    {"{}{}", 0x80380079},
    {"[]\0"sv, 0x80380079},
    {"1 2", 0x80380079},
    {"]", 0x8038007A},
    {"/**/[]", 0x8038007A},
};

TEST(JsonParser, RefusesWithTheCodeOfTheFault) {
    LogCapture log;
    for (Refused const& row : REFUSED) {
        Document doc;
        EXPECT_EQ(ParseTight(doc, row.text), row.code) << std::hex << row.text;
        EXPECT_TRUE(doc.Valid());
        // The same fault behind blanks that make the text longer than any block of bytes that is looked at.
        if (row.text.empty() || row.text[0] == '\0') continue;
        EXPECT_EQ(ParseTight(doc, std::string(40, ' ') + std::string(row.text)), row.code) << row.text;
    }
    EXPECT_TRUE(log.Take().empty());
}

struct Accepted {
    std::string_view text;
    std::string_view printed; // compact
};

constexpr Accepted ACCEPTED[] = {
    {" \n\r\t[ \n] ", "[]"},
    {"{ }", "{}"},
    {"null", "null"},
    {" true ", "true"},
    {"false", "false"},
    {"\"\"", "\"\""},
    {"[1,2 , 3]", "[1,2,3]"},
    {"{ \"a\" : 1 ,\n\"b\":[ ] }", "{\"a\":1,\"b\":[]}"},
    {"{\"\":{\"\":[[],{}]}}", "{\"\":{\"\":[[],{}]}}"},
    // strings
    {R"("\"\\\/\b\f\n\r\t")", R"("\"\\/\b\f\n\r\t")"},
    {R"("\u0041\u00e9\u20AC\uD83D\uDE00")", "\"A\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\""},
    {R"("\u007f\u0080\u07ff\u0800\uffff\udbff\udfff")",
     "\"\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF\xF4\x8F\xBF\xBF\""},
    {R"("\udc00")", "\"\xED\xB0\x80\""},
    {R"("a\u0000b")", R"("a\u0000b")"},
    {"\"\x80\xFF\x7F\"", "\"\x80\xFF\x7F\""},
    // integers
    {"0", "0"},
    {"-0", "0"},
    {"[7,42,123,1234,12345,123456,1234567,12345678,123456789]",
     "[7,42,123,1234,12345,123456,1234567,12345678,123456789]"},
    {"-1234567890123456", "-1234567890123456"},
    {"9999999999999999999", "9999999999999999999"},
    {"18446744073709551615", "18446744073709551615"},
    {"-9223372036854775808", "-9223372036854775808"},
    {"29999999999999999999", "11553255926290448383"}, // wraps to above its first 19 digits
    // doubles
    {"18446744073709551616", "1.84467e+19"},
    {"-9223372036854775809", "-9.22337e+18"},
    {"184467440737095516150", "1.84467e+20"},
    {"[0.0,-0.0,1.5,1E5,1e+2,1.25e-2,0e5]", "[0,-0,1.5,100000,100,0.0125,0]"},
    {"1e-400", "0"},
    {"[0.0e-999999,0e99999999999]", "[0,0]"},
    {"2.2250738585072014e-308", "2.22507e-308"},
    {"-1.7976931348623157e308", "-1.79769e+308"},
    {"2.4e-324", "0"},
    {"12345678.125", "1.23457e+07"},
};

TEST(JsonParser, AcceptsAndKeepsTheValue) {
    for (Accepted const& row : ACCEPTED) {
        Document doc;
        EXPECT_EQ(ParseTight(doc, row.text), Json::CODE_OK) << row.text;
        EXPECT_EQ(Text(doc), row.printed);
        std::string const again(row.text);
        for (std::string const& text : {"[" + again + "]", " " + again + std::string(40, '\n')})
            EXPECT_EQ(ParseTight(doc, text), Json::CODE_OK) << text;
    }
}

TEST(JsonParser, TakesAScalarRootOnlyWhenAllowed) {
    for (char const* text : {"null", "true", "1", "\"a\"", "-1.5", "x"}) {
        Document doc;
        EXPECT_EQ(Parse(doc, text, Document::PARSE_CONTAINER), 0x80380078u) << text;
        EXPECT_TRUE(doc.IsObject());
    }
    Document doc;
    EXPECT_EQ(Parse(doc, "[1]", Document::PARSE_CONTAINER), Json::CODE_OK);
    EXPECT_EQ(Parse(doc, "200"), Json::CODE_OK);
    EXPECT_TRUE(doc.IsUChar() && !doc.IsChar() && doc.UChar() == 200);
    EXPECT_EQ(doc.Array(), nullptr);
    EXPECT_EQ(Parse(doc, "\"t\""), Json::CODE_OK);
    EXPECT_EQ(doc.String(), CString("t"));
    EXPECT_EQ(Parse(doc, "true"), Json::CODE_OK);
    EXPECT_TRUE(doc.BoolPtr() != nullptr && *doc.BoolPtr());
    EXPECT_EQ(Parse(doc, "{}"), Json::CODE_OK);
    EXPECT_EQ(doc.Object()->First(), nullptr);
}

// So many containers inside the root.
std::string Nested(unsigned levels, bool object) {
    std::string text;
    for (unsigned i = 0; i < levels; ++i)
        text += object ? "{\"a\":" : "[";
    return text + (object ? "{}" : "[]") + std::string(levels, object ? '}' : ']');
}

TEST(JsonParser, BoundsTheDepth) {
    for (bool object : {false, true}) {
        Document doc;
        EXPECT_EQ(Parse(doc, Nested(128, object)), Json::CODE_OK);
        EXPECT_EQ(Text(doc), Nested(128, object));
        for (unsigned levels : {129U, 130U, 100000U})
            EXPECT_EQ(Parse(doc, Nested(levels, object)), 0x8038007Du);
    }
    Document doc;
    EXPECT_EQ(Parse(doc, std::string(200, '[')), 0x8038007Du); // ahead of the fault behind it
}

TEST(JsonParser, ATextOfAnyLengthAndContentComesThrough) {
    char const* const pieces[] = {"a",    "\\n",      "\\u00e9",        "0123456789abcdef",
                                  "\\\"", "\xC3\xA9", "\\ud83d\\ude00", "\\u0000"};
    std::string const values[] = {"a",  "\n",       "\xC3\xA9",         "0123456789abcdef",
                                  "\"", "\xC3\xA9", "\xF0\x9F\x98\x80", std::string(1, '\0')};
    std::mt19937 random(7);
    for (unsigned length = 0; length < 400; ++length) {
        std::string text = "\"" + std::string(length, 'x');
        std::string expected(length, 'x');
        for (unsigned i = random() % 4; i != 0; --i) {
            unsigned const piece = random() % std::size(pieces);
            text += pieces[piece];
            expected += values[piece];
        }
        Document doc;
        ASSERT_EQ(ParseTight(doc, text + '"'), Json::CODE_OK) << text;
        ASSERT_EQ(std::string(doc.String().Cstr(), doc.String().Size()), expected) << text;
        ASSERT_EQ(doc.String().Cstr()[expected.size()], '\0');
        ASSERT_EQ(ParseTight(doc, "[" + text + "\"]"), Json::CODE_OK);
        CString view;
        ASSERT_TRUE(doc.Array()->Get(0, view) && view.Size() == expected.size());
        ASSERT_EQ(memcmp(view.Cstr(), expected.data(), expected.size()), 0);
    }
}

TEST(JsonParser, ADoubleIsTheNearestOne) {
    std::mt19937_64 random(11);
    for (unsigned i = 0; i < 200000; ++i) {
        char text[64];
        double value = std::bit_cast<double>(random());
        if (i % 2 == 0)
            value =
                static_cast<double>(static_cast<long>(random())) / static_cast<double>(1UL << random() % 63);
        if (!std::isnormal(value)) continue;
        snprintf(text, sizeof(text),
                 i % 3 == 0   ? "%.*e"
                 : i % 4 == 0 ? "%.*f"
                              : "%.*g",
                 static_cast<int>(1 + random() % 18), value);
        if (strlen(text) > 60 || strpbrk(text, ".e") == nullptr) continue;
        double const expected = strtod(text, nullptr);
        Document doc;
        uint32_t const code = Parse(doc, text);
        if (expected != 0 && !std::isnormal(expected)) {
            ASSERT_EQ(code, Json::CODE_NOT_A_DOUBLE) << text;
            continue;
        }
        ASSERT_EQ(code, Json::CODE_OK) << text;
        ASSERT_TRUE(doc.IsDouble()) << text;
        ASSERT_EQ(std::bit_cast<uint64_t>(doc.Double()), std::bit_cast<uint64_t>(expected)) << text;
    }
}

TEST(JsonParser, ManyDigitsDecideInTheEnd) {
    std::string const zeros(400, '0');
    // Halfway between 2^-1074 and nothing, and one digit behind 800 others above it.
    std::string const half = "2.4703282292062327208299439346738" + zeros;
    Document doc;
    EXPECT_EQ(Parse(doc, "0." + zeros + "1e401"), Json::CODE_OK);
    EXPECT_EQ(doc.Double(), 1.0);
    EXPECT_EQ(Parse(doc, "1" + zeros + "e-400"), Json::CODE_OK);
    EXPECT_EQ(doc.Double(), 1.0);
    EXPECT_EQ(Parse(doc, "1" + zeros + zeros + ".5"), Json::CODE_NOT_A_DOUBLE);
    EXPECT_EQ(Parse(doc, "0." + zeros + "1"), Json::CODE_OK);
    EXPECT_EQ(doc.Double(), 0.0);
    EXPECT_EQ(Parse(doc, "-0." + std::string(320, '0') + "1"), Json::CODE_NOT_A_DOUBLE);
    EXPECT_EQ(Parse(doc, half + "e-324"), Json::CODE_OK);
    EXPECT_EQ(Parse(doc, "2.48" + zeros + zeros + "e-324"), Json::CODE_NOT_A_DOUBLE);
}

TEST(JsonParser, DuplicatesAreLoggedWhereTheyEndAndKept) {
    struct Row {
        std::string_view text;
        LogCapture::LinesT names;
    };
    Row const rows[] = {
        {R"({"a":1,"b":2,"c":{"a":1}})", {}},
        {R"({"a":1,"a":2,"b":3,"a":4})", {"a", "a"}},
        {R"({"a":1,"a":{"b":1,"b":2}})", {"b", "a"}},
        {R"({"long name 1":1,"long name 2":2,"long name 1":3})", {"long name 1"}},
        {R"({"abcdefgh":1,"abcdefg":2,"":3,"abcdefgh":4,"":5})", {"abcdefgh", ""}},
        {R"({"x\u0000y":1,"x\u0000z":2,"x":3,"x\u0000yy":4})", {"x"}}, // a comparison ends at a NUL
        {R"({"\u0061":1,"a":2})", {"a"}},
    };
    for (Row const& row : rows) {
        LogCapture log;
        Document doc;
        EXPECT_EQ(Parse(doc, row.text), Json::CODE_OK);
        LogCapture::LinesT expected;
        for (std::string const& name : row.names)
            expected.push_back("W Json::Object: AppendMember: duplicate key: \"" + name + "\".");
        EXPECT_EQ(log.Take(), expected) << row.text;
        if (row.text.find("\\") == row.text.npos) {
            EXPECT_EQ(Text(doc), row.text);
        }
    }
}

TEST(JsonParser, FindsEachDuplicateInAnObjectOfAnySize) {
    std::mt19937 random(3);
    for (unsigned members : {15U, 16U, 17U, 63U, 64U, 65U, 66U, 127U, 128U, 129U, 1000U, 3000U}) {
        LogCapture log;
        std::vector<bool> seen(members);
        LogCapture::LinesT expected;
        std::string text = "{";
        for (unsigned i = 0; i < members; ++i) {
            // Names of equal ends, which differ in the middle.
            unsigned const which = random() % members;
            std::string const name = "neighbour " + std::to_string(which) + " of the bridge";
            text += (i != 0 ? ",\"" : "\"") + name + "\":" + std::to_string(i);
            if (seen[which])
                expected.push_back("W Json::Object: AppendMember: duplicate key: \"" + name + "\".");
            seen[which] = true;
        }
        Document doc;
        ASSERT_EQ(Parse(doc, text + "}"), Json::CODE_OK);
        ASSERT_EQ(log.Take(), expected) << members;
        ASSERT_EQ(Text(doc), text + "}");
    }
}

// A text that is cut anywhere is refused, and what was built so far can be walked and printed.
TEST(JsonParser, EveryBeginningOfATextIsRefused) {
    std::string const text =
        R"({"a":[1,-2.5e3,true,null,"x\ud83d\ude00\n"],"b":{"c":false,"d":[[],{}]},"e":12345678901234567890})";
    for (std::size_t size = 0; size < text.size(); ++size) {
        Document doc;
        ASSERT_NE(ParseTight(doc, text.substr(0, size)), Json::CODE_OK) << size;
        ASSERT_TRUE(doc.Valid());
        Text(doc);
    }
}

// Random documents, written by a second hand in compact and in wide form.
class Writer {
public:
    explicit Writer(unsigned seed)
        : random_(seed) {}

    std::string Value(unsigned depth, std::string& wide) {
        switch (random_() % (depth < 5 ? 9 : 6)) {
        case 0:
            return Both("null", wide);
        case 1:
            return Both(random_() % 2 ? "true" : "false", wide);
        case 2:
            return Both(std::to_string(static_cast<long>(random_() * random_()) >> random_() % 64), wide);
        case 3:
            return Both(std::to_string(random_() >> random_() % 64), wide);
        case 4:
            return Both("0." + std::string(1 + random_() % 6, '5'), wide);
        case 5:
            return Both(String(), wide);
        default:
            return Container(random_() % 2 != 0, depth, wide);
        }
    }

private:
    std::string Both(std::string const& text, std::string& wide) {
        wide += text;
        return text;
    }
    std::string Space() {
        char const* const spaces[] = {
            "", " ", "\n", "\r\n  ", "\t", "                    ", "\n                  "};
        return spaces[random_() % std::size(spaces)];
    }
    std::string String() {
        std::string text = "\"";
        for (unsigned long i = random_() % 40; i != 0; --i)
            text += random_() % 8 != 0 ? std::string(1, static_cast<char>('a' + random_() % 26)) : R"(\n)";
        return text + '"';
    }
    std::string Container(bool object, unsigned depth, std::string& wide) {
        std::string text = Both(object ? "{" : "[", wide);
        unsigned long const count = random_() % 6;
        for (unsigned long i = 0; i < count; ++i) {
            wide += Space();
            if (object) text += Both("\"" + std::to_string(i) + "\"", wide);
            wide += Space();
            if (object) text += Both(":", wide);
            wide += Space();
            text += Value(depth + 1, wide);
            wide += Space();
            if (i + 1 < count) text += Both(",", wide);
        }
        wide += Space();
        return text + Both(object ? "}" : "]", wide);
    }

    std::mt19937_64 random_;
};

TEST(JsonParser, RandomDocumentsComeBackAsTheyWere) {
    for (unsigned seed = 0; seed < 3000; ++seed) {
        std::string wide;
        std::string const text = Writer(seed).Value(0, wide);
        Document doc;
        ASSERT_EQ(ParseTight(doc, wide), Json::CODE_OK) << wide;
        ASSERT_EQ(Text(doc), text);
        Document again;
        ASSERT_EQ(ParseTight(again, Text(doc, false)), Json::CODE_OK);
        ASSERT_EQ(Text(again), text);
    }
}

} // namespace
