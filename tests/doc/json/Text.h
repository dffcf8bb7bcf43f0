#pragma once

#include "zeb/doc/json/Codes.h"
#include "zeb/doc/json/Document.h"
#include "zeb/stream/StringStream.h"

#include <string>
#include <string_view>

#include <gtest/gtest.h>

namespace JsonTest {

using Json::Array, Json::Document, Json::Object, Json::Value;

inline constexpr long ANY_SIZE = 1L << 40;

inline std::string Text(Value const& value, bool compact = true) {
    Io::StringStream stream(CString::Nil(), Io::MODE_READ_WRITE, Io::EOL_LF, 4096, ANY_SIZE);
    EXPECT_TRUE(Json::Print(stream, value, compact) && stream.Flush());
    return {stream.Str().Cstr(), stream.Str().Size()};
}

inline CString View(std::string_view text) { return {text.data(), text.size()}; }

// The code, as a number that compares and prints.
inline uint32_t Parse(Document& document, std::string_view text, Document::ParseT what = Document::PARSE_ANY) {
    return document.Parse(View(text), what).Code();
}

// A document of that text, which must be a good one.
struct Parsed : Document {
    explicit Parsed(std::string_view text) { EXPECT_EQ(JsonTest::Parse(*this, text), Json::CODE_OK) << text; }
};

inline char const OUT_OF_MEMORY[] = "C Json::Document: out of memory [0xcffe****].";

} // namespace JsonTest
