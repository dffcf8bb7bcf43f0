// What the tests of the trees share: a short form of a tree, its printed forms, parsed texts, and random
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
#include <vector>

inline std::string Text(CString const& text) { return std::string(text.Cstr(), text.Size()); }

inline CString View(std::string const& text) { return CString(text.data(), text.size()); }

// One word for each node: a mark for its type, name, "=value", attributes, children in brackets;
// and the links of each list are walked both ways.
inline std::string Dump(Xml::Node const& node) {
    static char const* const marks[] = {"DOC", "E", "D", "CD", "CO", "DEC", "DT", "PI", "?"};
    std::string out = marks[node.Type() <= Xml::Node::PI ? node.Type() : Xml::Node::PI + 1];
    if (!node.Name().Empty()) out += ":" + Text(node.Name());
    if (!node.Value().Empty()) out += "=" + Text(node.Value());
    Xml::Attribute const* lastAttribute = nullptr;
    for (auto const* a = node.FirstAttribute(); a != nullptr; lastAttribute = a, a = a->NextAttribute()) {
        out += " @" + Text(a->Name()) + "=" + Text(a->Value());
        if (a->Parent() != &node || a->PreviousAttribute() != lastAttribute) out += "!link";
    }
    if (node.LastAttribute() != lastAttribute) out += "!last";
    Xml::Node const* last = nullptr;
    for (auto const* child = node.FirstNode(); child != nullptr; last = child, child = child->NextSibling()) {
        out += (last == nullptr ? "(" : " ") + Dump(*child);
        if (child->Parent() != &node || child->PreviousSibling() != last || child->Doc() != node.Doc())
            out += "!link";
    }
    if (node.LastNode() != last) out += "!last";
    return last == nullptr ? out : out + ")";
}

// The printed form through a block of that size.
inline std::string Printed(Xml::Node const& node, Xml::PrintFlagsT flags = Xml::PRINT_COMPACT,
                           unsigned long indent = 0, unsigned long block = 128) {
    Io::StringStream stream(CString::Nil(), Io::MODE_READ_WRITE, Io::EOL_LF, block, 1L << 24);
    if (!Xml::Print(stream, node, flags, indent) || !stream.Flush())
        return "failed: " + std::string(stream.ErrorString());
    return Text(stream.Str());
}

// A parsed text. It stands alone on the heap, so that a read beyond its end is seen.
struct Parsed {
    explicit Parsed(std::string const& text, unsigned flags = 0, Log::VerboseT verbose = Log::VERBOSE_ON)
        : buffer(new char[text.size() + 1]) {
        memcpy(buffer.get(), text.c_str(), text.size() + 1);
        code = document.Parse(buffer.get(), static_cast<Xml::Document::ParseFlagsT>(flags), verbose);
    }
    std::string Tree() const { return Dump(document); }

    std::unique_ptr<char[]> buffer;
    Xml::Document document;
    ReturnT code;
};

// Leaves nothing of the block in the document, so that the next allocation goes to the system.
inline void UseInlineBlock(Xml::Document& document) {
    ASSERT_NE(document.AllocateString(nullptr, 2047).Cstr(), nullptr);
}

// A tree that every form keeps: names are valid, a text never stands beside a text, and an element has the
// value of its first text.
class RandomTree {
public:
    explicit RandomTree(unsigned seed)
        : random_(seed) {}

    void Fill(Xml::Node& node, unsigned depth) {
        bool wasText = node.Type() == Xml::Node::DOCUMENT;
        for (unsigned i = Below_(6); i != 0; --i) {
            unsigned const kind = Below_(8);
            if (kind < 2 && !wasText) {
                Xml::Node* const data = Add_(node, Xml::Node::DATA, "", "x" + Value_());
                if (node.Value().Empty()) node.SetValue(data->Value());
            } else if (kind == 2) {
                Add_(node, Xml::Node::COMMENT, "", "c" + std::to_string(Below_(1000)));
            } else if (kind == 3) {
                Add_(node, Xml::Node::PI, Name_(), "p" + std::to_string(Below_(1000)));
            } else if (kind == 4 && node.Type() != Xml::Node::DOCUMENT) {
                Add_(node, Xml::Node::CDATA, "", "<&>" + std::to_string(Below_(1000)));
            } else {
                Xml::Node* const element = Add_(node, Xml::Node::ELEMENT, Name_(), "");
                for (unsigned a = Below_(4); a != 0; --a)
                    element->AppendAttribute(View(Name_() + std::to_string(a)), View(Value_()));
                if (depth != 0) Fill(*element, depth - 1);
            }
            wasText = node.LastNode()->Type() == Xml::Node::DATA || node.Type() == Xml::Node::DOCUMENT;
        }
    }

private:
    unsigned Below_(unsigned bound) { return static_cast<unsigned>(random_() % bound); }
    std::string Name_() { return std::string(1 + Below_(20), static_cast<char>('a' + Below_(26))); }
    std::string Value_() {
        static char const* const parts[] = {"<",
                                            ">",
                                            "&",
                                            "'",
                                            "\"",
                                            "\n",
                                            "\t",
                                            " ",
                                            "1234567",
                                            "\xC3\xA9",
                                            "\xE2\x82\xAC",
                                            "\xF0\x9F\x98\x80",
                                            "plain text of some length",
                                            "z"};
        std::string value;
        for (unsigned i = Below_(5); i != 0; --i)
            value += parts[Below_(std::size(parts))];
        return value;
    }
    Xml::Node* Add_(Xml::Node& parent, Xml::Node::TypeT type, std::string const& name,
                    std::string const& value) {
        Xml::Document& document = *parent.Doc();
        auto const copy = [&](std::string const& s) {
            return s.empty() ? Xml::String() : document.AllocateString(s.data(), s.size());
        };
        Xml::Node* const node = document.AllocateNode(type, copy(name), copy(value));
        parent.AppendNode(node);
        return node;
    }

    std::mt19937 random_;
};
