#include "zeb/doc/xml/Print.h"

#include "zeb/doc/xml/Attribute.h"
#include "zeb/doc/xml/Escape.h"
#include "zeb/doc/xml/Node.h"

namespace {

using Xml::Attribute;
using Xml::Node;

class Printer {
public:
    Printer(Io::OStream& stream, Xml::PrintFlagsT flags)
        : writer_(stream)
        , flags_(flags)
        , isCompact_((flags & Xml::PRINT_COMPACT) != 0)
        , endOfLine_(isCompact_                       ? ""
                     : (flags & Xml::PRINT_CRLF) != 0 ? "\r\n"
                                                      : "\n") {}

    bool Print(Node const& node, unsigned long level) {
        PrintTree_(node, level);
        return writer_.Finish();
    }

private:
    unsigned long Indent_(unsigned long level) const { return isCompact_ ? 0 : level * 4; }
    void PrintEndOfLine_() { writer_.Put(endOfLine_); }
    void PrintEscaped_(CString const& value) { Xml::WriteEscaped<Xml::ESCAPE_ALL>(writer_, value, flags_); }
    void PrintCodepoints_(CString const& value) {
        Xml::WriteEscaped<Xml::ESCAPE_NONE>(writer_, value, Xml::PRINT_DEFAULT);
    }

    void PrintAttributes_(Node const& node);
    void PrintAttribute_(CString const& name, CString const& value);
    void PrintClosingTag_(CString const& name, unsigned long indent);
    template<typename WriteT>
    void PrintText_(CString const& value, CString const& name, unsigned long size, WriteT const& ahead);
    bool BeginElement_(Node const& node, unsigned long level);
    void PrintLeaf_(Node const& node);
    bool Begin_(Node const& node, unsigned long level);
    void End_(Node const& node, unsigned long level);
    bool PrintTree_(Node const& top, unsigned long level);

