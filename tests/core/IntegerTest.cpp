#include "zeb/core/Integer.h"

#include <charconv>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <string>

namespace {

template<class T>
std::string Shown(T value, Integer::PrintFormatT format) {
    Integer const text(value, format);
    EXPECT_EQ(strlen(text.Cstr()), text.Size());
    return text.Cstr();
}

// The text of a value against the system's own conversion, and back again.
template<class T>
void ExpectRoundTrip(T value) {
    char expected[40] = {};
    std::to_chars(expected, expected + 39, +value);
    T back = 99;
    EXPECT_EQ(Shown(value, Integer::PRINT_DECIMAL), expected);
    EXPECT_TRUE(Integer::Parse(expected, strlen(expected), back));
    EXPECT_EQ(back, value);
    using UnsignedT = std::make_unsigned_t<T>;
    memset(expected, 0, sizeof expected);
    std::to_chars(expected, expected + 39, static_cast<unsigned long long>(UnsignedT(value)), 16);
    EXPECT_EQ(Shown(value, Integer::PRINT_HEX), expected);
    for (char& c : expected)
        c = static_cast<char>(toupper(c));
    EXPECT_EQ(Shown(value, Integer::PRINT_HEX_UPPER), expected);
    EXPECT_TRUE(Integer::Parse(CString(expected), back, Integer::PARSE_HEX));
    EXPECT_EQ(back, value);
}

template<class T>
class IntegerTest : public testing::Test {};

using TypesT = testing::Types<char, unsigned char, short, unsigned short, int, unsigned, long, unsigned long,
                              long long, unsigned long long>;
TYPED_TEST_SUITE(IntegerTest, TypesT);

// One step past the range, in either direction.
std::string Beyond(std::string digits) {
    auto p = digits.rbegin();
    for (; *p == '9'; ++p)
        *p = '0';
    ++*p;
    return digits;
}

} // namespace

TYPED_TEST(IntegerTest, PrintsAndParsesTheWholeRange) {
    using LimitsT = std::numeric_limits<TypeParam>;
    std::mt19937_64 random(3);
    for (int round = 0; round < 2000; ++round)
        ExpectRoundTrip(static_cast<TypeParam>(random() >> (random() % 64)));
    for (TypeParam const value : {TypeParam(0), TypeParam(1), LimitsT::min(), LimitsT::max()})
        ExpectRoundTrip(value);
    for (uint64_t power = 1; power < 10000000000000000000U; power *= 10) {
        ExpectRoundTrip(static_cast<TypeParam>(power));
        ExpectRoundTrip(static_cast<TypeParam>(power - 1));
    }
}

TYPED_TEST(IntegerTest, RefusesWhatIsNoNumberOfTheType) {
    using LimitsT = std::numeric_limits<TypeParam>;
    std::string const highest = std::to_string(LimitsT::max()), lowest = std::to_string(LimitsT::min());
    std::string const below = LimitsT::is_signed ? Beyond(lowest) : "-1";
    std::string const hex(2 * sizeof(TypeParam), 'f');
    TypeParam value = 42;
    for (std::string const& text :
         {std::string(), std::string("+"), std::string("-"), std::string("++1"), std::string("+-1"),
          std::string(" 1"), std::string("1 "), std::string("0x1"), std::string("1a"),
          std::string("12345678:"), std::string("/2345678"), std::string("1\0", 2), std::string(21, '9'),
          Beyond(highest), below, highest + "0", std::string("99999999999999999999"),
          std::string("18446744073709551616"), std::string("1844674407370955161/")})
        EXPECT_FALSE(Integer::Parse(text.data(), text.size(), value)) << text;
    for (std::string const& text : {std::string(), std::string("+1"), std::string("-1"), std::string("0x1"),
                                    std::string("g"), std::string(" 1"), "1" + hex, std::string(17, '1')})
        EXPECT_FALSE(Integer::Parse(CString(text.data(), text.size()), value, Integer::PARSE_HEX)) << text;
    EXPECT_EQ(value, TypeParam(42)) << "a failure leaves the output alone";
    EXPECT_TRUE(Integer::Parse(CString(hex.c_str()), value, Integer::PARSE_HEX));
    EXPECT_EQ(value, static_cast<TypeParam>(-1));
}

TEST(IntegerTest, TakesSignsAndLeadingZeros) {
    struct {
        char const* text;
        Integer::ParseFormatT format;
        long value;
    } const rows[] = {
        {"+7", Integer::PARSE_DECIMAL, 7},
        {"-0", Integer::PARSE_DECIMAL, 0},
        {"-00000000000000000000000000000000042", Integer::PARSE_DECIMAL, -42},
        {"+9223372036854775807", Integer::PARSE_DECIMAL, std::numeric_limits<long>::max()},
        {"-9223372036854775808", Integer::ParseFormatT(7), std::numeric_limits<long>::min()},
        {"0000000000000000000000000AbCdEf", Integer::PARSE_HEX, 0xABCDEF},
        {"ffffffffffffffff", Integer::PARSE_HEX, -1},
    };
    for (auto const& row : rows) {
        long value = 0;
        EXPECT_TRUE(Integer::Parse(CString(row.text), value, row.format)) << row.text;
        EXPECT_EQ(value, row.value) << row.text;
    }
    unsigned short narrow = 5;
    EXPECT_TRUE(Integer::Parse(CString("+65535"), narrow));
    EXPECT_EQ(narrow, 65535);
}
