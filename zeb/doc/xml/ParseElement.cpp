#include "zeb/doc/xml/NameLog.h"
#include "zeb/doc/xml/ParserImpl.h"
#include "zeb/doc/xml/ParserText.h"

#include <cstring>

namespace Xml {

[[gnu::always_inline]] inline char* Document::Parser_::SkipSpace_(char* at) const {
    while (IsChar(*at, CHAR_SPACE)) {
        ++at;
        // Indentation.
        while (*at == ' ' && at < blocksEnd_) {
            Simd::Set const others =
                Simd::ALL ^ Simd::Positions(Simd::Equal(Simd::Load(at), Simd::Splat(' ')));
            at += others != 0 ? Simd::First(others) : Simd::COUNT;
        }
    }
    return at;
}

// Whether the text at `at` repeats one that stands earlier; it must lie ahead of the end.
[[gnu::always_inline]] inline bool Document::Parser_::IsSame_(char const* at, char const* earlier,
                                                              unsigned long size) const {
    if (size >= Simd::COUNT || at >= blocksEnd_) return memcmp(at, earlier, size) == 0;
    Simd::Set const same = Simd::Positions(Simd::Equal(Simd::Load(at), Simd::Load(earlier)));
    return (~same & Simd::Below(static_cast<unsigned>(size))) == 0;
}

char* Document::Parser_::ParseNode_(char* at, unsigned depth, Node*& node) {
    return *at == '?' || *at == '!' ? ParseMarkup_(at, node) : ParseElement_(at, depth, node);
}

char* Document::Parser_::ParseElement_(char* at, unsigned depth, Node*& node) {
    Node* parent = nullptr;
    for (;;) {
        Node* element = nullptr;
        bool isOpen = false;
        at = ParseStartTag_(at, element, isOpen);
        if (at == nullptr) return nullptr;
        if (parent != nullptr) parent->AppendNode(element);
        if (isOpen) {
            parent = element;
            ++depth;
        } else {
            Terminate_(element->name_);
            if (parent == nullptr) {
                node = element;
                return at;
            }
        }
        at = ParseContent_(at, depth, parent, node);
        if (at == nullptr || node != nullptr) return at;
    }
}

[[gnu::always_inline]] inline char* Document::Parser_::ParseStartTag_(char* at, Node*& element,
                                                                      bool& isOpen) {
    char* const name = at;
    bool isValid = IsChar(*at, CHAR_NAME_START);
    at = SkipWhile(at, CHAR_NAME);
    if (!IsChar(*at, CHAR_NODE_END)) {
        isValid = false;
        at = SkipUntil(at, CHAR_NODE_END);
    }
    if (at == name) return Fail_(PARSE_NODE_NAME, "node name expected");
    element = NewNode_(at, ELEMENT, String(name, static_cast<unsigned long>(at - name)), String());
    if (element == nullptr) return Oom_();
    if (!isValid) LogNodeName(IDENT, ELEMENT, element->name_);

    if (*at != '>') {
        at = ParseNodeAttributes_(SkipSpace_(at), *element);
        if (at == nullptr) return nullptr;
    }
    isOpen = *at == '>';
    if (isOpen) return at + 1;
    if (at[0] == '/' && at[1] == '>') return at + 2;
    return Fail_(PARSE_TAG_END, "\">\" expected");
}

// The content of the open elements up to the next start tag, behind whose "<" the result stands. Closes
// elements; when the outermost one is closed it becomes `node`.
[[gnu::always_inline]] inline char* Document::Parser_::ParseContent_(char* at, unsigned& depth,
                                                                     Node*& element, Node*& node) {
    for (;;) {
        char* const start = at;
        at = SkipSpace_(at);
        bool isEnd = *at == '\0';
        if (*at != '<' && !isEnd) {
            at = ParseText_(start, at, *element, isEnd);
            if (at == nullptr) return nullptr;
        }
        // The "<" may be a NUL by now.
        if (isEnd) return Fail_(PARSE_UNEXPECTED_END, "unexpected end of stream");
        if (at[1] == '/') {
            at = ParseClosingTag_(at + 2, *element);
            if (at == nullptr) return nullptr;
            Terminate_(element->name_);
            if (element->parent_ == nullptr) {
                node = element;
                return at;
            }
            element = element->parent_;
            --depth;
            continue;
        }
        if (depth > MAX_DEPTH) return Fail_(PARSE_TOO_DEEP, "the maximum document depth reached");
        ++at;
        if (*at != '?' && *at != '!') return at;
        Node* child = nullptr;
        at = ParseMarkup_(at, child);
        if (at == nullptr) return nullptr;
        if (child != nullptr) element->AppendNode(child);
    }
}

// The text of an element, which begins at `start` and has its first character that is no white space at `at`.
// The result is where it ended: at a "<", over which the terminator may stand by now, or at the end of all.
[[gnu::always_inline]] inline char* Document::Parser_::ParseText_(char* start, char* at, Node& element,
                                                                  bool& isEnd) {
    char* const text = Is_(PARSE_TRIM_WHITESPACE) ? at : start;
    char* textEnd = nullptr;
    if (Is_(PARSE_NORMALIZE_WHITESPACE)) {
        at = SkipAndExpandCharacterRefs_<TextPred_, TextPureWithWsPred_>(text, flags_, textEnd);
        if (at != nullptr && Is_(PARSE_TRIM_WHITESPACE) && textEnd != text && textEnd[-1] == ' ') --textEnd;
    } else {
        at = SkipAndExpandCharacterRefs_<TextPred_, TextPureNoWsPred_>(at, flags_, textEnd);
        if (at != nullptr && Is_(PARSE_TRIM_WHITESPACE)) {
            while (textEnd != text && IsChar(textEnd[-1], CHAR_SPACE))
                --textEnd;
        }
    }
    if (at == nullptr) return nullptr;

    String const value(text, static_cast<unsigned long>(textEnd - text));
    if (!Is_(PARSE_NO_DATA_NODES)) {
        Node* const data = NewNode_(at, DATA, String(), value);
        if (data == nullptr) return Oom_();
        element.AppendNode(data);
    }
    if (!Is_(PARSE_NO_ELEMENT_VALUES) && element.value_.Empty()) element.value_ = value;
    isEnd = *at == '\0';
    *textEnd = '\0';
    return at;
}

[[gnu::always_inline]] inline char* Document::Parser_::ParseClosingTag_(char* at, Node const& element) {
    String const& name = element.name_;
    bool const isUsual = static_cast<unsigned long>(end_ - at) > name.Size() && at[name.Size()] == '>' &&
                         IsSame_(at, name.Cstr(), name.Size());
    return isUsual ? at + name.Size() + 1 : ParseClosingTagSlow_(at, element);
}

char* Document::Parser_::ParseClosingTagSlow_(char* at, Node const& element) {
    char const* const name = at;
    at = SkipUntil(at, CHAR_NODE_END);
    auto const size = static_cast<unsigned long>(at - name);
    if (Is_(PARSE_VALIDATE_CLOSING_TAGS) &&
        (size != element.name_.Size() || memcmp(name, element.name_.Cstr(), size) != 0)) {
        return Fail_(PARSE_CLOSING_NAME, "invalid closing tag name");
    }
    at = SkipSpace_(at);
    return *at == '>' ? at + 1 : Fail_(PARSE_TAG_END, "\">\" expected");
}

char* Document::Parser_::ParseNodeAttributes_(char* at, Node& node) {
    while (!IsChar(*at, CHAR_ATTRIBUTE_END)) {
        char* const name = at;
        bool isValid = IsChar(*at, CHAR_NAME_START);
        at = SkipWhile(at, CHAR_NAME);
        if (!IsChar(*at, CHAR_ATTRIBUTE_END)) {
            isValid = false;
            at = SkipUntil(at, CHAR_ATTRIBUTE_END);
        }
        if (at == name) return Fail_(PARSE_ATTRIBUTE_NAME, "attribute name expected");
        char* const nameEnd = at;

        void* const memory = Allocate_(at, sizeof(Attribute));
        if (memory == nullptr) return Oom_();
        auto* const attribute = new (memory)
            Attribute(&document_, String(name, static_cast<unsigned long>(nameEnd - name)), String());
        if (!isValid) LogAttributeName(IDENT, attribute->name_);
        LinkAttribute_(node, *attribute);

        at = SkipSpace_(at);
        if (*at != '=') return Fail_(PARSE_EQUAL_SIGN, "\"=\" expected");
        *nameEnd = '\0';
        at = ParseAttributeValue_(SkipSpace_(at + 1), *attribute);
        if (at == nullptr) return nullptr;
        at = SkipSpace_(at);
    }
    return at;
}

// As Node::AppendAttribute, which also has the words for a duplicate. The names hold no NUL.
[[gnu::always_inline]] inline void Document::Parser_::LinkAttribute_(Node& node, Attribute& attribute) {
    String const& name = attribute.name_;
    for (Attribute const* other = node.firstAttribute_; other != nullptr; other = other->next_) {
        String const& known = other->name_;
        if (known.Size() == name.Size() && known[0] == name[0] &&
            IsSame_(name.Cstr(), known.Cstr(), name.Size()))
            return node.AppendAttribute(&attribute);
    }
    attribute.parent_ = &node;
    if (node.firstAttribute_ == nullptr) {
        node.firstAttribute_ = &attribute;
    } else {
        attribute.previous_ = node.lastAttribute_;
        node.lastAttribute_->next_ = &attribute;
    }
    node.lastAttribute_ = &attribute;
}

[[gnu::always_inline]] inline char* Document::Parser_::ParseAttributeValue_(char* at, Attribute& attribute) {
    char const quote = *at;
    if (quote != '"' && quote != '\'') return Fail_(PARSE_QUOTE, "' or \" expected");
    char* const value = at + 1;
    char* valueEnd = nullptr;
    uint32_t const flags = flags_ & ~uint32_t{PARSE_NORMALIZE_WHITESPACE};
    if (quote == '"') {
        at = SkipAndExpandCharacterRefs_<AttributeValueDoubleQuotePred_, AttributeValuePureDoubleQuotePred_>(
            value, flags, valueEnd);
    } else {
        at = SkipAndExpandCharacterRefs_<AttributeValueQuotePred_, AttributeValuePureQuotePred_>(value, flags,
                                                                                                 valueEnd);
    }
    if (at == nullptr) return nullptr;
    attribute.value_ = String(value, static_cast<unsigned long>(valueEnd - value));
    if (*at != quote) return Fail_(PARSE_QUOTE, "' or \" expected");
    *valueEnd = '\0';
    return at + 1;
}

} // namespace Xml
