#include "zeb/core/Base64.h"

#include "tests/support/Heap.h"
#include "zeb/core/Buffer.h"
#include "zeb/core/String.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <string>

namespace {

constexpr Base64::FormatT FORMATS[] = {Base64::STANDARD, Base64::URL};

std::string Sample(unsigned long size) {
    std::string data(size, ' ');
    for (unsigned long i = 0; i < size; ++i)
        data[i] = static_cast<char>(i * 151 + size);
    return data;
}

// The text by another library, in the required form.
std::string Expected(std::string const& data, Base64::FormatT format) {
    std::string text(data.size() * 2 + 8, ' ');
    auto* const out = reinterpret_cast<unsigned char*>(text.data());
    auto const* const in = reinterpret_cast<unsigned char const*>(data.data());
    text.resize(static_cast<unsigned long>(EVP_EncodeBlock(out, in, static_cast<int>(data.size()))));
    if (format == Base64::STANDARD) return text;
    std::replace(text.begin(), text.end(), '+', '-');
    std::replace(text.begin(), text.end(), '/', '_');
    return text.substr(0, text.find('='));
}

uint32_t Family(ReturnT const& code) { return code.Code() & 0xFFFF0000; }

constexpr uint32_t FAIL = 0xCFFD0000, OOM = 0xCFFE0000, DONE = 0x0FFF0000;

// "FAIL", "OOM", or the bytes.
std::string Decoded(CString const& text, Base64::FormatT format, unsigned long capacity) {
    std::string out(capacity, '\0');
    unsigned long size = capacity;
    ReturnT const result =
        Base64::DecodeString(text, reinterpret_cast<unsigned char*>(out.data()), size, format);
    if (result.Failed()) return Family(result) == OOM ? "OOM" : "FAIL";
    EXPECT_EQ(Family(result), DONE);
    return out.substr(0, size);
}

} // namespace

TEST(Base64Test, TextOfEverySizeMatchesAnotherLibraryAndDecodes) {
    for (Base64::FormatT const format : FORMATS) {
        for (unsigned long size = 0; size < 100; ++size) {
            std::string const data = Sample(size), expected = Expected(data, format);
            EXPECT_EQ(Base64::EncodedSize(size, format), expected.size());
            String text;
            EXPECT_EQ(Family(Base64::EncodeToString(CBuffer(data.data(), size), text, format)), DONE);
            EXPECT_EQ(text.Cstr(), expected);
            EXPECT_EQ(text.Size(), expected.size());
            EXPECT_LE(size, Base64::DecodedSizeMax(text.Size(), format));
            EXPECT_EQ(Decoded(text, format, size), data) << "the room is exactly enough";
            if (size == 0) continue;
            EXPECT_EQ(Decoded(text, format, size - 1), "OOM");
            Buffer back;
            EXPECT_EQ(Family(Base64::DecodeString(text, back, format)), DONE);
            EXPECT_EQ(std::string(static_cast<char const*>(back.Ptr()), back.Size()), data);
        }
    }
}

TEST(Base64Test, SizesFollowTheForm) {
    unsigned long const rows[][5] = {
        // size, encoded 0 and 1, decoded at most 0 and 1
        {0, 0, 0, 0, 0}, {1, 4, 2, 3, 3}, {2, 4, 3, 3, 1}, {3, 4, 4, 3, 2}, {4, 8, 6, 3, 3}, {5, 8, 7, 6, 6},
    };
    for (auto const& row : rows) {
        for (Base64::FormatT const format : FORMATS) {
            EXPECT_EQ(Base64::EncodedSize(row[0], format), row[1 + format]) << row[0];
            EXPECT_EQ(Base64::DecodedSizeMax(row[0], format), row[3 + format]) << row[0];
        }
    }
}

