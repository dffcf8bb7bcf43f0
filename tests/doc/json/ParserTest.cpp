#include "tests/doc/json/Text.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>

using namespace JsonTest;
using namespace std::literals;

namespace {

std::string const ZEROS(400, '0'), ZEROS2 = ZEROS + ZEROS;

// clang-format off
std::pair<uint32_t, std::vector<std::string>> const REFUSED[] = {
    {0x80380077, {"", " \t\r\n ", "\0[]"s}}, {0x80380065, {"nul", "nulL"}}, {0x80380066, {"[fals", "[fake]"}},
    {0x80380067, {"tru]", "[t"}}, {0x80380068, {R"("\u12)", R"("\u12g4")", R"("\u")", R"("\ud83d\u12")"}},
    {0x80380069, {R"("\ud83d")", R"("\ud83dx")", R"("\udbff\n")", R"("\ud83d\)"}},
    {0x8038006A, {R"("\ud83d\ud83d")", R"("\ud83d\u0041")"}}, {0x8038006B, {R"("\x")", R"("\)", "\"\\\0\""s, R"("\U0041")"}},
    {0x8038006C, {"\"abc", "\"", "\"0123456789abcdef0123456789", "\"a\0b\""s, "\"a\\nb\0\""s}},
    {0x8038006D, {"\"a\nb\"", "\"0123456789abcdef\x1f\"", "{\"a\tb\":1}"}}, {0x8038006E, {"01", "-00", "[00.5]"}},
    {0x8038006F, {"-", "-a", "[-.5]"}}, {0x80380070, {"1.", "1.e5", "[12345678901234567890.]"}},
    {0x80380071, {"1e", "1E+", "[1.25e-]", "123456789012345678901234567890e"}},
    {0x80380072, {"1e999", "-1e309", "1.7976931348623159e308", "1e-320", "2.2250738585072011e-308", "-2.5e-324"}},
    // Many digits decide in the end: the last one is just above the middle of 0 and 2^-1074.
    {0x80380072, {"1e99999999999999999999", "1" + ZEROS2 + ".5", "-0." + ZEROS.substr(80) + "1", "2.48" + ZEROS2 + "1e-324"}},
    // In the last one the array sees its own bracket where a value is missing.
    {0x80380073, {"[1,]", "[1, ]", "[1 2]", "[1", "[1}", "[1\0"s, "[[1,],2]", "[nullx]", R"([{"a":]})"}},
    {0x80380074, {"{", "{,}", "{a:1}", "{1:1}", R"({"a":1,})", R"({"a":1,)"}},
    {0x80380076, {R"({"a":})", R"({"a":1)", R"({"a":1])", R"({"a":1 "b":2})", R"({"a":[})"}},
    {0x80380075, {R"({"a"})", R"({"a" 1})", R"({"a")"}}, {0x80380079, {"nullx", "1.5e3e4", "1x", "[] x", "{}{}", "[]\0"s, "1 2"}},
    {0x8038007A, {"\v[]", "True", "+1", ".5", "NaN", "[,1]", "[", "[1,", "[1,,2]", R"({"a":,})", R"({"a":)", "]", "/**/[]"}}};
// clang-format on

TEST(JsonParser, RefusesWithTheCodeOfTheFaultAndItsWords) {
    LogCapture log;
    for (auto const& [code, texts] : REFUSED) {
        EXPECT_FALSE(Json::CodeWords(code).Empty()) << code;
        for (auto const& text : texts) {
            Document doc;
            EXPECT_EQ(Parse(doc, text), code) << text;
            EXPECT_TRUE(doc.Valid());
            // The same behind blanks that make the text longer than any block of bytes that is looked at.
            EXPECT_TRUE(text.empty() || Parse(doc, std::string(40, ' ') + text) == code) << text;
        }
    }
    EXPECT_TRUE(log.Take().empty() && Json::CodeWords(0x80380064).Empty() && Json::CodeWords(0x00380064).Empty());
}

TEST(JsonParser, SaysWhereAndWhyATextIsRefused) {
    // clang-format off
    std::pair<std::string_view, std::tuple<unsigned long, unsigned long, unsigned long, CString>> const rows[] = {
        {"{\"n\xC3\xA9\xE2\x82\xAC\": 01}", {11, 1, 9, "a number with a leading zero"}}, {"", {0, 1, 1, "an empty text"}},
        {"[1,\r\n 2,\r\n]", {10, 3, 1, "neither a comma nor the end of the array"}}, {"{}\n,", {3, 2, 1, "text behind the end"}},
        {"[\"a\nb\"]", {3, 1, 4, "a control character in a string"}}, {"\n\n  x", {4, 3, 3, "neither an object nor an array"}},
    };
    // clang-format on
    for (auto const& [text, place] : rows) {
        Document doc;
        Json::FaultT fault;
        EXPECT_TRUE(doc.Parse(View(text), Document::PARSE_CONTAINER, &fault).Failed()) << text;
        EXPECT_TRUE(doc.Parse(CBuffer("[]", 2), Document::PARSE_ANY, &fault).Succeeded()); // leaves it alone
        EXPECT_EQ(std::tuple(fault.offset, fault.line, fault.column, fault.words), place) << text;
    }
}

constexpr char ALL[] = R"([null,false,true,"",[1,2,3],{"":{"":[[],{}]}},0,-1234567890123456,9999999999999999999,)"
                       R"(18446744073709551615,-9223372036854775808,[7,42,123,1234,12345,123456],1234567,12345678,"a\u0000b",)"
                       "\"\x80\xFF\x7F\"]";

// clang-format off
std::pair<std::string, std::string> const ACCEPTED[] = {
    {"[18446744073709551616,-9223372036854775809,184467440737095516150]", "[1.84467e+19,-9.22337e+18,1.84467e+20]"}, {"-0", "0"},
    {"[0.0,-0.0,1.5,1E5,1e+2,1.25e-2,0e5,12345678.125]", "[0,-0,1.5,100000,100,0.0125,0,1.23457e+07]"}, {" \n\r\t[ \n] ", "[]"},
    {R"("\u007f\u0080\u07ff\u0800\uffff")", "\"\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF\""}, {ALL, ALL},
    {"[2.2250738585072014e-308,-1.7976931348623157e308]", "[2.22507e-308,-1.79769e+308]"},
    {R"("\u0041\u00e9\u20AC\uD83D\uDE00")", "\"A\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\""},
    {'"' + ZEROS + R"(\u00e9\ud83d\ude00")", '"' + ZEROS + "\xC3\xA9\xF0\x9F\x98\x80\""},
    {R"("\udbff\udfff\udc00")", "\"\xF4\x8F\xBF\xBF\xED\xB0\x80\""}, {" { \"a\" : 1 ,\n\"b\":[ ] }", R"({"a":1,"b":[]})"},
    {"[1e-400,2.4e-324,0.0e-999999,-0e99999999999]", "[0,0,0,-0]"}, {R"("\"\\\/\b\f\n\r\t")", R"("\"\\/\b\f\n\r\t")"},
    {"18446744073709551615", "18446744073709551615"},
    // Many digits decide in the end, one just below the middle of 0 and 2^-1074.
    {"[-0." + ZEROS + "1,-2.4703282292062327208299439346738" + ZEROS2 + "e-324]", "[-0,-0]"},
    {"[0." + ZEROS + "15e401,15" + ZEROS + "e-401]", "[1.5,1.5]"},
    {"29999999999999999999", "11553255926290448383"}, // wraps to above its first 19 digits
};
// clang-format on

TEST(JsonParser, AcceptsAndKeepsTheValue) {
    for (auto const& [text, printed] : ACCEPTED) {
        Document doc;
        EXPECT_EQ(Parse(doc, text), Json::CODE_OK) << text;
        EXPECT_EQ(JsonText(doc), printed);
        for (std::string const& longer : {"[" + text + "]", " " + text + std::string(40, '\n')})
            EXPECT_EQ(Parse(doc, longer), Json::CODE_OK) << longer;
    }
}

TEST(JsonParser, TakesAScalarRootOnlyWhenAllowedAndLeavesThePool) {
    Document doc;
    CString kept;
    EXPECT_EQ(Parse(doc, "[\"kept\"]", Document::PARSE_CONTAINER), Json::CODE_OK);
    EXPECT_TRUE(doc.Array()->Get(0, kept));
    for (char const* text : {"null", "true", "200", "\"a\"", "-1.5"}) {
        EXPECT_EQ(Parse(doc, text, Document::PARSE_CONTAINER), 0x80380078u) << text;
        EXPECT_EQ(Parse(doc, text), Json::CODE_OK);
        EXPECT_EQ(std::tuple(JsonText(doc), doc.IsUChar(), doc.BoolPtr() != nullptr && *doc.BoolPtr(), kept),
                  std::tuple(text, *text == '2', *text == 't', "kept"));
        EXPECT_FALSE(doc.Array() || doc.Parent() || doc.String().Cstr()[doc.String().Size()] != '\0');
    }
    EXPECT_TRUE(Parse(doc, "{}") == Json::CODE_OK && !doc.Object()->First());
}

TEST(JsonParser, BoundsTheDepth) {
    Document doc;
    for (std::string const open : {"[", "{\"a\":"})
        for (unsigned const levels : {128U, 129U, 130U, 100000U}) { // so many containers inside the root
            std::string text;
            for (unsigned i = 0; i < levels; ++i) text += open;
            text += open[0] + std::string(levels + 1, static_cast<char>(open[0] + 2)); // the closing one
            EXPECT_EQ(Parse(doc, text), levels == 128 ? 0x00380064u : 0x8038007Du);
            EXPECT_TRUE(levels != 128 || JsonText(doc) == text);
        }
    EXPECT_EQ(Parse(doc, std::string(200, '[')), 0x8038007Du); // ahead of the fault behind it
}

TEST(JsonParser, ADoubleIsTheNearestOne) {
    std::mt19937_64 random(11);
    for (unsigned i = 0; i < 60000; ++i) {
        double value = std::bit_cast<double>(random());
        if (i % 2 == 0) value = std::ldexp(static_cast<double>(random()), -static_cast<int>(random() % 100));
        char text[400];
        snprintf(text, sizeof(text), std::array{"%.*e", "%.*f", "%.*g"}[i % 3], static_cast<int>(1 + random() % 18), value);
        // Exact ties between two doubles.
        unsigned long const tie = (1UL << 52) + (random() >> 12);
        if (i % 8 == 0) snprintf(text, sizeof(text), "%lu.5", tie);
        if (i % 8 == 1) snprintf(text, sizeof(text), "%lu.%d", tie / 2, i % 16 == 1 ? 25 : 75);
        if (!std::isfinite(value) || strpbrk(text, ".e") == nullptr) continue;
        double const expected = strtod(text, nullptr);
        bool const held = expected == 0 || std::isnormal(expected);
        Document doc;
        ASSERT_EQ(Parse(doc, text), held ? Json::CODE_OK : Json::CODE_NOT_A_DOUBLE) << text;
        ASSERT_TRUE(!held || (doc.IsDouble() && memcmp(doc.DoublePtr(), &expected, sizeof(expected)) == 0)) << text;
    }
}

TEST(JsonParser, DuplicatesAreLoggedWhereTheyEndAndKept) {
    // clang-format off
    std::pair<std::string_view, std::vector<std::string>> const rows[] = {
        {R"({"abcdefgh":1,"abcdefg":2,"":3,"abcdefgh":4,"":5})", {"abcdefgh", ""}}, {R"({"a":1,"a":2,"b":3,"a":4})", {"a", "a"}},
        {R"({"a":1,"a":{"b":1,"b":2}})", {"b", "a"}}, {R"({"a":1,"b":2,"c":{"a":1}})", {}}, {R"({"\u0061":1,"a":2})", {"a"}},
        {R"({"x\u0000y":1,"x\u0000z":2,"x":3,"x\u0000yy":4})", {"x"}}, // a comparison ends at a NUL
    };
    // clang-format on
    for (auto const& [text, names] : rows) {
        LogCapture log;
        Parsed const doc(text);
        LogCapture::LinesT lines;
        for (auto const& name : names) lines.push_back("W Json::Object: AppendMember: duplicate key: \"" + name + "\".");
        EXPECT_EQ(log.Take(), lines) << text;
        EXPECT_TRUE(text.find("\\") != text.npos || JsonText(doc) == text) << text;
    }
}

void AppendRandom(Array& array, std::mt19937_64& random, unsigned depth) {
    uint64_t const number = random() >> random() % 64;
    std::string text(random() % 150, 'x'); // with and without escapes, beyond what a stack block holds
    if (random() % 2 != 0) std::generate(text.begin(), text.end(), [&] { return static_cast<char>(random()); });
    array.Append(random() % 2 != 0), array.Append(number), array.Append(-static_cast<long>(number >> 1));
    array.Append(static_cast<double>(number % 100000) / 64), array.Append(View(text));
    Array& inner = *array.AppendObject()->AppendArray(View(text));
    for (unsigned long i = depth < 4 ? random() % 4 : 0; i != 0; --i) AppendRandom(inner, random, depth + 1);
}

TEST(JsonParser, RandomDocumentsComeBackAsTheyWere) {
    for (unsigned seed = 0; seed < 300; ++seed) {
        std::mt19937_64 random(seed);
        Document doc, again;
        doc.InitArray();
        AppendRandom(*doc.Array(), random, 0);
        for (bool compact : {true, false}) {
            std::string const text = JsonText(doc, compact);
            // A text that is cut is refused, and what was built so far can be walked and printed.
            ASSERT_NE(Parse(again, text.substr(0, random() % text.size())), Json::CODE_OK) << text;
            ASSERT_TRUE(again.Valid() && !JsonText(again).empty());
            ASSERT_EQ(Parse(again, text), Json::CODE_OK) << text;
            ASSERT_EQ(JsonText(again), JsonText(doc));
        }
    }
}

} // namespace
