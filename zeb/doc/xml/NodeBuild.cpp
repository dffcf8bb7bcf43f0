#include "zeb/core/Integer.h"
#include "zeb/doc/xml/Document.h"
#include "zeb/doc/xml/NameLog.h"
#include "zeb/stream/Writer.h"

#include <new>

namespace {

CString const& YesNo(bool value) {
    static CString const words[] = {"no", "yes"};
    return words[value ? 1 : 0];
}

// Decimal text of a number, on the stack.
template<typename T>
class Decimal {
public:
    explicit Decimal(T value)
        : integer_(value)
        , text_(integer_) {}
    operator CString const&() const { return text_; }

private:
    Integer const integer_;
    CString const text_;
};

} // namespace

// Nodes and attributes with texts of their own: one piece of the pool for all three.
template<typename T, typename... ArgumentsT>
[[gnu::always_inline]] inline T* Xml::Document::Make_(CString const& name, CString const& value,
                                                      ArgumentsT... arguments) {
    unsigned long size = sizeof(T) + 2;
    if (__builtin_add_overflow(size, name.Size(), &size) ||
        __builtin_add_overflow(size, value.Size(), &size)) {
        allocationOk_ = false;
        return nullptr;
    }
    unsigned char* const memory = Allocate_(size);
    if (memory == nullptr) return nullptr;
    auto* const texts = reinterpret_cast<char*>(memory) + sizeof(T);
    String const ownName = Keep_(texts, name);
    String const ownValue = Keep_(texts + name.Size() + 1, value);
    return new (memory) T(arguments..., this, ownName, ownValue);
}

// The nil string serves for an empty text.
inline Xml::String Xml::Document::Keep_(char* to, CString const& text) {
    if (text.Empty()) return String();
    *Doc::Writer::Copy(to, text.Cstr(), text.Size()) = '\0';
    return String(to, text.Size());
}

Xml::Node* Xml::Node::AppendElement_(CString const& name, CString const& value, DataTypeT dataType) {
    Node* const element = document_->Make_<Node>(name, value, ELEMENT);
    if (element == nullptr) return nullptr;
    CheckNodeName(Document::IDENT, ELEMENT, element->name_);
    element->dataType_ = dataType;
    AppendNode(element);
    return element;
}

Xml::Node* Xml::Node::AppendElement(CString const& name) {
    return AppendElement_(name, CString::Nil(), DATA_OBJECT);
}

Xml::Node* Xml::Node::AppendElement(CString const& name, CString const& value) {
    return AppendElement_(name, value, DATA_STRING);
}

Xml::Node* Xml::Node::AppendElement(CString const& name, char const* value) {
    return AppendElement_(name, CString(value), value != nullptr ? DATA_STRING : DATA_NULL);
}

Xml::Node* Xml::Node::AppendElement(CString const& name, bool value) {
    return name.Empty() ? nullptr : AppendElement_(name, YesNo(value), DATA_BOOL);
}

Xml::Node* Xml::Node::AppendElement(CString const& name, unsigned int value) {
    return AppendElement(name, static_cast<unsigned long>(value));
}

Xml::Node* Xml::Node::AppendElement(CString const& name, long value) {
    return name.Empty() ? nullptr : AppendElement_(name, Decimal(value), DATA_NUMBER);
}

Xml::Node* Xml::Node::AppendElement(CString const& name, unsigned long value) {
    return name.Empty() ? nullptr : AppendElement_(name, Decimal(value), DATA_NUMBER);
}

Xml::Node* Xml::Node::AppendElement(CString const& name, long long value) {
    return name.Empty() ? nullptr : AppendElement_(name, Decimal(value), DATA_NUMBER);
}

Xml::Node* Xml::Node::AppendElement(CString const& name, unsigned long long value) {
    return name.Empty() ? nullptr : AppendElement_(name, Decimal(value), DATA_NUMBER);
}

Xml::Attribute* Xml::Node::AppendAttribute_(CString const& name, CString const& value, DataTypeT dataType) {
    auto* const attribute = document_->Make_<Attribute>(name, value);
    if (attribute == nullptr) return nullptr;
    CheckAttributeName(Document::IDENT, attribute->Name());
    attribute->SetDataType(dataType);
    AppendAttribute(attribute);
    return attribute;
}

Xml::Attribute* Xml::Node::AppendAttribute(CString const& name, CString const& value) {
    return AppendAttribute_(name, value, DATA_STRING);
}

Xml::Attribute* Xml::Node::AppendAttribute(CString const& name, char const* value) {
    return AppendAttribute_(name, CString(value), DATA_STRING);
}

Xml::Attribute* Xml::Node::AppendAttribute(CString const& name, bool value) {
    return AppendAttribute_(name, YesNo(value), DATA_BOOL);
}

Xml::Attribute* Xml::Node::AppendAttribute(CString const& name, unsigned int value) {
    return AppendAttribute(name, static_cast<unsigned long>(value));
}

Xml::Attribute* Xml::Node::AppendAttribute(CString const& name, long value) {
    return AppendAttribute_(name, Decimal(value), DATA_NUMBER);
}

Xml::Attribute* Xml::Node::AppendAttribute(CString const& name, unsigned long value) {
    return AppendAttribute_(name, Decimal(value), DATA_NUMBER);
}

