#include "zeb/core/Base64.h"

#include "tests/core/Rig.h"

#include <openssl/evp.h>

namespace {

constexpr uint32_t FAIL = 0xCFFD0000, OOM = 0xCFFE0000, DONE = 0x0FFF0000;

uint32_t Family(ReturnT const& code) { return code.Code() & 0xFFFF0000; }

unsigned char* Raw(std::string& text) { return reinterpret_cast<unsigned char*>(text.data()); }

// The text by another library, in the required form.
std::string Expected(std::string data, Base64::FormatT format) {
    std::string text(data.size() * 2 + 8, ' ');
    int const size = EVP_EncodeBlock(Raw(text), Raw(data), static_cast<int>(data.size()));
    text.resize(static_cast<unsigned long>(size));
    if (format == Base64::STANDARD) return text;
    std::ranges::replace(text, '+', '-'), std::ranges::replace(text, '/', '_');
    return text.substr(0, text.find('='));
}

// "FAIL", "OOM", or the bytes.
std::string Decoded(CString const& text, Base64::FormatT format, unsigned long capacity) {
    std::string out(capacity, '\0');
    uint32_t const family = Family(Base64::DecodeString(text, Raw(out), capacity, format));
    return family == OOM ? "OOM" : family == DONE ? out.substr(0, capacity) : "FAIL";
}

} // namespace

TEST(Base64Test, TextOfEverySizeMatchesAnotherLibraryAndDecodes) {
    for (Base64::FormatT const format : {Base64::STANDARD, Base64::URL}) {
        std::string data;
        for (unsigned long size = 0; size < 300; ++size, data += static_cast<char>(size * 151)) {
            std::string const expected = Expected(data, format);
            String text;
            Buffer back;
            EXPECT_EQ(Base64::EncodedSize(size, format), expected.size());
            EXPECT_EQ(Family(Base64::EncodeToString(View(data), text, format)), DONE);
            EXPECT_TRUE(text == expected.c_str() && text.Size() == expected.size()) << text.Cstr();
            std::string out(expected.size() + 1, '.');
            EXPECT_EQ(Family(Base64::EncodeToString(View(data), Raw(out), expected.size() - 1, format)), size == 0 ? DONE : FAIL);
            EXPECT_TRUE(size == 0 || out.find_first_not_of('.') == out.npos);
            EXPECT_EQ(Family(Base64::EncodeToString(View(data), Raw(out), expected.size(), format)), size == 0 ? FAIL : DONE);
            EXPECT_STREQ(out.c_str(), expected.c_str());
            EXPECT_EQ(Decoded(text, format, size), data) << "the room is exactly enough";
            EXPECT_TRUE(size == 0 || Decoded(text, format, size - 1) == "OOM");
            EXPECT_EQ(Family(Base64::DecodeString(text, back, format)), DONE);
            EXPECT_EQ(Text(back), data);
        }
    }
    unsigned long const most[] = {0, 3, 1, 2, 3, 6};
    for (unsigned long size = 0; size < 6; ++size) EXPECT_EQ(Base64::DecodedSizeMax(size, Base64::URL), most[size]) << size;
}

TEST(Base64Test, DecodesLeniently) {
    // clang-format off
    std::tuple<char const*, char const*, char const*> const rows[] = {
        {"", "", ""}, {"=", "", ""}, {" \r\n", "", ""}, {"Zg==", "f", "f"}, {"Zg", "f", "f"},
    {"Zm\r\n 9v\t", "foo", "foo"}, {"Zm:9v", "foo", "foo"}, {"=Zm=9v", "foo", "foo"}, {"Zg==Zm9v", "f\6f\xf6", "f\6f\xf6"},
    {"Zm9vZm9v Zm9v", "foofoofoo", "foofoofoo"}, {"+/+/", "\xfb\xff\xbf", "FAIL"}, {"-_-_", "", "\xfb\xff\xbf"},
    {"Zm,9v", "foo", "FAIL"}, {"Zm9\x80v", "FAIL", "FAIL"}, {"Z", "FAIL", "FAIL"}, {"Zm9vZ", "FAIL", "FAIL"},
    {"Zm9v!", "FAIL", "FAIL"}, {"Zm9v{", "FAIL", "FAIL"},};
    // clang-format on
    for (auto const& [text, standard, url] : rows)
        EXPECT_TRUE(Decoded(text, Base64::STANDARD, 20) == standard && Decoded(text, Base64::URL, 20) == url) << text;
    EXPECT_EQ(Decoded(CString("Zm9v\0", 5), Base64::URL, 20), "FAIL");
    EXPECT_EQ(Decoded("Zm9v!", Base64::URL, 2), "OOM") << "in the order of the text";
}
