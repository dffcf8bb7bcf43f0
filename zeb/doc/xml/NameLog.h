#pragma once

// Reports of names that do not fit a node or an attribute. They stop nothing. Internal to this folder.

#include "zeb/doc/xml/CharClass.h"
#include "zeb/doc/xml/Node.h"

namespace Xml {

void LogNodeName(char const* ident, Node::TypeT type, CString const& name);
void LogAttributeName(char const* ident, CString const& name);

inline bool NeedsName(Node::TypeT type) { return type == Node::ELEMENT || type == Node::PI; }

// An element and a processing instruction need a valid name, all other nodes none.
inline void CheckNodeName(char const* ident, Node::TypeT type, CString const& name) {
    bool const good = NeedsName(type) ? IsName(name.Cstr(), name.Size()) : name.Empty();
    if (!good) LogNodeName(ident, type, name);
}

inline void CheckAttributeName(char const* ident, CString const& name) {
    if (!IsName(name.Cstr(), name.Size())) LogAttributeName(ident, name);
}

} // namespace Xml
