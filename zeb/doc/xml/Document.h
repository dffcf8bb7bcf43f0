#pragma once

// The root of a tree, and the owner of all its memory. Node.h has what is done with a tree, Print.h its text
// form, Stream.h its packed form.
//
//   Xml::Document document;
//   Xml::Node* const status = document.AppendElement("status");
//   if (status != nullptr) status->AppendElement("mtu", 1492);
//   if (!document.Valid() || !Xml::Print(stream, document)) ...
//
// Owns       a pool with all nodes, attributes and copied texts; nothing is freed singly. Clear() and the
//            destructor end all of it. Parse() reads a text in place: names and values are views of the
//            caller's buffer, which the parser changes (terminators, expanded references) and which must stay
//            until the tree is dropped or cleared
// Threads    one at a time
// Fails      by null results and codes. What does not fit (a bad name, a second attribute of one name) is a
//            line in the log, and the work goes on
// Memory     2048 bytes lie in the object, so that a small document on the stack costs no allocation. Without
//            memory an operation gives null, and so does each one after it; Valid() is false until Clear()

#include "zeb/core/Log.h"
#include "zeb/core/Pool.h"
#include "zeb/core/ReturnT.h"
#include "zeb/doc/xml/Attribute.h"
#include "zeb/doc/xml/Node.h"

namespace Xml {

class ZEB_PUBLIC Document : public Node {
public:
    static constexpr char IDENT[] = "Xml::Document";

    // Bits of Parse(). With none set it makes elements, attributes, DATA and CDATA nodes, sets the value of
    // each element to its first text, and expands references.
    enum ParseFlagsT : uint32_t {
        PARSE_DEFAULT = 0,
        PARSE_NO_DATA_NODES = 1,
        PARSE_NO_ELEMENT_VALUES = 2,
        PARSE_NO_ENTITIES = 8,
        PARSE_NO_UTF8 = 16, // a numeric reference is one byte, and a byte order mark is not skipped
        PARSE_DECLARATION_NODE = 32,
        PARSE_COMMENT_NODES = 64,
        PARSE_DOCTYPE_NODE = 128,
        PARSE_PI_NODES = 256,
        PARSE_VALIDATE_CLOSING_TAGS = 512,
        PARSE_TRIM_WHITESPACE = 1024,
        PARSE_NORMALIZE_WHITESPACE = 2048,
    };

    // Results of Parse().
    static constexpr ReturnT PARSE_DONE{0x00370001};
    static constexpr ReturnT PARSE_BAD_CHARACTER{0x80370001};
    static constexpr ReturnT PARSE_UNEXPECTED_END{0x80370002};
    static constexpr ReturnT PARSE_CDATA_END{0x80370003};
    static constexpr ReturnT PARSE_CLOSING_NAME{0x80370004};
    static constexpr ReturnT PARSE_SEMICOLON{0x80370005};
    static constexpr ReturnT PARSE_ATTRIBUTE_NAME{0x80370006};
    static constexpr ReturnT PARSE_EQUAL_SIGN{0x80370007};
    static constexpr ReturnT PARSE_QUOTE{0x80370008};
    static constexpr ReturnT PARSE_PI_END{0x80370009};
    static constexpr ReturnT PARSE_PI_TARGET{0x8037000A};
    static constexpr ReturnT PARSE_NODE_NAME{0x8037000B};
    static constexpr ReturnT PARSE_TAG_END{0x8037000C};
    static constexpr ReturnT PARSE_TAG_START{0x8037000D};
    static constexpr ReturnT PARSE_EMPTY{0x8037000E};
    static constexpr ReturnT PARSE_TOO_DEEP{0x8037000F};

    // The deepest level of nesting; the top level is 0.
    static constexpr unsigned MAX_DEPTH = 128;

    Document()
        : Node(DOCUMENT, this) {}
    ~Document() = default;

    // False once an allocation failed, until Clear().
    bool Valid() const { return allocationOk_; }

    // Drops the whole tree and its memory.
    void Clear();

    // A detached node or attribute; name and value are taken over as views, uncopied. Null when the pool has
    // no memory. An ELEMENT and a PI need a valid name, all others none: anything else is a line in the log,
    // and the node is returned all the same.
    Node* AllocateNilNode(TypeT type);
    Node* AllocateNode(TypeT type, CString const& name, CString const& value);
    Attribute* AllocateAttribute(CString const& name, CString const& value);

    // A copy of the text in the pool, with a NUL behind it. A size of 0 means the length of the text; a null
    // text leaves the bytes for the caller to fill. The data pointer is null when the pool has no memory.
    String AllocateString(char const* text, unsigned long size);

    // Replaces the tree by what the NUL-terminated text says; the memory of the old one stays until Clear().
    // An empty text fails and changes nothing; on any other failure the tree stays as far as it came, and the
    // text cannot be parsed again. Failures are logged unless `verbose` is 0. A code above, or one of the Oom
    // family.
    ReturnT Parse(char* text, ParseFlagsT flags, Log::VerboseT verbose);

private:
    friend class Node;
    friend class Stream;
    friend struct Layout_;
    class Parser_;

    // Null as well once memory ran out: what came later would stand in a tree with a gap.
    unsigned char* Allocate_(unsigned long size) {
        if (!allocationOk_) return nullptr;
        auto* const memory = static_cast<unsigned char*>(pool_.Alloc(size));
        if (memory == nullptr) allocationOk_ = false;
        return memory;
    }
    Attribute* AllocateNilAttribute_();
    String CopyString_(CString const& text);
    template<typename T, typename... ArgumentsT>
    T* Make_(CString const& name, CString const& value, ArgumentsT... arguments);
    static String Keep_(char* to, CString const& text);

    bool allocationOk_ = true;
    Pool<2048ul> pool_;
};

constexpr Document::ParseFlagsT operator|(Document::ParseFlagsT a, Document::ParseFlagsT b) {
    return static_cast<Document::ParseFlagsT>(uint32_t{a} | uint32_t{b});
}

} // namespace Xml
