#include "zeb/doc/xml/Print.h"

#include "zeb/core/Simd.h"
#include "zeb/doc/Writer.h"
#include "zeb/doc/xml/Attribute.h"
#include "zeb/doc/xml/Codepoint.h"
#include "zeb/doc/xml/Node.h"

namespace {

using Xml::Attribute;
using Xml::Node;

// One row for each character that has an entity, in the order of the bits of an escape mask.
struct EntityT {
    char character;
    char size;
    char text[7];
};
constexpr EntityT ENTITIES[] = {
    {'<', 4, "&lt;"}, {'>', 4, "&gt;"}, {'\'', 6, "&apos;"}, {'"', 6, "&quot;"}, {'&', 5, "&amp;"},
};
constexpr unsigned ENTITY_COUNT = 5;

using MaskT = unsigned;
constexpr MaskT ESCAPE_NONE = 0;
constexpr MaskT ESCAPE_ALL = 31;
constexpr MaskT ESCAPE_ALL_BUT_QUOTES = 23;
constexpr MaskT ESCAPE_ALL_BUT_APOSTROPHES = 27;

// Copies values: runs of bytes that stand for themselves at one go, the others one by one.
class Escaper {
public:
    explicit Escaper(MaskT mask)
        : mask_(mask) {
        for (unsigned i = 0; i < ENTITY_COUNT; ++i) {
            // A row that is off looks for a control character, which never stands for itself.
            needles_[i] = Simd::Splat((mask & (1U << i)) != 0 ? ENTITIES[i].character : '\1');
        }
    }

    void Write(Doc::Writer& writer, CString const& value, Xml::PrintFlagsT flags) const {
        char const* at = value.Cstr();
        char const* const end = at + value.Size();
        while (at != end) {
            at = CopyPlain_(writer, at, end);
            if (at == end) return;
            at += WriteOne_(writer, at, static_cast<unsigned long>(end - at), flags);
        }
    }

    // Whether the whole value stands for itself; false when that takes longer to tell.
    bool IsShortPlain(CString const& value) const {
        unsigned long const size = value.Size();
        if (size < 4 || size > Simd::COUNT) return false;
        return Specials_(LoadShort_(value.Cstr(), size)) == 0;
    }

private:
    Simd::Set Specials_(Simd::Block block) const {
        Simd::Block found = Simd::SignedBelow(block, Simd::Splat(' '));
        for (Simd::Block const& needle : needles_)
            found = found | Simd::Equal(block, needle);
        return Simd::Positions(found);
    }

    // All bytes of a text of 4 to 16 bytes, in no order.
    static Simd::Block LoadShort_(char const* text, unsigned long size) {
        char bytes[Simd::COUNT];
        unsigned long const part = size >= 8 ? 8 : 4;
        if (part == 8) {
            memcpy(bytes, text, 8);
            memcpy(bytes + 8, text + size - 8, 8);
        } else {
            memcpy(bytes, text, 4);
            memcpy(bytes + 4, text + size - 4, 4);
            memcpy(bytes + 8, bytes, 8);
        }
        return Simd::Load(bytes);
    }

    // Copies up to the first byte that does not stand for itself, and returns it.
    char const* CopyPlain_(Doc::Writer& writer, char const* at, char const* end) const {
        while (end - at >= static_cast<long>(Simd::COUNT) && writer.Room() >= Simd::COUNT) {
            Simd::Block const block = Simd::Load(at);
            Simd::Store(writer.At(), block);
            Simd::Set const specials = Specials_(block);
            unsigned const count = specials != 0 ? Simd::First(specials) : Simd::COUNT;
            writer.Advance(count);
            at += count;
            if (specials != 0) return at;
        }
        auto const left = static_cast<unsigned long>(end - at);
        if (left >= 4 && left <= Simd::COUNT && Specials_(LoadShort_(at, left)) == 0) {
            writer.Put(at, left);
            return end;
        }
        while (at != end && IsPlain_(*at))
            writer.Put(*at++);
        return at;
    }

    bool IsPlain_(char c) const { return c >= ' ' && Entity_(c) == nullptr; }

    EntityT const* Entity_(char c) const {
        for (unsigned i = 0; i < ENTITY_COUNT; ++i) {
            if (ENTITIES[i].character == c) return (mask_ & (1U << i)) != 0 ? &ENTITIES[i] : nullptr;
        }
        return nullptr;
    }

