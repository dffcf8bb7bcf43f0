#include "zeb/core/HexString.h"

#include "tests/support/Heap.h"
#include "zeb/core/Buffer.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace {

std::vector<unsigned char> Sample(unsigned long size) {
    std::vector<unsigned char> data(size);
    for (unsigned long i = 0; i < size; ++i)
        data[i] = static_cast<unsigned char>(i * 37 + 11);
    return data;
}

std::string Digits(std::vector<unsigned char> const& data) {
    std::string text;
    for (unsigned char byte : data) {
        text += HexString::LOWER_DIGITS[byte / 16];
        text += HexString::LOWER_DIGITS[byte % 16];
    }
    return text;
}

} // namespace

TEST(HexStringTest, WritesAndReadsBytesOfEverySize) {
    for (unsigned long size = 0; size < 70; ++size) {
        std::vector<unsigned char> const data = Sample(size);
        HexString text;
        ASSERT_TRUE(text.Assign(data.data(), size));
        EXPECT_EQ(text.Str().Cstr(), Digits(data));
        EXPECT_EQ(text.DataSize(), size);
        std::vector<unsigned char> back(size, 0xEE);
        unsigned long count = 77;
        if (size != 0) {
            EXPECT_FALSE(text.Get(back.data(), size - 1, count));
            EXPECT_EQ(back, std::vector<unsigned char>(size, 0xEE)) << "nothing is written";
            EXPECT_EQ(count, size);
        }
        EXPECT_TRUE(text.Get(back.data(), size, count));
        EXPECT_EQ(back, data);
        EXPECT_EQ(count, size);
    }
}

TEST(HexStringTest, KnowsItsDigits) {
    for (int c = 0; c < 256; ++c) {
        int const value = isdigit(c) ? c - '0' : isxdigit(c) ? tolower(c) - 'a' + 10 : 0xFF;
        EXPECT_EQ(HexString::CHAR_DIGIT_MAP[c], value) << c;
    }
    unsigned long size = 77;
    for (char const* bad : {"0", "0g", "0x12", "12 3", "abc"})
        EXPECT_FALSE(HexString::IsValid(bad, &size)) << bad;
    EXPECT_EQ(size, 77U);
    EXPECT_TRUE(HexString::IsValid("00fFaB", &size));
    EXPECT_EQ(size, 3U);
    EXPECT_TRUE(HexString::IsValid("", nullptr));
}

TEST(HexStringTest, TakesTextInEitherCaseAndShowsLower) {
    HexString text;
    bool valid = false;
    EXPECT_TRUE(text.Assign("ABcd09", valid));
    EXPECT_TRUE(valid);
    EXPECT_EQ(text.Str(), "abcd09");
    EXPECT_FALSE(text.Assign("xy", valid));
    EXPECT_FALSE(valid);
    EXPECT_EQ(text.ToUpper().Str(), "ABCD09");
    Buffer data;
    ASSERT_TRUE(text.Get(data));
    EXPECT_EQ(data, CBuffer("\xAB\xCD\x09"));
    HexString other;
    EXPECT_TRUE(other.Assign(data) && other.Assign(other));
    EXPECT_EQ(other.Str(), "abcd09");
    other.Swap(text);
    EXPECT_EQ(text.ToLower().Str(), other.ToLower().Str());
    EXPECT_TRUE(other.Clear().Empty() && HexString::Nil().Empty());
}

TEST(HexStringTest, KeepsItsValueWhenMemoryRunsOut) {
    std::vector<unsigned char> const data = Sample(100);
    HexString source;
    ASSERT_TRUE(source.Assign(data.data(), data.size()));
    bool valid = true;
    std::function<bool(HexString&)> const changes[] = {
        [&](HexString& text) { return text.Assign(data.data(), data.size()); },
        [&](HexString& text) { return text.Assign(CBuffer(data.data(), data.size())); },
        [&](HexString& text) { return text.Assign(source); },
        [&](HexString& text) { return text.Assign(source.Str(), valid); },
    };
    for (auto const& change : changes) {
        ForEveryAllocation([&](Heap& heap) {
            HexString text;
            ASSERT_TRUE(text.Assign(data.data(), 1));
            heap.Arm();
            bool const ok = change(text);
            heap.Disarm();
            EXPECT_EQ(ok, !heap.Fired());
            EXPECT_EQ(text.DataSize(), ok ? 100U : 1U);
            EXPECT_TRUE(valid);
        });
    }
    ForEveryAllocation([&](Heap& heap) {
        Buffer out;
        heap.Arm();
        bool const ok = source.Get(out);
        heap.Disarm();
        EXPECT_EQ(ok, !heap.Fired());
        EXPECT_EQ(out.Size(), ok ? 100U : 0U);
    });
}
