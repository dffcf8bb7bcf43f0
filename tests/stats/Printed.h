// The compact text of a document.
#pragma once

#include "zeb/doc/xml/Document.h"
#include "zeb/doc/xml/Print.h"
#include "zeb/io/StringStream.h"

#include <string>

inline std::string Printed(Xml::Document const& document) {
    Io::StringStream text;
    return Xml::Print(text, document, Xml::PRINT_COMPACT) && text.Flush() ? text.Str().Cstr() : "not printed";
}