    unsigned long WriteOne_(Doc::Writer& writer, char const* at, unsigned long left,
                            Xml::PrintFlagsT flags) const {
        EntityT const* const entity = Entity_(*at);
        if (entity != nullptr) {
            writer.Put(entity->text, static_cast<unsigned long>(entity->size));
            return 1;
        }
        Xml::Codepoint const codepoint = Xml::ParseCodepoint_(at, left);
        Xml::PrintCodepoint_(writer, codepoint.value, flags);
        return codepoint.size;
    }

    MaskT const mask_;
    Simd::Block needles_[ENTITY_COUNT];
};

class Printer {
public:
    Printer(Io::OStream& stream, Xml::PrintFlagsT flags)
        : writer_(stream)
        , flags_(flags) {}

    bool Print(Node const& node, unsigned long level) {
        PrintTree_(node, level);
        return writer_.Finish();
    }

private:
    bool Is_(Xml::PrintFlagsT flag) const { return (flags_ & flag) != 0; }

    void PrintIndent_(unsigned long level) {
        if (!Is_(Xml::PRINT_COMPACT)) writer_.Fill(' ', level * 4);
    }
    void PrintEndOfLine_() {
        if (Is_(Xml::PRINT_COMPACT)) return;
        if (Is_(Xml::PRINT_CRLF)) writer_.Put('\r');
        writer_.Put('\n');
    }
    void PrintEscaped_(CString const& value) { all_.Write(writer_, value, flags_); }
    void PrintCodepoints_(CString const& value) { none_.Write(writer_, value, Xml::PRINT_DEFAULT); }

    void PrintAttributes_(Node const& node);
    void PrintAttributeValue_(CString const& value);
    bool BeginElement_(Node const& node);
    void PrintLeaf_(Node const& node);
    bool Begin_(Node const& node, unsigned long level);
    void End_(Node const& node, unsigned long level);
    bool PrintTree_(Node const& top, unsigned long level);

    Doc::Writer writer_;
    Xml::PrintFlagsT const flags_;
    Escaper const all_{ESCAPE_ALL};
    Escaper const none_{ESCAPE_NONE};
};

void Printer::PrintAttributeValue_(CString const& value) {
    if (value.Empty() || all_.IsShortPlain(value)) {
        writer_.Put('"');
        writer_.Put(value);
        return writer_.Put('"');
    }
    bool const quotes = memchr(value.Cstr(), '"', value.Size()) != nullptr;
    bool const apostrophes = memchr(value.Cstr(), '\'', value.Size()) != nullptr;
    char const quote = quotes && !apostrophes ? '\'' : '"';
    writer_.Put(quote);
    if (quotes == apostrophes) {
        PrintEscaped_(value);
    } else {
        Escaper(quotes ? ESCAPE_ALL_BUT_QUOTES : ESCAPE_ALL_BUT_APOSTROPHES).Write(writer_, value, flags_);
    }
    writer_.Put(quote);
}

void Printer::PrintAttributes_(Node const& node) {
    for (Attribute const* attribute = node.FirstAttribute(); attribute != nullptr;
         attribute = attribute->NextAttribute()) {
        if (attribute->Name().Empty()) continue;
        writer_.Put(' ');
        writer_.Put(attribute->Name());
        writer_.Put('=');
        PrintAttributeValue_(attribute->Value());
    }
}

// True when the children follow, each on lines of its own.
bool Printer::BeginElement_(Node const& node) {
    writer_.Put('<');
    writer_.Put(node.Name());
    PrintAttributes_(node);
    Node const* const child = node.FirstNode();
    if (child == nullptr && node.Value().Empty() && !Is_(Xml::PRINT_NO_EMPTY_TAG)) {
        writer_.Put("/>");
        return false;
    }
    writer_.Put('>');
    bool const isText = child == nullptr || (child->Type() == Node::DATA && child->NextSibling() == nullptr);
    if (!isText) {
        PrintEndOfLine_();
        return true;
    }
    PrintEscaped_(child != nullptr ? child->Value() : node.Value());
    writer_.Put("</");
    writer_.Put(node.Name());
    writer_.Put('>');
    return false;
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

// Prints what stands ahead of the children and gives true, or the whole node and gives false.
bool Printer::Begin_(Node const& node, unsigned long level) {
    if (node.Type() == Node::DOCUMENT) {
        if (node.FirstNode() != nullptr) return true;
    } else {
        PrintIndent_(level);
        if (node.Type() != Node::ELEMENT) {
            PrintLeaf_(node);
        } else if (BeginElement_(node)) {
            return true;
        }
    }
    PrintEndOfLine_();
    return false;
}

void Printer::End_(Node const& node, unsigned long level) {
    if (node.Type() == Node::ELEMENT) {
        PrintIndent_(level);
        writer_.Put("</");
        writer_.Put(node.Name());
        writer_.Put('>');
    }
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
