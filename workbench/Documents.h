// Documents as texts that a test compares: an XML tree as it is printed, or in a short form that shows what
// print does not; and a JSON value.
//
//     Xml::Document answer;
//     status.AttachTo(answer);
//     EXPECT_EQ(XmlText(answer), "<status up=\"yes\"><rate>5</rate></status>");
//     EXPECT_EQ(XmlTree(answer), "DOC(E:status#5 @up=yes#2(E:rate=5#3))");
//
// Failure    of a stream or of memory reads as "failed"
// Memory     the stream's: not for the armed part of a sweep
#pragma once

#include "zeb/doc/json/Document.h"
#include "zeb/doc/xml/Document.h"
#include "zeb/doc/xml/Print.h"
#include "zeb/stream/StringStream.h"

#include <algorithm>
#include <string>

// What `write` puts into a stream with a block of that size; any writer that takes an Io::OStream.
inline std::string StreamText(auto const& write, unsigned long block = 4096) {
    Io::StringStream stream(CString::Nil(), Io::MODE_READ_WRITE, Io::EOL_LF, block, 1L << 40);
    if (!write(stream) || !stream.Flush()) return "failed";
    return {stream.Str().Cstr(), stream.Str().Size()};
}

// The node and what is below it as Xml::Print writes it, compact unless the flags say otherwise.
inline std::string XmlText(Xml::Node const& node, unsigned flags = Xml::PRINT_COMPACT,
                           unsigned long indent = 0, unsigned long block = 128) {
    auto const options = static_cast<Xml::PrintFlagsT>(flags);
    return StreamText([&](auto& to) { return Xml::Print(to, node, options, indent); }, block);
}

// A JSON value as it is printed.
inline std::string JsonText(Json::Value const& value, bool compact = true) {
    return StreamText([&](auto& to) { return Json::Print(to, value, compact); });
}

// For each node: a mark for its type (E element, D data, CD CDATA, CO comment, DEC declaration, DT document
// type, PI instruction), ":name", "=value", "#data type" unless it is a string, " @name=value" of attributes,
// children in brackets. Says "!link" where the links of a list do not agree in both directions, and "!end"
// where a text has no NUL behind it.
inline std::string XmlTree(Xml::Node const& node) {
    static char const* const marks[] = {"DOC", "E", "D", "CD", "CO", "DEC", "DT", "PI", "?"};
    auto const text = [](CString const& view) { return std::string(view.Cstr(), view.Size()); };
    auto const words = [&](Xml::Base const& base) {
        std::string out = base.Value().Empty() ? "" : "=" + text(base.Value());
        for (Xml::String const* string : {&base.Name(), &base.Value()})
            if (string->Cstr()[string->Size()] != '\0') out += "!end";
        return base.DataType() == Xml::Base::DATA_STRING ? out : out + "#" + std::to_string(base.DataType());
    };
    std::string out = marks[std::min<unsigned>(node.Type(), 8)];
    out += (node.Name().Empty() ? "" : ":" + text(node.Name())) + words(node);
    Xml::Attribute const* lastAttribute = nullptr;
    for (auto const* a = node.FirstAttribute(); a != nullptr; lastAttribute = a, a = a->NextAttribute()) {
        out += " @" + text(a->Name()) + words(*a);
        if (a->Parent() != &node || a->PreviousAttribute() != lastAttribute) out += "!link";
    }
    Xml::Node const* last = nullptr;
    for (auto const* n = node.FirstNode(); n != nullptr; last = n, n = n->NextSibling()) {
        out += (last == nullptr ? "(" : " ") + XmlTree(*n);
        if (n->Parent() != &node || n->PreviousSibling() != last || n->Doc() != node.Doc()) out += "!link";
    }
    if (node.LastAttribute() != lastAttribute || node.LastNode() != last) out += "!link";
    return last == nullptr ? out : out + ")";
}
