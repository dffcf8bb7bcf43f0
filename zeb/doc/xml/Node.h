#pragma once

// A node of a tree: an element, a text, a comment ..., with a list of children and a list of attributes.
//
// Owns       nothing: nodes, attributes and texts come from the pool of the document at the root and end with
//            it, or with its Clear(); a node stays in the tree of its own document (AppendRecursive brings
//            over a copy)
// Threads    one builds or reads a tree at a time
// Fails      operations that build give null once the pool had no memory; the flag of the document
//            (Document::Valid) then stays down, so that a builder may append without a check and test the
//            flag once at the end. Linking checks nothing
//
// A list is empty exactly when its first pointer is null. Removal leaves the links of what it removed as they
// were.

#include "zeb/doc/xml/Base.h"
#include "zeb/doc/xml/ForeignPointer.h"

namespace Xml {

class Attribute;

class ZEB_PUBLIC Node : public Base {
public:
    static constexpr char IDENT[] = "Xml::Node";

    enum TypeT : uint32_t {
        DOCUMENT = 0,    // the root, printed as its children
        ELEMENT = 1,     // has a name
        DATA = 2,        // character data; no name
        CDATA = 3,       // no name
        COMMENT = 4,     // no name
        DECLARATION = 5, // <?xml ...?>: no name, its parts are attributes
        DOCTYPE = 6,     // no name; the value is what stands behind the keyword
        PI = 7,          // the target is the name, the rest the value
    };

    // "ELEMENT" and so on, "UNKNOWN" for any other value. From any thread.
    static CString const& TypeName(TypeT type);

    TypeT Type() const { return type_; }
    void ClearDataType() { SetDataType(DATA_STRING); }

    // A new element at the end of the children. Name and value are copied into the pool. The forms without a
    // value, with a null value, a bool and a number set the data type DATA_OBJECT, DATA_NULL, DATA_BOOL and
    // DATA_NUMBER. A name that is not valid is a line in the log, and the element is made. An empty name for
    // a bool or a number gives null and adds nothing.
    Node* AppendElement(CString const& name);
    Node* AppendElement(CString const& name, CString const& value);
    Node* AppendElement(CString const& name, char const* value);
    Node* AppendElement(CString const& name, bool value);
    template<Doc::ForeignPointer T>
    Node* AppendElement(CString const& name, T value) = delete;
    Node* AppendElement(CString const& name, int value) { return AppendElement(name, long{value}); }
    Node* AppendElement(CString const& name, unsigned int value);
    Node* AppendElement(CString const& name, long value);
    Node* AppendElement(CString const& name, unsigned long value);
    Node* AppendElement(CString const& name, long long value);
    Node* AppendElement(CString const& name, unsigned long long value);

    // A new attribute at the end of the list, name and value copied into the pool. When the name is empty or
    // already there, the attribute is returned all the same, but hangs nowhere (see the linking form below).
    Attribute* AppendAttribute(CString const& name, CString const& value);
    Attribute* AppendAttribute(CString const& name, char const* value);
    Attribute* AppendAttribute(CString const& name, bool value);
    template<Doc::ForeignPointer T>
    Attribute* AppendAttribute(CString const& name, T value) = delete;
    Attribute* AppendAttribute(CString const& name, int value) { return AppendAttribute(name, long{value}); }
    Attribute* AppendAttribute(CString const& name, unsigned int value);
    Attribute* AppendAttribute(CString const& name, long value);
    Attribute* AppendAttribute(CString const& name, unsigned long value);
    Attribute* AppendAttribute(CString const& name, long long value);
    Attribute* AppendAttribute(CString const& name, unsigned long long value);

    // An array is a run of elements of one name, each with data type DATA_ARRAY; this appends one such
    // element and returns it. Without a value it is a slot for an object, which the caller fills; otherwise
    // the value stands in a DATA child, which carries the data type of the value, and in the element too.
    Node* AppendToArray(CString const& name);
    Node* AppendToArray(CString const& name, CString const& value);
    Node* AppendToArray(CString const& name, char const* value);
    Node* AppendToArray(CString const& name, bool value);
    template<Doc::ForeignPointer T>
    Node* AppendToArray(CString const& name, T value) = delete;
    Node* AppendToArray(CString const& name, int value) { return AppendToArray(name, long{value}); }
    Node* AppendToArray(CString const& name, unsigned int value);
    Node* AppendToArray(CString const& name, long value);
    Node* AppendToArray(CString const& name, unsigned long value);
    Node* AppendToArray(CString const& name, long long value);
    Node* AppendToArray(CString const& name, unsigned long long value);

