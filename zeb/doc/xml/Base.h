#pragma once

// What a node and an attribute have in common: a name, a value, a place in a tree, and the document that owns
// the memory. Objects come from the pool of a document and are never destroyed one by one.

#include "zeb/doc/xml/String.h"

#include <cstddef>
#include <cstdint>

namespace Xml {

class Document;
class Node;
struct Layout_; // checks the order of the fields

class ZEB_PUBLIC Base {
public:
    // The name of the class in the log.
    static constexpr char IDENT[] = "Xml::Base";

    // What the value stands for when the tree is turned into a typed form. The printers ignore it.
    enum DataTypeT : uint32_t {
        DATA_NULL = 0,
        DATA_STRING = 1,
        DATA_BOOL = 2,   // the value is "yes" or "no"
        DATA_NUMBER = 3, // the value is a decimal number
        DATA_ARRAY = 4,  // one slot of an array: a run of elements of one name
        DATA_OBJECT = 5,
    };

    Base(Base const&) = delete;
    Base& operator=(Base const&) = delete;

    // A letter, ":", "@" or "_", and then letters, digits, ":", "@", "_", "-" and ".". Bytes above 127 are no
    // letters, and an empty name is none.
    static bool ValidateName(CString const& name);

    // The node that this one hangs under; null while it hangs nowhere.
    Node* Parent() const { return parent_; }

    // The owner of the memory, never null. A document is its own.
    Xml::Document* Doc() const { return document_; }

    String const& Name() const { return name_; }
    String const& Value() const { return value_; }
    DataTypeT DataType() const { return dataType_; }

    // Views are taken over uncopied: they must live as long as the document (Document::AllocateString).
    void SetName(CString const& name) { name_ = String(name); }
    void SetValue(CString const& value) { value_ = String(value); }
    void SetDataType(DataTypeT type) { dataType_ = type; }

protected:
    explicit Base(Xml::Document* document)
        : document_(document) {}
    Base(Xml::Document* document, String const& name, String const& value)
        : name_(name)
        , value_(value)
        , document_(document) {}
    ~Base() = default;

private:
    friend class Attribute;
    friend class Document;
    friend class Node;
    friend struct Layout_;

    Node* parent_ = nullptr;
    DataTypeT dataType_ = DATA_STRING;
    String name_;
    String value_;
    Xml::Document* document_;
};

static_assert(sizeof(Base) == 72);

} // namespace Xml
