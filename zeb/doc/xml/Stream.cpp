#include "zeb/doc/xml/Stream.h"

#include "zeb/doc/xml/Document.h"
#include "zeb/doc/xml/NameLog.h"
#include "zeb/stream/IStream.h"
#include "zeb/stream/Writer.h"

namespace {

using Io::Stateful;
using Xml::Attribute;
using Xml::Base;
using Xml::Node;

enum MarkT : unsigned char {
    MARK_CHILD = 0x00,
    MARK_ATTRIBUTE = 0x40,
    MARK_SIBLING = 0x80,
    MARK_END = 0xC0,
};
constexpr unsigned char MARK_BITS = 0xC0;
constexpr unsigned char TYPE_BITS = 0x3F;
constexpr unsigned long LENGTH_SIZE = 4;
constexpr unsigned long LENGTH_MAX = 0xFFFFFFFF;

void WriteText(Doc::Writer& writer, CString const& text) {
    unsigned long const size = text.Size();
    char const length[LENGTH_SIZE] = {static_cast<char>(size >> 24), static_cast<char>(size >> 16),
                                      static_cast<char>(size >> 8), static_cast<char>(size)};
    writer.Put(length, LENGTH_SIZE);
    writer.Put(text);
}

bool Fits(Base const& base) { return base.Name().Size() <= LENGTH_MAX && base.Value().Size() <= LENGTH_MAX; }

// False when a length has no place in the form.
bool WriteRecord(Doc::Writer& writer, unsigned char tag, Base const& base) {
    if (!Fits(base)) return false;
    writer.Put(static_cast<char>(tag));
    WriteText(writer, base.Name());
    WriteText(writer, base.Value());
    return true;
}

bool WriteNode(Doc::Writer& writer, MarkT mark, Node const& node) {
    if (!WriteRecord(writer, static_cast<unsigned char>(mark | (node.Type() & TYPE_BITS)), node))
        return false;
    for (Attribute const* attribute = node.FirstAttribute(); attribute != nullptr;
         attribute = attribute->NextAttribute()) {
        if (!WriteRecord(writer, MARK_ATTRIBUTE, *attribute)) return false;
    }
    return !writer.Failed();
}

// The node behind this one in the order of the form, with its mark; null at the end of the tree. `isWhole`
// falls when the links do not lead back to the root.
Node const* Next(Doc::Writer& writer, Node const* node, Node const& root, MarkT& mark, bool& isWhole) {
    mark = MARK_CHILD;
    if (node->FirstNode() != nullptr) return node->FirstNode();
    mark = MARK_SIBLING;
    do {
        if (node != &root && node->NextSibling() != nullptr) return node->NextSibling();
        writer.Put(static_cast<char>(MARK_END));
        if (node == &root) return nullptr;
        node = node->Parent();
        isWhole = node != nullptr;
    } while (isWhole && node != &root);
    return nullptr;
}

} // namespace

bool Xml::Stream::Write(Io::OStream& stream, Node const& root) {
    Doc::Writer writer(stream);
    Node const* node = &root;
    MarkT mark = MARK_CHILD;
    bool isWhole = true;
    while (node != nullptr && isWhole && !writer.Failed()) {
        isWhole = WriteNode(writer, mark, *node) || writer.Failed();
        if (isWhole) node = Next(writer, node, root, mark, isWhole);
    }
    bool const isGood = writer.Finish();
    if (!isWhole) stream.SetState(Stateful::STATE_FAILED);
    return isGood && isWhole;
}

// Each step gives false once the state of the stream says why, or has said so.
class Xml::Stream::Reader_ {
public:
    Reader_(Io::IStream& stream, Node& root, unsigned long limit)
        : stream_(stream)
        , root_(root)
        , document_(*root.Doc())
        , limit_(limit)
        , current_(&root) {}

    bool Run();

private:
    bool Fail_(Stateful::StateT state) {
        stream_.SetState(state);
        return false;
    }
    unsigned long Left_() const { return limit_ - count_; }

    bool ReadTag_(unsigned char& tag);
    bool ReadLength_(unsigned long& length);
    bool ReadText_(String& text);
    bool ReadRecord_(Base& base);
    bool ReadBytes_(void* data, unsigned long size);
    bool ReadItem_(unsigned char tag);
    bool ReadNode_(Node::TypeT type);
    bool ReadAttribute_();

    Io::IStream& stream_;
    Node& root_;
    Document& document_;
    unsigned long const limit_;
    unsigned long count_ = 0;
    Node* current_; // null once the tree is complete
};