    // A deep copy of the source as last child. The source may belong to another document; a document is
    // copied as an element. Nothing is appended when memory runs out.
    Node* AppendRecursive(Node const* source);

    // Makes this node a copy of the source, where it stands: type (a document stays one), name, value, data
    // type, attributes; the children of the source go behind the children that are there. The result is the
    // flag of the document, false for a null source.
    bool ReplaceRecursive(Node const* source);

    // Linking. Nothing is allocated or checked: the child must be of this document and hang nowhere.
    void PrependNode(Node* child);
    void AppendNode(Node* child) {
        child->parent_ = this;
        child->previous_ = LastNode();
        child->next_ = nullptr;
        (firstNode_ != nullptr ? lastNode_->next_ : firstNode_) = child;
        lastNode_ = child;
    }

    // Before `where`, which must be a child; null means at the end.
    void InsertNode(Node* where, Node* child);

    // Not to be called on an empty list.
    void RemoveFirstNode();
    void RemoveLastNode();
    void RemoveNode(Node* child);

    // `from` and all behind it; null empties the list. The sibling in front of `from` keeps pointing at it: a
    // walk by NextSibling() still runs into what was removed.
    void RemoveAllNodes(Node* from = nullptr);

    // Links without any check.
    void PrependAttribute(Attribute* attribute);

    // An empty name, and one that is already there, is a line in the log, and the attribute is left out.
    void AppendAttribute(Attribute* attribute);
    void InsertAttribute(Attribute* where, Attribute* attribute);

    void RemoveFirstAttribute();
    void RemoveLastAttribute();
    void RemoveAttribute(Attribute* attribute);
    void RemoveAllAttributes();

    // Children, siblings and attributes; null at the end.
    Node* FirstNode() const { return firstNode_; }
    Node* LastNode() const { return firstNode_ != nullptr ? lastNode_ : nullptr; }
    Node* NextSibling() const { return next_; }
    Node* PreviousSibling() const { return previous_; }
    Attribute* FirstAttribute() const { return firstAttribute_; }
    Attribute* LastAttribute() const { return firstAttribute_ != nullptr ? lastAttribute_ : nullptr; }

    // Those of that name; an empty name means any. A name wrapped in CString::IgnoreCase ignores case.
    Node* FirstNode(CString const& name) const;
    Node* LastNode(CString const& name) const;
    Node* NextSibling(CString const& name) const;
    Node* PreviousSibling(CString const& name) const;
    Attribute* FirstAttribute(CString const& name) const;
    Attribute* LastAttribute(CString const& name) const;

    // Those of that name and that type; here an empty name means one without a name, such as a text.
    Node* FirstNode(CString const& name, TypeT type) const;
    Node* LastNode(CString const& name, TypeT type) const;

protected:
    Node(TypeT type, Xml::Document* document)
        : Base(document)
        , type_(type) {}
    Node(TypeT type, Xml::Document* document, String const& name, String const& value)
        : Base(document, name, value)
        , type_(type) {}
    ~Node() = default;

private:
    friend class Document;
    friend struct Layout_;
    template<typename T>
    struct List_;

    // The wrapping of an array's value: an element with the value of the child, which may be null, and the
    // child.
    Node* AppendToArray_(CString const& name, Node* child);

    Node* AppendElement_(CString const& name, CString const& value, DataTypeT dataType);
    Attribute* AppendAttribute_(CString const& name, CString const& value, DataTypeT dataType);
    Node* AppendValueToArray_(CString const& name, CString const& value, DataTypeT dataType);
    template<typename T>
    Node* AppendNumber_(CString const& name, T value);
    Node* CopyNode_(Node const& source); // without its children, detached
    bool CopyAttributes_(Node const& source);
    bool CheckAttribute_(Attribute const& attribute) const;

    TypeT type_;
    Node* firstNode_ = nullptr;
    Node* lastNode_ = nullptr;
    Attribute* firstAttribute_ = nullptr;
    Attribute* lastAttribute_ = nullptr;
    Node* previous_ = nullptr;
    Node* next_ = nullptr;
};

static_assert(sizeof(Node) == 128);

} // namespace Xml
