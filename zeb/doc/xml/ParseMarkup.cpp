#include "zeb/doc/xml/NameLog.h"
#include "zeb/doc/xml/ParserText.h"

#include <strings.h>

namespace Xml {

namespace {

constexpr char CDATA_START[] = "[CDATA[";
constexpr char COMMENT_START[] = "--";
constexpr char DOCTYPE_START[] = "DOCTYPE";

template<unsigned long N>
bool IsWord(char const* at, char const (&word)[N]) {
    return strncmp(at, word, N - 1) == 0;
}

} // namespace

char* Document::Parser_::ParseMarkup_(char* at, Node*& node) {
    if (*at++ == '?') {
        bool const isDeclaration = strncasecmp(at, "xml", 3) == 0 && IsChar(at[3], CHAR_SPACE);
        return isDeclaration ? ParseDeclaration_(at + 3, node) : ParsePi_(at, node);
    }
    if (IsWord(at, CDATA_START)) return ParseCdata_(at + sizeof(CDATA_START) - 1, node);
    if (IsWord(at, COMMENT_START)) return ParseComment_(at + sizeof(COMMENT_START) - 1, node);
    if (IsWord(at, DOCTYPE_START) && IsChar(at[sizeof(DOCTYPE_START) - 1], CHAR_SPACE)) {
        return ParseDoctype_(at + sizeof(DOCTYPE_START), node);
    }
    char* const end = strchr(at, '>');
    return end != nullptr ? end + 1 : Fail_(PARSE_TAG_END, "\">\" expected");
}

// Behind "<?xml".
char* Document::Parser_::ParseDeclaration_(char* at, Node*& node) {
    if (!Is_(PARSE_DECLARATION_NODE)) return SkipPi_(at);
    Node* const declaration = NewNode_(at, DECLARATION, String(), String());
    if (declaration == nullptr) return Oom_();
    at = ParseNodeAttributes_(SkipWhile(at, CHAR_SPACE), *declaration);
    if (at == nullptr) return nullptr;
    if (!IsWord(at, "?>")) return Fail_(PARSE_PI_END, "\"?>\" expected");
    node = declaration;
    return at + 2;
}

char* Document::Parser_::SkipPi_(char* at) {
    char* const end = strstr(at, "?>");
    return end != nullptr ? end + 2 : Fail_(PARSE_PI_END, "\"?>\" expected");
}

// Behind "<?".
char* Document::Parser_::ParsePi_(char* at, Node*& node) {
    if (!Is_(PARSE_PI_NODES)) return SkipPi_(at);
    char* const target = at;
    at = SkipUntil(at, CHAR_NODE_END);
    if (at == target) return Fail_(PARSE_PI_TARGET, "PI target expected");
    Node* const pi = NewNode_(at, PI, String(target, static_cast<unsigned long>(at - target)), String());
    if (pi == nullptr) return Oom_();
    CheckNodeName(IDENT, PI, pi->name_);

    char* const value = SkipWhile(at, CHAR_SPACE);
    char* const end = SkipPi_(value);
    if (end == nullptr) return nullptr;
    pi->value_ = String(value, static_cast<unsigned long>(end - 2 - value));
    Terminate_(pi->name_);
    Terminate_(pi->value_);
    node = pi;
    return end;
}

// A node whose value is the text between two positions; null, with the code set, when there is no memory.
Node* Document::Parser_::TakeValue_(char* from, char* to, Node::TypeT type) {
    Node* const node = NewNode_(to, type, String(), String(from, static_cast<unsigned long>(to - from)));
    if (node == nullptr) {
        Oom_();
        return nullptr;
    }
    *to = '\0';
    return node;
}

char* Document::Parser_::ParseCdata_(char* at, Node*& node) {
    char* const end = strstr(at, "]]>");
    if (end == nullptr) return Fail_(PARSE_CDATA_END, "unexpected end of a CDATA node");
    // The caller then goes on with the end mark as text.
    if (Is_(PARSE_NO_DATA_NODES)) return end;
    node = TakeValue_(at, end, CDATA);
    return node != nullptr ? end + 3 : nullptr;
}

char* Document::Parser_::ParseComment_(char* at, Node*& node) {
    char* const end = strstr(at, "-->");
    if (end == nullptr) return Fail_(PARSE_UNEXPECTED_END, "unexpected end of a stream");
    if (!Is_(PARSE_COMMENT_NODES)) return end + 3;
    node = TakeValue_(at, end, COMMENT);
    return node != nullptr ? end + 3 : nullptr;
}

// A ">" in an internal subset, between "[" and the first "]", does not count.
char* Document::Parser_::ParseDoctype_(char* at, Node*& node) {
    char* end = strpbrk(at, "[>");
    while (end != nullptr && *end == '[') {
        end = strchr(end, ']');
        if (end != nullptr) end = strpbrk(end, "[>");
    }
    if (end == nullptr) return Fail_(PARSE_UNEXPECTED_END, "unexpected end of a stream");
    if (!Is_(PARSE_DOCTYPE_NODE)) return end + 1;
    node = TakeValue_(at, end, DOCTYPE);
    return node != nullptr ? end + 1 : nullptr;
}

} // namespace Xml
