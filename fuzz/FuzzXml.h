// What both XML targets compare trees with.
#pragma once

#include "zeb/doc/xml/Document.h"

#include <string>

inline std::string TreeText(Xml::Node const& node) {
    auto const text = [](CString const& part) {
        return std::to_string(part.Size()) + ":" + std::string(part.Cstr(), part.Size()) + ",";
    };
    std::string out = "(" + std::to_string(node.Type()) + text(node.Name()) + text(node.Value());
    for (auto const* a = node.FirstAttribute(); a != nullptr; a = a->NextAttribute())
        out += "@" + text(a->Name()) + text(a->Value());
    for (auto const* child = node.FirstNode(); child != nullptr; child = child->NextSibling())
        out += TreeText(*child);
    return out + ")";
}