bool Xml::Stream::Reader_::Run() {
    unsigned char tag = 0;
    if (!ReadTag_(tag)) return false;
    if (tag != uint32_t{root_.Type()}) return Fail_(Stateful::STATE_INVALID);
    if (!ReadRecord_(root_)) return false;
    CheckNodeName(IDENT, root_.Type(), root_.Name());
    while (current_ != nullptr) {
        if (!ReadTag_(tag) || !ReadItem_(tag)) return false;
    }
    return true;
}

bool Xml::Stream::Reader_::ReadTag_(unsigned char& tag) {
    if (count_ != 0 && Left_() == 0) return Fail_(Stateful::STATE_TRUNCATED);
    int const c = stream_.GetChar();
    if (c == Io::IStreamBuffer::CHAR_END) return false;
    if (Left_() == 0) return Fail_(Stateful::STATE_TRUNCATED);
    ++count_;
    tag = static_cast<unsigned char>(c);
    return true;
}

bool Xml::Stream::Reader_::ReadItem_(unsigned char tag) {
    auto const type = static_cast<Node::TypeT>(tag & TYPE_BITS);
    bool const isTop = current_ == &root_;
    switch (tag & MARK_BITS) {
    case MARK_ATTRIBUTE:
        return ReadAttribute_();
    case MARK_SIBLING:
        if (isTop) return Fail_(Stateful::STATE_INVALID);
        current_ = current_->Parent();
        return ReadNode_(type);
    case MARK_END:
        current_ = isTop || current_->Parent() == &root_ ? nullptr : current_->Parent();
        return true;
    default:
        return ReadNode_(type);
    }
}

bool Xml::Stream::Reader_::ReadNode_(Node::TypeT type) {
    if (type == Node::DOCUMENT) return Fail_(Stateful::STATE_INVALID);
    Node* const node = document_.AllocateNilNode(type);
    if (node == nullptr) return Fail_(Stateful::STATE_FAILED);
    if (!ReadRecord_(*node)) return false;
    CheckNodeName(IDENT, type, node->Name());
    current_->AppendNode(node);
    if (type == Node::DATA && current_->Value().Empty()) current_->SetValue(node->Value());
    current_ = node;
    return true;
}

bool Xml::Stream::Reader_::ReadAttribute_() {
    Attribute* const attribute = document_.AllocateNilAttribute_();
    if (attribute == nullptr) return Fail_(Stateful::STATE_FAILED);
    if (!ReadRecord_(*attribute)) return false;
    CheckAttributeName(IDENT, attribute->Name());
    current_->AppendAttribute(attribute);
    return true;
}

bool Xml::Stream::Reader_::ReadRecord_(Base& base) {
    String name;
    String value;
    if (!ReadText_(name) || !ReadText_(value)) return false;
    base.SetName(name);
    base.SetValue(value);
    return true;
}

bool Xml::Stream::Reader_::ReadText_(String& text) {
    unsigned long length = 0;
    if (!ReadLength_(length)) return false;
    if (length == 0) return true;
    // The memory comes first: the limit is what bounds the reading.
    String const memory = document_.AllocateString(nullptr, length);
    if (memory.Cstr() == nullptr) return Fail_(Stateful::STATE_NO_MEMORY);
    if (length > Left_()) return Fail_(Stateful::STATE_TRUNCATED);
    if (!ReadBytes_(const_cast<char*>(memory.Cstr()), length)) return false;
    text = memory;
    return true;
}

bool Xml::Stream::Reader_::ReadLength_(unsigned long& length) {
    unsigned char bytes[LENGTH_SIZE];
    if (Left_() < LENGTH_SIZE) return Fail_(Stateful::STATE_TRUNCATED);
    if (!ReadBytes_(bytes, LENGTH_SIZE)) return false;
    for (unsigned char const byte : bytes)
        length = (length << 8) | byte;
    return true;
}

bool Xml::Stream::Reader_::ReadBytes_(void* data, unsigned long size) {
    unsigned long const left = Left_();
    count_ += size;
    if (stream_.ReadAll(data, size)) return true;
    return Fail_(left < LENGTH_SIZE ? Stateful::STATE_TRUNCATED : Stateful::STATE_FAILED);
}

bool Xml::Stream::Read(Io::IStream& stream, Node& node, unsigned long limit) {
    return Reader_(stream, node, limit).Run();
}
