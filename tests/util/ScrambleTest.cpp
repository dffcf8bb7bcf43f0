#include "zeb/util/Scramble.h"

#include "tests/core/Rig.h"
#include "zeb/core/Base64.h"

namespace {

// What one of the two operations makes; "old" if it refuses.
std::string Run(bool (*code)(CString const&, String&), std::string const& text) {
    String out;
    EXPECT_TRUE(out.Assign("old"));
    bool const isDone = code(CString(text.data(), text.size()), out);
    EXPECT_NE(isDone, out == "old");
    return {out.Cstr(), out.Size()};
}

std::string Encode(std::string const& text) { return Run(Util::Scramble::Encode, text); }
std::string Decode(std::string const& text) { return Run(Util::Scramble::Decode, text); }

TEST(Scramble, HasOneFormForEachTextAndDecodesAnyBytesOfARightSize) {
    std::pair<std::string, char const*> const rows[] = {
        // clang-format off
        {"", "9sMdpJZQlzvc+Hqad9Q8IPVl"}, {"secret", "NYG+QV58TUpuNUrgDgbgzZZq"}, {"abcdefghijklmno", "/HFz/edWwq73H40kKMiKdcHb"},
        {"abcdefghijklmnop", "c5XwdFhkoe2ztkriT0+x5KDVuZ0CaCDRULI8lp956x2/KYzb"},
        {std::string(69, '\xFF'),
         "dK4bwuahgCqz5nOScQyGiwqeoTjiIw4qMWSe+5KWIbDak3YCcXz2a1rOIegSNgMeGjFUjttiRqHginMGcnHsZkuq/qGYQuPR"}};
    // clang-format on
    for (auto const& [text, form] : rows) EXPECT_EQ(Encode(text), form);
    std::string text;
    for (unsigned size = 0; size < 80; ++size, text += static_cast<char>(255 - size)) {
        String bytes;
        ASSERT_TRUE(Base64::EncodeToString(CBuffer(text.data(), size), bytes, Base64::STANDARD).Succeeded());
        EXPECT_EQ(Decode(bytes.Cstr()) != "old", size == 18 || size == 36 || size == 72) << size;
        EXPECT_EQ(Encode(text).size(), size < 16 ? 24u : size < 34 ? 48u : size < 70 ? 96u : 3u) << size;
        EXPECT_EQ(Decode(Encode(text)), size < 70 ? text : "old") << size;
    }
    EXPECT_EQ(Decode(Encode(std::string("a\0b", 3))) + Decode("9sMdpJZQlzvc+Hqad9Q8IPV?~"), "aold");
    EXPECT_EQ(Decode("\nNYG+QV58 TUpuNUrgDgbgzZZq\r\n"), "secret");
}

TEST(Scramble, TellsThatMemoryRanOut) {
    ForEveryAllocation([](Heap& heap) {
        String form, text;
        char const* const secret = "NYG+QV58TUpuNUrgDgbgzZZq";
        heap.Arm();
        bool const encoded = Util::Scramble::Encode("secret", form), decoded = Util::Scramble::Decode(secret, text);
        heap.Disarm();
        EXPECT_EQ(heap.Fired(), !encoded || !decoded);
        EXPECT_TRUE(form == (encoded ? secret : "") && text == (decoded ? "secret" : "")) << form.Cstr() << text.Cstr();
    });
}

} // namespace
