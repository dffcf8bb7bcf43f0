#pragma once

// The text form of a tree.

#include "zeb/core/Export.h"

#include <cstdint>

namespace Io {
class OStream;
}

namespace Xml {

class Node;

enum PrintFlagsT : uint32_t {
    PRINT_DEFAULT = 0,
    PRINT_COMPACT = 1,      // no indentation and no line ends
    PRINT_ASCII = 2,        // in data and attribute values, code points from 128 up become numeric references
    PRINT_CRLF = 4,         // a line ends in CR LF
    PRINT_NO_EMPTY_TAG = 8, // <x></x> for <x/>
};

constexpr PrintFlagsT operator|(PrintFlagsT a, PrintFlagsT b) {
    return static_cast<PrintFlagsT>(uint32_t{a} | uint32_t{b});
}

// Writes the node and all below it. `indent` is the level at which the node stands, 4 blanks each. The format
// settings of the stream (width, fill, case) have no effect, and the text stays in its block until it is
// flushed. True when the stream is still good.
ZEB_PUBLIC bool Print(Io::OStream& stream, Node const& node, PrintFlagsT flags = PRINT_DEFAULT,
                      unsigned long indent = 0);

} // namespace Xml