TEST(Base64Test, DecodesLeniently) {
    struct {
        char const *text, *standard, *url;
    } const rows[] = {
        {"", "", ""},
        {"Zm9v", "foo", "foo"},
        {"Zg==", "f", "f"},
        {"Zg", "f", "f"},
        {"Z", "FAIL", "FAIL"},
        {"Zm9vZ", "FAIL", "FAIL"},
        {"=", "", ""},
        {" \r\n", "", ""},
        {"Zm\r\n 9v\t", "foo", "foo"},
        {"Zm9v!", "FAIL", "FAIL"},
        {"Zm9v{", "FAIL", "FAIL"},
        {"Zm:9v", "foo", "foo"},
        {"=Zm=9v", "foo", "foo"},
        {"Zg==Zm9v",
         "f\x06"
         "f\xf6",
         "f\x06"
         "f\xf6"},
        {"+/+/", "\xfb\xff\xbf", "FAIL"},
        {"-_-_", "", "\xfb\xff\xbf"},
        {"Zm,9v", "foo", "FAIL"},
        {"Zm\x80"
         "9v",
         "FAIL", "FAIL"},
        {"Zm9vZm9v Zm9v", "foofoofoo", "foofoofoo"},
    };
    for (auto const& row : rows) {
        EXPECT_EQ(Decoded(row.text, Base64::STANDARD, 20), row.standard) << row.text;
        EXPECT_EQ(Decoded(row.text, Base64::URL, 20), row.url) << row.text;
    }
    EXPECT_EQ(Decoded(CString("Zm9v\0", 5), Base64::URL, 20), "FAIL");
    EXPECT_EQ(Decoded("Zm9v!", Base64::URL, 2), "OOM") << "in the order of the text";
    EXPECT_EQ(Decoded("!Zm9v", Base64::URL, 2), "FAIL");
    EXPECT_EQ(Decoded("==", Base64::URL, 0), "");
}

TEST(Base64Test, EncodesIntoGivenRoom) {
    struct {
        char const* data;
        unsigned long capacity;
        uint32_t family;
        char const* text;
    } const rows[] = {
        {"f", 4, DONE, "Zg=="},         {"f", 3, FAIL, "........."}, {"foob", 8, DONE, "Zm9vYg=="},
        {"foob", 7, FAIL, "........."}, {"", 0, FAIL, "........."},  {"", 1, DONE, ""},
    };
    for (auto const& row : rows) {
        char out[] = ".........";
        ReturnT const result =
            Base64::EncodeToString(CBuffer(CString(row.data)), reinterpret_cast<unsigned char*>(out),
                                   row.capacity, Base64::STANDARD);
        EXPECT_EQ(Family(result), row.family) << row.data;
        EXPECT_STREQ(out, row.text);
    }
}

TEST(Base64Test, ReportsThatMemoryRanOut) {
    std::string const data = Sample(200);
    ForEveryAllocation([&](Heap& heap) {
        String text;
        heap.Arm();
        ReturnT const result = Base64::EncodeToString(CBuffer(data.data(), data.size()), text, Base64::URL);
        heap.Disarm();
        EXPECT_EQ(Family(result), heap.Fired() ? OOM : DONE);
        EXPECT_EQ(text.Empty(), heap.Fired());
    });
    String text;
    ASSERT_TRUE(text.Assign(Expected(data, Base64::STANDARD).c_str()));
    ForEveryAllocation([&](Heap& heap) {
        Buffer out;
        heap.Arm();
        ReturnT const result = Base64::DecodeString(text, out, Base64::STANDARD);
        heap.Disarm();
        EXPECT_EQ(Family(result), heap.Fired() ? OOM : DONE);
        EXPECT_EQ(out.Size(), heap.Fired() ? 0U : 200U);
    });
    Buffer out;
    EXPECT_EQ(Family(Base64::DecodeString("Zm9vZm9v!", out, Base64::STANDARD)), FAIL);
    EXPECT_EQ(out.Size(), Base64::DecodedSizeMax(9, Base64::STANDARD));
    EXPECT_EQ(Family(Base64::DecodeString("", out, Base64::STANDARD)), DONE);
    EXPECT_EQ(out.Size(), 0U);
}
