#pragma once

// The steps of Document::Parse(). Each takes the position in the text and gives the one behind what it read,
// or null with `code_` set. Nothing is copied: the steps write terminators and expanded references into the
// text. Internal to this folder.

#include "zeb/core/Simd.h"
#include "zeb/doc/xml/CharClass.h"
#include "zeb/doc/xml/Document.h"

#include <new>

namespace Xml {

// The tests of single characters: true for all but these and NUL.
template<char... STOPS>
struct AllBut_ {
    static bool Test(char c) { return ((c != STOPS) && ...) && c != '\0'; }

    // The first character that fails the test; blocks of 16 bytes may be read from below `blocksEnd` on.
    static char* Skip(char* at, char const* blocksEnd) {
        while (at < blocksEnd) {
            Simd::Block const block = Simd::Load(at);
            Simd::Set const stops = Simd::Positions(
                (Simd::Equal(block, Simd::Splat('\0')) | ... | Simd::Equal(block, Simd::Splat(STOPS))));
            if (stops != 0) return at + Simd::First(stops);
            at += Simd::COUNT;
        }
        while (Test(*at))
            ++at;
        return at;
    }
};

using TextPred_ = AllBut_<'<'>;
using TextPureNoWsPred_ = AllBut_<'<', '&'>;
using TextPureWithWsPred_ = AllBut_<' ', '\n', '\r', '\t', '<', '&'>;
using AttributeValueQuotePred_ = AllBut_<'\''>;
using AttributeValueDoubleQuotePred_ = AllBut_<'"'>;
using AttributeValuePureQuotePred_ = AllBut_<'\'', '&'>;
using AttributeValuePureDoubleQuotePred_ = AllBut_<'"', '&'>;

class Document::Parser_ {
public:
    Parser_(Document& document, ParseFlagsT flags, Log::VerboseT verbose)
        : document_(document)
        , flags_(flags)
        , verbose_(verbose) {}

    ReturnT Run(char* text);

private:
    bool Is_(uint32_t flags) const { return (flags_ & flags) != 0; }
    char* SkipSpace_(char* at) const;
    bool IsSame_(char const* at, char const* earlier, unsigned long size) const;

    // Behind the "<". `depth` is 0 at the top level. A node that results is detached.
    char* ParseNode_(char* at, unsigned depth, Node*& node);

    // Elements do not recurse: the open ones hang under their parents from the start, and `depth` counts
    // them. The outermost is handed up once it is complete.
    char* ParseElement_(char* at, unsigned depth, Node*& node);
    char* ParseStartTag_(char* at, Node*& element, bool& isOpen);
    char* ParseContent_(char* at, unsigned& depth, Node*& element, Node*& node);
    char* ParseNodeAttributes_(char* at, Node& node);
    void LinkAttribute_(Node& node, Attribute& attribute);
    char* ParseAttributeValue_(char* at, Attribute& attribute);
    char* ParseText_(char* start, char* at, Node& element, bool& isEnd);
    char* ParseClosingTag_(char* at, Node const& element);
    char* ParseClosingTagSlow_(char* at, Node const& element);

    // Behind "<", at the "?" or "!".
    char* ParseMarkup_(char* at, Node*& node);
    char* ParseDeclaration_(char* at, Node*& node);
    char* ParsePi_(char* at, Node*& node);
    char* ParseCdata_(char* at, Node*& node);
    char* ParseComment_(char* at, Node*& node);
    char* ParseDoctype_(char* at, Node*& node);
    char* SkipPi_(char* at);
    Node* TakeValue_(char* from, char* to, Node::TypeT type);

    // A text up to where the test STOP fails, which is the result; it ends at `textEnd` once references are
    // expanded and white space is normalized. PURE also fails at all that may need a change.
    template<typename STOP, typename PURE>
    char* SkipAndExpandCharacterRefs_(char* at, uint32_t flags, char*& textEnd);
    template<typename STOP, typename PURE>
    char* Expand_(char* at, uint32_t flags, char*& textEnd);
    bool ExpandName_(char*& at, char*& write);
    char* ExpandNumber_(char* at, char*& write);
    bool InsertCodedCharacter_(char*& destination, uint64_t code);

    // Pool memory; more is taken ahead as the text that is left will need it.
    void* Allocate_(char const* at, unsigned long size);
    void* AllocateMore_(char const* at, unsigned long size);
    Node* NewNode_(char const* at, Node::TypeT type, String const& name, String const& value);
    static void Terminate_(String const& text) { const_cast<char*>(text.Cstr())[text.Size()] = '\0'; }

    char* Fail_(ReturnT code, char const* message);
    char* Oom_();

    Document& document_;
    char const* end_ = nullptr;       // the NUL behind the text
    char const* blocksEnd_ = nullptr; // below it 16 bytes may be read
    ParseFlagsT const flags_;
    Log::VerboseT const verbose_;
    ReturnT code_ = PARSE_DONE;
};

} // namespace Xml
