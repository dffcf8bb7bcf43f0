#pragma once

// The inline part of the parser: texts, references and memory. Internal to this folder.

#include "zeb/doc/xml/ParserImpl.h"

#include <cstring>

namespace Xml {

template<typename STOP, typename PURE>
[[gnu::always_inline]] inline char* Document::Parser_::SkipAndExpandCharacterRefs_(char* at, uint32_t flags,
                                                                                   char*& textEnd) {
    constexpr uint32_t WHITESPACE = PARSE_TRIM_WHITESPACE | PARSE_NORMALIZE_WHITESPACE;
    if ((flags & (PARSE_NO_ENTITIES | WHITESPACE)) == PARSE_NO_ENTITIES)
        return textEnd = STOP::Skip(at, blocksEnd_);
    at = PURE::Skip(at, blocksEnd_);
    if (STOP::Test(*at)) return Expand_<STOP, PURE>(at, flags, textEnd);
    return textEnd = at;
}

// From the first character on that may need a change.
template<typename STOP, typename PURE>
[[gnu::noinline]] char* Document::Parser_::Expand_(char* at, uint32_t flags, char*& textEnd) {
    char* write = at;
    while (STOP::Test(*at)) {
        if (*at == '&' && (flags & PARSE_NO_ENTITIES) == 0) {
            if (ExpandName_(at, write)) continue;
            if (at[1] == '#') {
                at = ExpandNumber_(at + 2, write);
                if (at == nullptr) return nullptr;
                continue;
            }
        }
        if ((flags & PARSE_NORMALIZE_WHITESPACE) != 0 && IsChar(*at, CHAR_SPACE)) {
            *write++ = ' ';
            at = SkipWhile(at, CHAR_SPACE);
            continue;
        }
        char* const run = at;
        at = PURE::Skip(at + 1, blocksEnd_);
        memmove(write, run, static_cast<unsigned long>(at - run));
        write += at - run;
    }
    textEnd = write;
    return at;
}

[[gnu::always_inline]] inline void* Document::Parser_::Allocate_(char const* at, unsigned long size) {
    return document_.pool_.Left() >= size ? document_.pool_.Alloc(size) : AllocateMore_(at, size);
}

[[gnu::always_inline]] inline Node* Document::Parser_::NewNode_(char const* at, Node::TypeT type,
                                                                String const& name, String const& value) {
    void* const memory = Allocate_(at, sizeof(Node));
    return memory != nullptr ? new (memory) Node(type, &document_, name, value) : nullptr;
}

} // namespace Xml
