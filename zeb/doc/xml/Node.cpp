#include "zeb/doc/xml/Node.h"

#include "zeb/core/Log.h"
#include "zeb/doc/xml/Attribute.h"
#include "zeb/doc/xml/Match.h"

CString const& Xml::Node::TypeName(TypeT type) {
    static CString const names[] = {"DOCUMENT",    "ELEMENT", "DATA", "CDATA",  "COMMENT",
                                    "DECLARATION", "DOCTYPE", "PI",   "UNKNOWN"};
    return names[type <= PI ? type : PI + 1];
}

void Xml::Node::PrependNode(Node* child) {
    child->parent_ = this;
    child->previous_ = nullptr;
    child->next_ = firstNode_;
    (firstNode_ != nullptr ? firstNode_->previous_ : lastNode_) = child;
    firstNode_ = child;
}

void Xml::Node::InsertNode(Node* where, Node* child) {
    if (where == nullptr) return AppendNode(child);
    if (where == firstNode_) return PrependNode(child);
    child->parent_ = this;
    child->previous_ = where->previous_;
    child->next_ = where;
    where->previous_->next_ = child;
    where->previous_ = child;
}

void Xml::Node::RemoveFirstNode() {
    firstNode_->parent_ = nullptr;
    // The last node may still point at what RemoveAllNodes() cut off.
    firstNode_ = firstNode_ != lastNode_ ? firstNode_->next_ : nullptr;
    if (firstNode_ != nullptr) firstNode_->previous_ = nullptr;
}

void Xml::Node::RemoveLastNode() {
    lastNode_->parent_ = nullptr;
    if (lastNode_ == firstNode_) {
        firstNode_ = nullptr;
        return;
    }
    lastNode_ = lastNode_->previous_;
    lastNode_->next_ = nullptr;
}

void Xml::Node::RemoveNode(Node* child) {
    if (child == firstNode_) return RemoveFirstNode();
    if (child == lastNode_) return RemoveLastNode();
    child->previous_->next_ = child->next_;
    child->next_->previous_ = child->previous_;
    child->parent_ = nullptr;
}

void Xml::Node::RemoveAllNodes(Node* from) {
    bool const all = from == nullptr || from == firstNode_;
    for (Node* node = all ? firstNode_ : from; node != nullptr; node = node->next_) {
        // A walk may run into nodes that an earlier call removed, and that hang elsewhere by now.
        if (node->parent_ == this) node->parent_ = nullptr;
    }
    if (all) {
        firstNode_ = nullptr;
    } else {
        lastNode_ = from->previous_;
    }
}

void Xml::Node::PrependAttribute(Attribute* attribute) {
    attribute->parent_ = this;
    attribute->previous_ = nullptr;
    attribute->next_ = firstAttribute_;
    (firstAttribute_ != nullptr ? firstAttribute_->previous_ : lastAttribute_) = attribute;
    firstAttribute_ = attribute;
}

void Xml::Node::AppendAttribute(Attribute* attribute) { InsertAttribute(nullptr, attribute); }

void Xml::Node::InsertAttribute(Attribute* where, Attribute* attribute) {
    if (!CheckAttribute_(*attribute)) return;
    if (where == firstAttribute_) return PrependAttribute(attribute);
    Attribute* const previous = where != nullptr ? where->previous_ : lastAttribute_;
    attribute->parent_ = this;
    attribute->previous_ = previous;
    attribute->next_ = where;
    previous->next_ = attribute;
    (where != nullptr ? where->previous_ : lastAttribute_) = attribute;
}

bool Xml::Node::CheckAttribute_(Attribute const& attribute) const {
    CString const& name = attribute.Name();
    if (name.Empty()) {
        Log(Log::WARNING, IDENT, nullptr, "empty attribute name");
        return false;
    }
    if (FirstAttribute(name) != nullptr) {
        Log(Log::WARNING, IDENT, nullptr, "duplicate attribute: \"%1\"") << name;
        return false;
    }
    return true;
}

void Xml::Node::RemoveFirstAttribute() {
    firstAttribute_->parent_ = nullptr;
    firstAttribute_ = firstAttribute_->next_;
    if (firstAttribute_ != nullptr) firstAttribute_->previous_ = nullptr;
}

void Xml::Node::RemoveLastAttribute() {
    lastAttribute_->parent_ = nullptr;
    if (lastAttribute_ == firstAttribute_) {
        firstAttribute_ = nullptr;
        return;
    }
    lastAttribute_ = lastAttribute_->previous_;
    lastAttribute_->next_ = nullptr;
}

void Xml::Node::RemoveAttribute(Attribute* attribute) {
    if (attribute == firstAttribute_) return RemoveFirstAttribute();
    if (attribute == lastAttribute_) return RemoveLastAttribute();
    attribute->previous_->next_ = attribute->next_;
    attribute->next_->previous_ = attribute->previous_;
    attribute->parent_ = nullptr;
}

void Xml::Node::RemoveAllAttributes() {
    for (Attribute* attribute = firstAttribute_; attribute != nullptr; attribute = attribute->next_)
        attribute->parent_ = nullptr;
    firstAttribute_ = nullptr;
}

Xml::Node* Xml::Node::FirstNode(CString const& name) const {
    return FindName<&Node::next_>(FirstNode(), name);
}

Xml::Node* Xml::Node::LastNode(CString const& name) const {
    return FindName<&Node::previous_>(LastNode(), name);
}

Xml::Node* Xml::Node::NextSibling(CString const& name) const { return FindName<&Node::next_>(next_, name); }

Xml::Node* Xml::Node::PreviousSibling(CString const& name) const {
    return FindName<&Node::previous_>(previous_, name);
}

Xml::Attribute* Xml::Node::FirstAttribute(CString const& name) const {
    return FindName<&Attribute::next_>(FirstAttribute(), name);
}

Xml::Attribute* Xml::Node::LastAttribute(CString const& name) const {
    return FindName<&Attribute::previous_>(LastAttribute(), name);
}

Xml::Node* Xml::Node::FirstNode(CString const& name, TypeT type) const {
    Node* node = FirstNode();
    while (node != nullptr && (node->type_ != type || !SameName(node->Name(), name)))
        node = node->next_;
    return node;
}

Xml::Node* Xml::Node::LastNode(CString const& name, TypeT type) const {
    Node* node = LastNode();
    while (node != nullptr && (node->type_ != type || !SameName(node->Name(), name)))
        node = node->previous_;
    return node;
}
