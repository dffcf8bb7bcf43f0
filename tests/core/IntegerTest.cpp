#include "zeb/core/Integer.h"

#include "tests/core/Rig.h"

#include <charconv>

namespace {

// The text of a value against the system's own conversion, and back again.
template<class T>
void ExpectRoundTrip(T value) {
    char expected[3][40];
    auto const bits = static_cast<unsigned long long>(static_cast<std::make_unsigned_t<T>>(value));
    *std::to_chars(expected[0], expected[0] + 39, +value).ptr = '\0';
    snprintf(expected[1], 40, "%llx", bits);
    snprintf(expected[2], 40, "%llX", bits);
    for (int form = 0; form < 3; ++form) {
        Integer const text(value, Integer::PrintFormatT(form));
        T back = 99;
        ASSERT_EQ(std::string(text.Cstr(), text.Size()), expected[form]);
        ASSERT_TRUE(Integer::Parse(text, back, Integer::ParseFormatT(form != 0)) && back == value);
    }
}

// One step further from zero: no limit of a type ends in 9.
std::string Beyond(std::string digits) { return ++digits.back(), digits; }

template<class T>
class IntegerTest : public testing::Test {};

using TypesT =
    testing::Types<char, unsigned char, short, unsigned short, int, unsigned, long, unsigned long, long long, unsigned long long>;
TYPED_TEST_SUITE(IntegerTest, TypesT);

} // namespace

TYPED_TEST(IntegerTest, PrintsAndParsesTheWholeRange) {
    using LimitsT = std::numeric_limits<TypeParam>;
    std::mt19937_64 random(3);
    for (int round = 0; round < 2000; ++round) ExpectRoundTrip(static_cast<TypeParam>(random() >> (random() % 64)));
    ExpectRoundTrip(LimitsT::min()), ExpectRoundTrip(LimitsT::max());
    for (uint64_t power = 1; power < 10000000000000000000U; power *= 10)
        ExpectRoundTrip(static_cast<TypeParam>(power)), ExpectRoundTrip(static_cast<TypeParam>(power - 1));
}

TYPED_TEST(IntegerTest, RefusesWhatIsNoNumberOfTheType) {
    using LimitsT = std::numeric_limits<TypeParam>;
    std::string const highest = std::to_string(LimitsT::max()), hex(2 * sizeof(TypeParam), 'f');
    std::string const below = LimitsT::is_signed ? Beyond(std::to_string(LimitsT::min())) : "-1";
    std::string const nul("1\0", 2);
    std::vector<std::string> const rows[] = {{nul, Beyond(highest), below, highest + "0", "", "+", "-", "++1", "+-1", " 1", "1 ",
                                              "0x1", "1a", "12345678:", "/2345678", "99999999999999999999",
                                              "18446744073709551616", "1844674407370955161/"},
                                             {nul, "", "+1", "-1", "0x1", "g", "1" + hex, std::string(17, '1')}};
    TypeParam value = 42;
    for (int form = 0; form < 2; ++form)
        for (std::string const& text : rows[form])
            EXPECT_FALSE(Integer::Parse(text.data(), text.size(), value, Integer::ParseFormatT(form))) << text;
    EXPECT_EQ(value, TypeParam(42)) << "a failure leaves the output alone";
}

TEST(IntegerTest, TakesSignsAndLeadingZeros) {
    // clang-format off
    std::tuple<char const*, int, long> const rows[] = {{"+7", 0, 7}, {"-0", 0, 0}, {"-0000000000000000000000000042", 0, -42},
                      {"+9223372036854775807", 0, LONG_MAX}, {"-9223372036854775808", 7, LONG_MIN},
                      {"0000000000000000000000000AbCdEf", 1, 0xABCDEF}, {"ffffffffffffffff", 1, -1}};
    // clang-format on
    for (auto const& [text, format, expected] : rows) {
        long value = 99;
        EXPECT_TRUE(Integer::Parse(CString(text), value, Integer::ParseFormatT(format)) && value == expected) << text << value;
    }
}
