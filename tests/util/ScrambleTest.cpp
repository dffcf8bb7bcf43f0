#include "zeb/util/Scramble.h"
#include "workbench/Heap.h"
#include "zeb/core/Base64.h"
#include "zeb/core/CBuffer.h"
#include "zeb/core/String.h"

#include <gtest/gtest.h>

namespace {

using Util::Scramble;

std::string Encode(std::string const& text) {
    String out;
    EXPECT_TRUE(out.Assign("old"));
    bool const isEncoded = Scramble::Encode(CString(text.data(), text.size()), out);
    EXPECT_NE(isEncoded, out == "old");
    return out.Cstr();
}

std::string Decode(CString const& text) {
    String out;
    EXPECT_TRUE(out.Assign("old"));
    bool const isDecoded = Scramble::Decode(text, out);
    EXPECT_NE(isDecoded, out == "old");
    return std::string(out.Cstr(), out.Size());
}

TEST(Scramble, HasOneFormForEachText) {
    std::pair<std::string, char const*> const rows[] = {
        {"", "9sMdpJZQlzvc+Hqad9Q8IPVl"},
        {"secret", "NYG+QV58TUpuNUrgDgbgzZZq"},
        {"abcdefghijklmno", "/HFz/edWwq73H40kKMiKdcHb"},
        {"abcdefghijklmnop", "c5XwdFhkoe2ztkriT0+x5KDVuZ0CaCDRULI8lp956x2/KYzb"},
        {std::string(33, 'x'), "OO+nFj2405Dj87dWyZ/oB2/25VvAm9v2UceY3/dWzaPwE4Nu"},
        {std::string(34, 'x'), "iJG4qMMKbBnknOnjHmDh4GDj4mTpB+x0w9Y4cQgYgzpc"
                               "+bQMW7v4LQbgJ8OOXYNvw7BLJPCktZqIiB4o3LVAFyN1C+7yGcjV"},
        {std::string(69, '\xFF'), "dK4bwuahgCqz5nOScQyGiwqeoTjiIw4qMWSe+5KWIbDak3YCcXz2a1rO"
                                  "IegSNgMeGjFUjttiRqHginMGcnHsZkuq/qGYQuPR"},
    };
    for (auto const& [text, form] : rows)
        EXPECT_EQ(Encode(text), form);
    std::string text;
    for (unsigned size = 0; size < 70; ++size, text += static_cast<char>(255 - size)) {
        std::string const form = Encode(text);
        EXPECT_EQ(form.size(), size < 16 ? 24u : size < 34 ? 48u : 96u) << size;
        EXPECT_EQ(Decode(form.c_str()), text) << size;
    }
    EXPECT_EQ(Encode(text), "old") << "of 70";
    EXPECT_EQ(Decode(Encode(std::string("a\0b", 3)).c_str()), "a");
}

TEST(Scramble, DecodesAnyBytesOfARightSize) {
    for (unsigned size = 0; size < 80; ++size) {
        std::string const bytes(size, '\x5A');
        String text;
        ASSERT_TRUE(Base64::EncodeToString(CBuffer(bytes.data(), size), text, Base64::STANDARD).Succeeded());
        std::string const out = Decode(text);
        EXPECT_EQ(out != "old", size == 18 || size == 36 || size == 72) << size;
    }
    EXPECT_EQ(Decode("9sMdpJZQlzvc+Hqad9Q8IPV?~"), "old");
}

TEST(Scramble, TellsThatMemoryRanOut) {
    ForEveryAllocation([](Heap& heap) {
        String form, text;
        ASSERT_TRUE(form.Assign("old") && text.Assign("old"));
        heap.Arm();
        bool const encoded = Scramble::Encode("secret", form);
        bool const decoded = Scramble::Decode("NYG+QV58TUpuNUrgDgbgzZZq", text);
        heap.Disarm();
        EXPECT_EQ(heap.Fired(), !encoded || !decoded);
        EXPECT_STREQ(form.Cstr(), encoded ? "NYG+QV58TUpuNUrgDgbgzZZq" : "old");
        EXPECT_STREQ(text.Cstr(), decoded ? "secret" : "old");
    });
}

} // namespace