Xml::Attribute* Xml::Node::AppendAttribute(CString const& name, long long value) {
    return AppendAttribute_(name, Decimal(value), DATA_NUMBER);
}

Xml::Attribute* Xml::Node::AppendAttribute(CString const& name, unsigned long long value) {
    return AppendAttribute_(name, Decimal(value), DATA_NUMBER);
}

Xml::Node* Xml::Node::AppendToArray_(CString const& name, Node* child) {
    Node* const element = AppendElement_(
        name, child != nullptr ? static_cast<CString const&>(child->value_) : CString::Nil(), DATA_ARRAY);
    if (element != nullptr && child != nullptr) element->AppendNode(child);
    return element;
}

Xml::Node* Xml::Node::AppendValueToArray_(CString const& name, CString const& value, DataTypeT dataType) {
    Node* const data = document_->Make_<Node>(CString::Nil(), value, DATA);
    if (data == nullptr) return nullptr;
    data->dataType_ = dataType;
    return AppendToArray_(name, data);
}

Xml::Node* Xml::Node::AppendToArray(CString const& name) { return AppendToArray_(name, nullptr); }

Xml::Node* Xml::Node::AppendToArray(CString const& name, CString const& value) {
    return AppendValueToArray_(name, value, DATA_STRING);
}

Xml::Node* Xml::Node::AppendToArray(CString const& name, char const* value) {
    return AppendValueToArray_(name, CString(value), value != nullptr ? DATA_STRING : DATA_NULL);
}

Xml::Node* Xml::Node::AppendToArray(CString const& name, bool value) {
    return AppendValueToArray_(name, YesNo(value), DATA_BOOL);
}

Xml::Node* Xml::Node::AppendToArray(CString const& name, unsigned int value) {
    return AppendToArray(name, static_cast<unsigned long>(value));
}

Xml::Node* Xml::Node::AppendToArray(CString const& name, long value) {
    return AppendValueToArray_(name, Decimal(value), DATA_NUMBER);
}

Xml::Node* Xml::Node::AppendToArray(CString const& name, unsigned long value) {
    return AppendValueToArray_(name, Decimal(value), DATA_NUMBER);
}

Xml::Node* Xml::Node::AppendToArray(CString const& name, long long value) {
    return AppendValueToArray_(name, Decimal(value), DATA_NUMBER);
}

Xml::Node* Xml::Node::AppendToArray(CString const& name, unsigned long long value) {
    return AppendValueToArray_(name, Decimal(value), DATA_NUMBER);
}

bool Xml::Node::CopyAttributes_(Node const& source) {
    for (Attribute const* from = source.FirstAttribute(); from != nullptr; from = from->NextAttribute()) {
        if (AppendAttribute(from->Name(), from->Value()) == nullptr) return false;
    }
    return true;
}

Xml::Node* Xml::Node::CopyNode_(Node const& source) {
    TypeT const type = source.type_ == DOCUMENT ? ELEMENT : source.type_;
    Node* const copy = document_->Make_<Node>(source.name_, source.value_, type);
    if (copy == nullptr) return nullptr;
    // A document has no name to be judged.
    if (source.type_ != DOCUMENT || !copy->name_.Empty()) CheckNodeName(Document::IDENT, type, copy->name_);
    if (!copy->CopyAttributes_(source)) return nullptr;
    copy->dataType_ = source.dataType_;
    return copy;
}

// Climbs by the parents, so that a deep tree needs no stack. A node that was cut off by RemoveAllNodes() but
// is still in reach has no way up, and is copied by a call of its own.
Xml::Node* Xml::Node::AppendRecursive(Node const* source) {
    Node* const top = source != nullptr ? CopyNode_(*source) : nullptr;
    if (top == nullptr) return nullptr;
    Node const* owner = source;
    Node* copy = top; // of the owner
    Node const* from = source->FirstNode();
    for (;;) {
        while (from == nullptr && owner != source) {
            from = owner->next_;
            owner = owner->parent_;
            copy = copy->parent_;
        }
        if (from == nullptr) break;
        if (from->parent_ != owner) {
            if (copy->AppendRecursive(from) == nullptr) return nullptr;
            from = from->next_;
            continue;
        }
        Node* const child = CopyNode_(*from);
        if (child == nullptr) return nullptr;
        copy->AppendNode(child);
        owner = from;
        copy = child;
        from = from->FirstNode();
    }
    AppendNode(top);
    return top;
}

bool Xml::Node::ReplaceRecursive(Node const* source) {
    Xml::Document& document = *document_;
    if (source == nullptr) return false;
    if (source == this || !document.allocationOk_) return document.allocationOk_;
    String const name = document.CopyString_(source->name_);
    String const value = document.CopyString_(source->value_);
    if (!document.allocationOk_) return false;
    if (type_ != DOCUMENT) type_ = source->type_ == DOCUMENT ? ELEMENT : source->type_;
    name_ = name;
    value_ = value;
    dataType_ = source->dataType_;
    RemoveAllAttributes();
    if (!CopyAttributes_(*source)) return false;
    for (Node const* child = source->FirstNode(); child != nullptr; child = child->next_) {
        if (AppendRecursive(child) == nullptr) return false;
    }
    return document.allocationOk_;
}