    Doc::Writer writer_;
    Xml::PrintFlagsT const flags_;
    bool const isCompact_;
    CString const endOfLine_;
};

void Printer::PrintAttribute_(CString const& name, CString const& value) {
    if (Xml::IsPlain<Xml::ESCAPE_ALL>(value.Cstr(), value.Size())) {
        return writer_.PutPiece(name.Size() + value.Size() + 4, [&](auto& out) {
            out.Put(' ');
            out.Put(name);
            out.Put("=\"");
            out.Put(value);
            out.Put('"');
        });
    }
    // Which quotes the value holds decides the quotes around it.
    bool const quotes = memchr(value.Cstr(), '"', value.Size()) != nullptr;
    bool const apostrophes = memchr(value.Cstr(), '\'', value.Size()) != nullptr;
    Xml::EscapeMaskT const mask = quotes == apostrophes ? Xml::ESCAPE_ALL
                                  : quotes              ? Xml::ESCAPE_ALL_BUT_QUOTES
                                                        : Xml::ESCAPE_ALL_BUT_APOSTROPHES;
    char const quote = mask == Xml::ESCAPE_ALL_BUT_QUOTES ? '\'' : '"';
    writer_.Put(' ');
    writer_.Put(name);
    writer_.Put('=');
    writer_.Put(quote);
    Xml::WriteEscapedSlow(writer_, value, mask, flags_);
    writer_.Put(quote);
}

void Printer::PrintAttributes_(Node const& node) {
    for (Attribute const* attribute = node.FirstAttribute(); attribute != nullptr;
         attribute = attribute->NextAttribute()) {
        if (!attribute->Name().Empty()) PrintAttribute_(attribute->Name(), attribute->Value());
    }
}

void Printer::PrintClosingTag_(CString const& name, unsigned long indent) {
    writer_.PutPiece(indent + name.Size() + 5, [&](auto& out) {
        out.Fill(' ', indent);
        out.Put("</");
        out.Put(name);
        out.Put('>');
        out.Put(endOfLine_);
    });
}

// The text of an element, from the end of its start tag to its own end. `ahead`, of at most `size` bytes, is
// written in one piece with it.
template<typename WriteT>
void Printer::PrintText_(CString const& value, CString const& name, unsigned long size, WriteT const& ahead) {
    if (Xml::IsPlain<Xml::ESCAPE_ALL>(value.Cstr(), value.Size())) {
        return writer_.PutPiece(size + value.Size() + name.Size() + 6, [&](auto& out) {
            ahead(out);
            out.Put('>');
            out.Put(value);
            out.Put("</");
            out.Put(name);
            out.Put('>');
            out.Put(endOfLine_);
        });
    }
    ahead(writer_);
    writer_.Put('>');
    Xml::WriteEscapedSlow(writer_, value, Xml::ESCAPE_ALL, flags_);
    PrintClosingTag_(name, 0);
}

// Prints the element and gives false; or what stands ahead of its children, when they stand on lines of their
// own.
bool Printer::BeginElement_(Node const& node, unsigned long level) {
    unsigned long const indent = Indent_(level);
    unsigned long const size = indent + node.Name().Size() + 1;
    auto const start = [&](auto& out) {
        out.Fill(' ', indent);
        out.Put('<');
        out.Put(node.Name());
    };
    Node const* const child = node.FirstNode();
    bool const isText = child == nullptr || (child->Type() == Node::DATA && child->NextSibling() == nullptr);
    CString const& text = child != nullptr ? child->Value() : node.Value();
    bool const isEmpty = child == nullptr && text.Empty() && (flags_ & Xml::PRINT_NO_EMPTY_TAG) == 0;
    bool const isWhole = isText && !isEmpty;
    if (isWhole && node.FirstAttribute() == nullptr) {
        PrintText_(text, node.Name(), size, start);
        return false;
    }
    writer_.PutPiece(size, start);
    PrintAttributes_(node);
    if (isWhole) {
        PrintText_(text, node.Name(), 0, [](auto&) {});
        return false;
    }
    if (isEmpty) writer_.Put('/');
    writer_.Put('>');
    PrintEndOfLine_();
    return !isEmpty;
}

void Printer::PrintLeaf_(Node const& node) {
    switch (node.Type()) {
    case Node::DATA:
        return PrintEscaped_(node.Value());
    case Node::CDATA:
        writer_.Put("<![CDATA[");
        PrintCodepoints_(node.Value());
        return writer_.Put("]]>");
    case Node::COMMENT:
        writer_.Put("<!--");
        PrintCodepoints_(node.Value());
        return writer_.Put("-->");
    case Node::DECLARATION:
        writer_.Put("<?xml");
        PrintAttributes_(node);
        return writer_.Put("?>");
    case Node::DOCTYPE:
        writer_.Put("<!DOCTYPE ");
        PrintCodepoints_(node.Value());
        return writer_.Put('>');
    case Node::PI:
        writer_.Put("<?");
        writer_.Put(node.Name());
        writer_.Put(' ');
        PrintCodepoints_(node.Value());
        return writer_.Put("?>");
    default:
        return;
    }
}

// Prints the node and gives false; or what stands ahead of its children, and gives true.
bool Printer::Begin_(Node const& node, unsigned long level) {
    if (node.Type() == Node::ELEMENT) return BeginElement_(node, level);
    if (node.Type() == Node::DOCUMENT) {
        if (node.FirstNode() != nullptr) return true;
    } else {
        writer_.Fill(' ', Indent_(level));
        PrintLeaf_(node);
    }
    PrintEndOfLine_();
    return false;
}

void Printer::End_(Node const& node, unsigned long level) {
    if (node.Type() == Node::ELEMENT) return PrintClosingTag_(node.Name(), Indent_(level));
    PrintEndOfLine_();
}

// Climbs by the parents, so that a deep tree needs no stack. A node that was cut off by RemoveAllNodes() but
// is still in reach has no way up, and is printed by a call of its own.
bool Printer::PrintTree_(Node const& top, unsigned long level) {
    Node const* owner = nullptr;
    Node const* node = &top;
    for (;;) {
        bool const isForeign = node != &top && node->Parent() != owner;
        if (isForeign) {
            PrintTree_(*node, level);
        } else if (Begin_(*node, level)) {
            if (node->Type() != Node::DOCUMENT) ++level;
            owner = node;
            node = node->FirstNode();
            continue;
        }
        for (;;) {
            if (node == &top || writer_.Failed()) return !writer_.Failed();
            if (node->NextSibling() != nullptr) break;
            if (owner->Type() != Node::DOCUMENT) --level;
            End_(*owner, level);
            node = owner;
            owner = owner->Parent();
        }
        node = node->NextSibling();
    }
}

} // namespace

bool Xml::Print(Io::OStream& stream, Node const& node, PrintFlagsT flags, unsigned long indent) {
    return Printer(stream, flags).Print(node, indent);
}
