#pragma once

// The directions in which a stream is open, and the rule for ends of lines. Both are shared by every stream
// class.

#include "zeb/core/Export.h"

#include <cstdint>

namespace Io {

// A set of bits. MODE_PRIORITY occurs in the requests of Pollable::Wait only.
enum ModeT : uint32_t {
    MODE_NONE = 0,
    MODE_READ = 1,
    MODE_WRITE = 2,
    MODE_READ_WRITE = 3,
    MODE_PRIORITY = 4,
};

constexpr ModeT operator|(ModeT a, ModeT b) {
    return static_cast<ModeT>(static_cast<uint32_t>(a) | static_cast<uint32_t>(b));
}

constexpr ModeT operator&(ModeT a, ModeT b) {
    return static_cast<ModeT>(static_cast<uint32_t>(a) & static_cast<uint32_t>(b));
}

// The mode of a descriptor that was opened with `flags` (O_RDONLY, O_WRONLY, O_RDWR).
ZEB_PUBLIC ModeT ModeOfFlags(int flags);

//                  accepted on input                        written on output
//  EOL_LF          LF only; a CR is invalid input           LF
//  EOL_CRLF        CR LF only; a bare LF is invalid input   CR LF
//  EOL_ANY_LF      LF or CR LF                              LF
//  EOL_ANY_CRLF    LF or CR LF                              CR LF
enum EndOfLineT : uint32_t {
    EOL_LF = 0,
    EOL_CRLF = 1,
    EOL_ANY_LF = 2,
    EOL_ANY_CRLF = 3,
};

} // namespace Io
