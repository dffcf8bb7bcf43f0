#pragma once

#include "workbench/Documents.h"
#include "workbench/Heap.h"
#include "workbench/LogCapture.h"
#include "zeb/doc/json/Codes.h"

#include <random>

namespace JsonTest {

using Json::Array, Json::Document, Json::Object, Json::Value;

inline CString View(std::string_view text) { return {text.data(), text.size()}; }

// The code, as a number that compares and prints. The text fills a block of its own, so that a sanitizer sees a
// read behind it.
inline uint32_t Parse(Document& document, std::string_view text, Document::ParseT what = Document::PARSE_ANY) {
    std::unique_ptr<char[]> const block(new char[text.size()]);
    memcpy(block.get(), text.data(), text.size());
    return document.Parse(CBuffer(block.get(), text.size()), what).Code();
}

// A document of that text, which must be a good one.
struct Parsed : Document {
    explicit Parsed(std::string_view text) { EXPECT_EQ(JsonTest::Parse(*this, text), Json::CODE_OK) << text; }
};

inline char const OUT_OF_MEMORY[] = "C Json::Document: out of memory [0xcffe****].";

} // namespace JsonTest
