#include "zeb/core/HexString.h"

#include "tests/core/Rig.h"

TEST(HexStringTest, WritesAndReadsBytesOfEverySize) {
    std::vector<unsigned char> data;
    std::string expected;
    for (unsigned long size = 0; size < 280; ++size) {
        std::vector<unsigned char> const untouched(size, 0xEE);
        HexString text;
        ASSERT_TRUE(text.Assign(data.data(), size));
        EXPECT_EQ(text.Str(), expected.c_str());
        std::vector<unsigned char> back = untouched;
        unsigned long count = 77;
        EXPECT_TRUE(size == 0 || (!text.Get(back.data(), size - 1, count) && count == size));
        EXPECT_EQ(back, untouched) << "nothing is written";
        EXPECT_TRUE(text.Get(back.data(), size, count) && back == data && count == size);
        data.push_back(static_cast<unsigned char>(size * 37 + 11));
        for (int const digit : {data.back() / 16, data.back() % 16}) expected += "0123456789abcdef"[digit];
    }
}

TEST(HexStringTest, TakesPairsOfDigitsInEitherCaseAndShowsLower) {
    HexString text, other;
    Buffer data;
    bool valid = false;
    unsigned long size = 77;
    EXPECT_TRUE(text.Assign("ABcd09", valid) && valid && text.Str() == "abcd09");
    for (char const* bad : {"0", "0g", "0x12", "12 3"})
        EXPECT_TRUE(!text.Assign(bad, valid) && !valid && !HexString::IsValid(bad, &size) && size == 77);
    EXPECT_TRUE(HexString::IsValid("00fFaB", &size) && size == 3 && HexString::IsValid(""));
    EXPECT_TRUE(text.ToUpper().Get(data) && data == CBuffer("\xAB\xCD\x09") && other.Assign(data));
    HexString copy;
    EXPECT_TRUE(copy.Assign(text) && copy.Str() == "abcd09" && text.Str() == "ABCD09");
    EXPECT_TRUE(other.Swap(text).Str() == "ABCD09" && text.Str() == "abcd09" && other.Clear().Empty());
}
