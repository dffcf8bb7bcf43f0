#include "zeb/core/Integer.h"
#include "zeb/doc/xml/Document.h"

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

Xml::Node* Xml::Node::AppendElement_(CString const& name, CString const& value, DataTypeT dataType) {
    Xml::Document& document = *document_;
    if (!document.allocationOk_) return nullptr;
    String const ownName = document.CopyString_(name);
    String const ownValue = document.CopyString_(value);
    if (!document.allocationOk_) return nullptr;
    Node* const element = document.AllocateNode(ELEMENT, ownName, ownValue);
    if (element == nullptr) return nullptr;
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
    Xml::Document& document = *document_;
    if (!document.allocationOk_) return nullptr;
    String const ownName = document.CopyString_(name);
    String const ownValue = document.CopyString_(value);
    if (!document.allocationOk_) return nullptr;
    Attribute* const attribute = document.AllocateAttribute(ownName, ownValue);
    if (attribute == nullptr) return nullptr;
    attribute->dataType_ = dataType;
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
    Xml::Document& document = *document_;
    if (!document.allocationOk_) return nullptr;
    String const ownValue = document.CopyString_(value);
    if (!document.allocationOk_) return nullptr;
    Node* const data = document.AllocateNode(DATA, CString::Nil(), ownValue);
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

Xml::Node* Xml::Node::AppendRecursive(Node const* source) {
    Xml::Document& document = *document_;
    if (source == nullptr || !document.allocationOk_) return nullptr;
    String const name = document.CopyString_(source->name_);
    String const value = document.CopyString_(source->value_);
    if (!document.allocationOk_) return nullptr;
    TypeT const type = source->type_ == DOCUMENT ? ELEMENT : source->type_;
    Node* const copy = document.AllocateNode(type, name, value);
    if (copy == nullptr || !copy->CopyAttributes_(*source)) return nullptr;
    for (Node const* child = source->FirstNode(); child != nullptr; child = child->next_) {
        if (copy->AppendRecursive(child) == nullptr) return nullptr;
    }
    copy->dataType_ = source->dataType_;
    AppendNode(copy);
    return copy;
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
