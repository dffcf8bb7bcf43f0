// What the tests of the trees share: a short form of a tree, its printed form, parsed texts, and random
// trees.
#pragma once

#include "zeb/doc/xml/Document.h"
#include "zeb/doc/xml/Print.h"
#include "zeb/io/StringStream.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <random>
#include <string>

using Xml::Attribute, Xml::Document, Xml::Node;

inline std::string Text(CString const& text) { return std::string(text.Cstr(), text.Size()); }
inline CString View(std::string const& text) { return CString(text.data(), text.size()); }

// For each node: a mark for its type, name, "=value", "#data type" unless it is a string, attributes,
// children in brackets. The links of each list are followed both ways.
inline std::string Dump(Node const& node) {
    static char const* const marks[] = {"DOC", "E", "D", "CD", "CO", "DEC", "DT", "PI", "?"};
    auto const words = [](Xml::Base const& base) {
        std::string out = base.Value().Empty() ? "" : "=" + Text(base.Value());
        return base.DataType() == Xml::Base::DATA_STRING ? out : out + "#" + std::to_string(base.DataType());
    };
    std::string out = marks[std::min<unsigned>(node.Type(), 8)];
    out += (node.Name().Empty() ? "" : ":" + Text(node.Name())) + words(node);
    Attribute const* lastAttribute = nullptr;
    for (auto const* a = node.FirstAttribute(); a != nullptr; lastAttribute = a, a = a->NextAttribute()) {
        out += " @" + Text(a->Name()) + words(*a);
        if (a->Parent() != &node || a->PreviousAttribute() != lastAttribute) out += "!link";
    }
    Node const* last = nullptr;
    for (auto const* n = node.FirstNode(); n != nullptr; last = n, n = n->NextSibling()) {
        out += (last == nullptr ? "(" : " ") + Dump(*n);
        if (n->Parent() != &node || n->PreviousSibling() != last || n->Doc() != node.Doc()) out += "!link";
    }
    if (node.LastAttribute() != lastAttribute || node.LastNode() != last) out += "!link";
    return last == nullptr ? out : out + ")";
}

// The printed form, through a block of that size.
inline std::string Printed(Node const& node, unsigned flags = Xml::PRINT_COMPACT, unsigned long indent = 0,
                           unsigned long block = 128) {
    Io::StringStream stream(CString::Nil(), Io::MODE_READ_WRITE, Io::EOL_LF, block, 1L << 24);
    bool const ok = Xml::Print(stream, node, static_cast<Xml::PrintFlagsT>(flags), indent) && stream.Flush();
    return ok ? Text(stream.Str()) : "failed";
}

// A parsed text. It stands alone on the heap, so that a read beyond its end is seen.
struct Parsed {
    explicit Parsed(std::string const& text, unsigned flags = 0, Log::VerboseT verbose = Log::VERBOSE_ON)
        : buffer(new char[text.size() + 1]) {
        memcpy(buffer.get(), text.c_str(), text.size() + 1);
        code = document.Parse(buffer.get(), static_cast<Document::ParseFlagsT>(flags), verbose);
    }
    std::string Tree() const { return Dump(document); }
    Node& First() const { return *document.FirstNode(); }

    std::unique_ptr<char[]> buffer;
    Document document;
    ReturnT code;
};

// Leaves nothing of the block in the document, so that the next allocation goes to the system.
inline void UseInlineBlock(Document& document) {
    ASSERT_NE(document.AllocateString(nullptr, 2047).Cstr(), nullptr);
}

// A tree that every form keeps: names are valid, a text never stands beside a text, and an element has the
// value of its first text.
class RandomTree {
public:
    explicit RandomTree(unsigned seed)
        : random_(seed) {}

    void Fill(Node& node, unsigned depth) {
        bool const isTop = node.Type() == Node::DOCUMENT;
        for (unsigned i = Below_(6); i != 0; --i) {
            bool const mayBeText =
                !isTop && (node.LastNode() == nullptr || node.LastNode()->Type() != Node::DATA);
            unsigned const kind = Below_(8);
            if (kind < 2 && mayBeText) {
                Node* const data = Add_(node, Node::DATA, "", "x" + Value_());
                if (node.Value().Empty()) node.SetValue(data->Value());
            } else if (kind == 2) {
                Add_(node, Node::COMMENT, "", "comment");
            } else if (kind == 3) {
                Add_(node, Node::PI, Name_(), "pi");
            } else if (kind == 4 && !isTop) {
                Add_(node, Node::CDATA, "", "<&>");
            } else {
                Node* const element = Add_(node, Node::ELEMENT, Name_(), "");
                for (unsigned a = Below_(4); a != 0; --a)
                    element->AppendAttribute(View(Name_() + std::to_string(a)), View(Value_()));
                if (depth != 0) Fill(*element, depth - 1);
            }
        }
    }

private:
    unsigned Below_(unsigned bound) { return static_cast<unsigned>(random_() % bound); }
    std::string Name_() { return std::string(1 + Below_(20), static_cast<char>('a' + Below_(26))); }
    std::string Value_() {
        static char const* const parts[] = {
            "<", "&", "'", "\"", "\n\t ", "123456", "\xC3\xA9", "\xF0\x9F\x98\x80", "plain text"};
        std::string value;
        for (unsigned i = Below_(5); i != 0; --i)
            value += parts[Below_(std::size(parts))];
        return value;
    }
    static Node* Add_(Node& parent, Node::TypeT type, std::string const& name, std::string const& value) {
        auto const copy = [&](std::string const& s) {
            return parent.Doc()->AllocateString(s.c_str(), s.size());
        };
        Node* const node = parent.Doc()->AllocateNode(type, copy(name), copy(value));
        parent.AppendNode(node);
        return node;
    }

    std::mt19937 random_;
};
