#pragma once

// A tree on a byte stream, in a packed form with no text syntax. There is no header, version or total length.
//
//   tree    = node *item
//   item    = node | attribute | end
//   node    = tag record     tag: bits 7..6 the mark, bits 5..0 the type of the node
//                              mark 0 (0x00): first child of the node before it, or the root
//                              mark 2 (0x80): next sibling of the node before it
//   attribute = 0x40 record  an attribute of the current node (mark 1)
//   end     = 0xC0           the child list of the current level ends (mark 3)
//   record  = length name length value     length: 4 bytes, most significant first; no terminators
//
// The data type of a node is not carried. What is read lies in the pool of the document of the node, and
// nothing of the stream is kept. Waits are those of the stream; no lock is taken. Neither direction needs
// stack for depth.

#include "zeb/core/Export.h"

namespace Io {
class IStream;
class OStream;
} // namespace Io

namespace Xml {

class Node;

class ZEB_PUBLIC Stream {
public:
    static constexpr char IDENT[] = "Xml::Stream";

    Stream() = delete;

    // Writes the node and all below it. True when the stream is still good.
    static bool Write(Io::OStream& stream, Node const& node);

    // Fills the node, which must have the type of the root that was written; children and attributes are
    // appended. At most `limit` bytes are read. A failure is the state of the stream: STATE_TRUNCATED beyond
    // the limit, STATE_INVALID for a wrong tag, STATE_NO_MEMORY, STATE_FAILED, or what the stream itself came
    // to. The tree then stays as far as it came.
    static bool Read(Io::IStream& stream, Node& node, unsigned long limit);

private:
    class Reader_;
};

} // namespace Xml
