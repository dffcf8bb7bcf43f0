#pragma once

// An attribute of a node, an element of the node's list of attributes. Made by Document::AllocateAttribute
// and by Node::AppendAttribute.

#include "zeb/doc/xml/Base.h"

namespace Xml {

class ZEB_PUBLIC Attribute : public Base {
public:
    // The neighbour in the list; null at its end, and always while the attribute hangs nowhere.
    Attribute* NextAttribute() const { return Parent() != nullptr ? next_ : nullptr; }
    Attribute* PreviousAttribute() const { return Parent() != nullptr ? previous_ : nullptr; }

    // The nearest one of that name; an empty name means any.
    Attribute* NextAttribute(CString const& name) const;
    Attribute* PreviousAttribute(CString const& name) const;

private:
    friend class Document;
    friend class Node;
    friend struct Layout_;

    explicit Attribute(Xml::Document* document)
        : Base(document) {}
    Attribute(Xml::Document* document, String const& name, String const& value)
        : Base(document, name, value) {}

    Attribute* previous_ = nullptr;
    Attribute* next_ = nullptr;
};

static_assert(sizeof(Attribute) == 88);

} // namespace Xml
