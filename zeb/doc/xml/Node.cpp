#include "zeb/doc/xml/Node.h"

#include "zeb/core/Log.h"
#include "zeb/doc/xml/Attribute.h"
#include "zeb/doc/xml/Match.h"

CString const& Xml::Node::TypeName(TypeT type) {
    static CString const names[] = {"DOCUMENT",    "ELEMENT", "DATA", "CDATA",  "COMMENT",
                                    "DECLARATION", "DOCTYPE", "PI",   "UNKNOWN"};
    return names[type <= PI ? type : PI + 1];
}

// Children and attributes are linked alike. The last pointer means nothing while the list is empty.
template<typename T>
struct Xml::Node::List_ {
    T*& first;
    T*& last;

    // In front of `where`, or at the end when that is null.
    void Insert(Node* parent, T* where, T* item) const {
        T* const previous = where != nullptr ? where->previous_ : first != nullptr ? last : nullptr;
        item->parent_ = parent;
        item->previous_ = previous;
        item->next_ = where;
        (previous != nullptr ? previous->next_ : first) = item;
        (where != nullptr ? where->previous_ : last) = item;
    }

    // What stands behind the last item is no part of the list: a cut by RemoveAllNodes() leaves it linked.
    void Remove(T* item) const {
        T* const next = item != last ? item->next_ : nullptr;
        item->parent_ = nullptr;
        if (item == first) {
            first = next;
            if (next != nullptr) next->previous_ = nullptr;
            return;
        }
        item->previous_->next_ = next;
        (next != nullptr ? next->previous_ : last) = item->previous_;
    }
};

void Xml::Node::PrependNode(Node* child) {
    List_<Node>{firstNode_, lastNode_}.Insert(this, firstNode_, child);
}

void Xml::Node::InsertNode(Node* where, Node* child) {
    List_<Node>{firstNode_, lastNode_}.Insert(this, where, child);
}

void Xml::Node::RemoveFirstNode() { RemoveNode(firstNode_); }
void Xml::Node::RemoveLastNode() { RemoveNode(lastNode_); }
void Xml::Node::RemoveNode(Node* child) { List_<Node>{firstNode_, lastNode_}.Remove(child); }

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
    List_<Attribute>{firstAttribute_, lastAttribute_}.Insert(this, firstAttribute_, attribute);
}

void Xml::Node::AppendAttribute(Attribute* attribute) { InsertAttribute(nullptr, attribute); }

void Xml::Node::InsertAttribute(Attribute* where, Attribute* attribute) {
    if (!CheckAttribute_(*attribute)) return;
    List_<Attribute>{firstAttribute_, lastAttribute_}.Insert(this, where, attribute);
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

void Xml::Node::RemoveFirstAttribute() { RemoveAttribute(firstAttribute_); }
void Xml::Node::RemoveLastAttribute() { RemoveAttribute(lastAttribute_); }

void Xml::Node::RemoveAttribute(Attribute* attribute) {
    List_<Attribute>{firstAttribute_, lastAttribute_}.Remove(attribute);
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
