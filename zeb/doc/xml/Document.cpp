#include "zeb/doc/xml/Document.h"

#include "zeb/doc/xml/NameLog.h"

#include <cstring>
#include <new>

// The order of the fields.
struct Xml::Layout_ {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
    static_assert(offsetof(Base, parent_) == 0 && offsetof(Base, dataType_) == 8 &&
                  offsetof(Base, name_) == 16);
    static_assert(offsetof(Base, value_) == 40 && offsetof(Base, document_) == 64);
    static_assert(offsetof(Attribute, previous_) == 72 && offsetof(Attribute, next_) == 80);
    static_assert(offsetof(Node, type_) == 72 && offsetof(Node, firstNode_) == 80 &&
                  offsetof(Node, lastNode_) == 88);
    static_assert(offsetof(Node, firstAttribute_) == 96 && offsetof(Node, lastAttribute_) == 104);
    static_assert(offsetof(Node, previous_) == 112 && offsetof(Node, next_) == 120);
    static_assert(offsetof(Document, allocationOk_) == 128 && offsetof(Document, pool_) == 144);
#pragma GCC diagnostic pop
};

void Xml::Document::Clear() {
    RemoveAllNodes(nullptr);
    RemoveAllAttributes();
    // A document that was read or copied into has its own name and value in the pool.
    SetName(CString::Nil());
    SetValue(CString::Nil());
    allocationOk_ = true;
    pool_.Clear();
}

Xml::Node* Xml::Document::AllocateNilNode(TypeT type) {
    unsigned char* const memory = Allocate_(sizeof(Node));
    return memory != nullptr ? new (memory) Node(type, this) : nullptr;
}

Xml::Node* Xml::Document::AllocateNode(TypeT type, CString const& name, CString const& value) {
    Node* const node = AllocateNilNode(type);
    if (node == nullptr) return nullptr;
    node->SetName(name);
    node->SetValue(value);
    CheckNodeName(IDENT, type, name);
    return node;
}

Xml::Attribute* Xml::Document::AllocateNilAttribute_() {
    unsigned char* const memory = Allocate_(sizeof(Attribute));
    return memory != nullptr ? new (memory) Attribute(this) : nullptr;
}

Xml::Attribute* Xml::Document::AllocateAttribute(CString const& name, CString const& value) {
    Attribute* const attribute = AllocateNilAttribute_();
    if (attribute == nullptr) return nullptr;
    attribute->SetName(name);
    attribute->SetValue(value);
    CheckAttributeName(IDENT, name);
    return attribute;
}

Xml::String Xml::Document::AllocateString(char const* text, unsigned long size) {
    if (text != nullptr && size == 0) size = strlen(text);
    if (size + 1 == 0) {
        allocationOk_ = false;
        return String(nullptr, 0);
    }
    auto* const memory = reinterpret_cast<char*>(Allocate_(size + 1));
    if (memory == nullptr) return String(nullptr, 0);
    if (text != nullptr) memcpy(memory, text, size);
    memory[size] = '\0';
    return String(memory, size);
}

Xml::String Xml::Document::CopyString_(CString const& text) {
    return text.Empty() ? String() : AllocateString(text.Cstr(), text.Size());
}
