// What the tests of the trees share: parsed texts, random trees, and sweeps over memory.
#pragma once

#include "workbench/Documents.h"
#include "workbench/Heap.h"
#include "workbench/LogCapture.h"

#include <gmock/gmock.h>
#include <random>

using LinesT = LogCapture::LinesT;
using Xml::Attribute, Xml::Document, Xml::Node;

inline std::string const FAILED = "C Xml::Document: system failed [0xcffd****], ";

inline std::string Text(CString const& text) { return std::string(text.Cstr(), text.Size()); }
inline CString View(std::string const& text) { return CString(text.data(), text.size()); }

// A parsed text. It stands alone on the heap, so that a read beyond its end is seen.
struct Parsed {
    explicit Parsed(std::string const& text, unsigned flags = 0, Log::VerboseT verbose = Log::VERBOSE_ON)
        : buffer(new char[text.size() + 1]) {
        memcpy(buffer.get(), text.c_str(), text.size() + 1);
        code = document.Parse(buffer.get(), static_cast<Document::ParseFlagsT>(flags), verbose);
    }
    std::string Tree() const { return XmlTree(document); }
    Node& First() const { return *document.FirstNode(); }

    std::unique_ptr<char[]> buffer;
    Document document;
    ReturnT code;
};

// Grows a tree that every form keeps: names are valid, a text never stands beside a text, and an element has
// the value of its first text.
inline void GrowTree(Node& node, std::mt19937& random, unsigned depth) {
    static std::string const parts[] = {"<", "&", "'", "\"", "\n\t ", "123456", "\xC3\xA9", "\xF0\x9F\x98\x80", "plain text"};
    auto const name = [&] { return std::string(1 + random() % 20, static_cast<char>('a' + random() % 26)); };
    auto const value = [&](std::string text) {
        for (unsigned i = random() % 5; i != 0; --i) text += parts[random() % std::size(parts)];
        return text;
    };
    auto const kept = [&](std::string const& bytes) { return node.Doc()->AllocateString(bytes.c_str(), 0); };
    auto const add = [&](Node::TypeT type, std::string const& title, std::string const& text) {
        return node.AppendNode(node.Doc()->AllocateNode(type, kept(title), kept(text))), node.LastNode();
    };
    for (unsigned i = random() % 6; i != 0; --i) {
        unsigned const kind = node.Type() == Node::DOCUMENT ? 2 + random() % 5 : random() % 8;
        bool const afterText = node.LastNode() != nullptr && node.LastNode()->Type() == Node::DATA;
        if (kind == 2) add(Node::COMMENT, "", "comment");
        if (kind == 3) add(Node::PI, name(), "pi");
        if (kind == 7) add(Node::CDATA, "", "<&>");
        if (kind < 2 && !afterText) {
            Xml::String const& text = add(Node::DATA, "", value("x"))->Value();
            if (node.Value().Empty()) node.SetValue(text);
        } else if (kind != 2 && kind != 3 && kind != 7) {
            Node& element = *add(Node::ELEMENT, name(), "");
            for (unsigned a = random() % 4; a != 0; --a)
                element.AppendAttribute(View(name() + std::to_string(a)), View(value("")));
            if (depth != 0) GrowTree(element, random, depth - 1);
        }
    }
}

inline void GrowTree(Document& document, unsigned seed) {
    std::mt19937 random(seed);
    GrowTree(document, random, 5);
}

// Leaves nothing of the block in the document, so that the next allocation goes to the system.
inline void UseInlineBlock(Document& document) { ASSERT_NE(document.AllocateString(nullptr, 2047).Cstr(), nullptr); }

// An operation on a document without room succeeds, and leaves it valid, exactly when there was memory; after
// a failure nothing is taken until Clear().
inline void SweepDocument(std::function<bool(Document&)> const& operation) {
    ForEveryAllocation([&](Heap& heap) {
        Document document;
        UseInlineBlock(document);
        bool const ok = Reported(heap, [&] { return operation(document); });
        EXPECT_EQ(document.Valid(), ok);
        if (ok) return;
        EXPECT_FALSE(document.FirstNode() || operation(document) || document.AppendElement("a")) << "until Clear()";
        document.Clear();
        EXPECT_TRUE(document.AppendElement("a") && document.Valid());
    });
}
