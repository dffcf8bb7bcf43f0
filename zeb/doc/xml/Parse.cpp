#include "zeb/doc/xml/NameLog.h"
#include "zeb/doc/xml/ParserImpl.h"
#include "zeb/runtime/StatusLog.h"

#include <cstring>

namespace Xml {

namespace {

// Pool bytes that a byte of text comes to in documents of many small elements.
constexpr unsigned long POOL_PER_TEXT = 6;
// Below this, pages do.
constexpr unsigned long RESERVE_MIN = 16UL << 10;

} // namespace

ReturnT Document::Parse(char* text, ParseFlagsT flags, Log::VerboseT verbose) {
    return Parser_(*this, flags, verbose).Run(text);
}

ReturnT Document::Parser_::Run(char* at) {
    if (at != nullptr) at = SkipWhile(at, CHAR_SPACE);
    if (at == nullptr || *at == '\0') {
        Fail_(PARSE_EMPTY, "empty document");
        return code_;
    }
    if (!document_.Valid()) {
        Oom_();
        return code_;
    }
    unsigned long const size = strlen(at);
    end_ = at + size;
    blocksEnd_ = size >= Simd::COUNT ? end_ - Simd::COUNT + 1 : at;
    document_.RemoveAllNodes(nullptr);
    document_.RemoveAllAttributes();
    if (!Is_(PARSE_NO_UTF8) && strncmp(at, "\xEF\xBB\xBF", 3) == 0) at += 3;
    for (;;) {
        at = SkipWhile(at, CHAR_SPACE);
        if (*at == '\0') return code_;
        if (*at != '<') {
            Fail_(PARSE_TAG_START, "\"<\" expected");
            return code_;
        }
        Node* node = nullptr;
        at = ParseNode_(at + 1, 0, node);
        if (at == nullptr) return code_;
        if (node != nullptr) document_.AppendNode(node);
    }
}

void* Document::Parser_::AllocateMore_(char const* at, unsigned long size) {
    unsigned long const estimate = static_cast<unsigned long>(end_ - at) * POOL_PER_TEXT;
    // Without the region the pool grows page by page. Once it is used up, the rest of the text decides again.
    if (estimate >= RESERVE_MIN) static_cast<void>(document_.pool_.Reserve(estimate));
    return document_.Allocate_(size);
}

char* Document::Parser_::Fail_(ReturnT code, char const* message) {
    code_ = StatusLog(code, Log::ERROR, IDENT, nullptr, message) << Log::Control(verbose_);
    return nullptr;
}

char* Document::Parser_::Oom_() {
    code_ = (StatusLog(ReturnT::Oom(), Log::CRITICAL, IDENT, nullptr, "") << Log::Control(verbose_)).SetOom();
    return nullptr;
}

} // namespace Xml
