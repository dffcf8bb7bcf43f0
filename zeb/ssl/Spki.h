#pragma once

// Util::Spki: the pin of a public key, the 32 bytes of its SHA-256, between the two forms in which it is
// written: base64 in configurations and headers, hexadecimal digits in the program.
//
// Static; any thread. On failure the result is as it was; memory that ran out is an Oom code.

#include "zeb/core/Export.h"
#include "zeb/core/ReturnT.h"

class CString;
class HexString;
class String;

namespace Util {

class ZEB_PUBLIC Spki {
public:
    static constexpr char const IDENT[] = "Util::Spki";

    static constexpr ReturnT NO_PIN = 0x04E20064; // an empty text gives an empty result
    static constexpr ReturnT DECODED = 0x04E200C8;
    static constexpr ReturnT ENCODED = 0x04E203E8;
    static constexpr ReturnT BAD_PIN = 0x84E20064; // no base64, or not of 32 bytes

    Spki() = delete;

    static ReturnT Decode(CString const& base64, HexString& out);
    static ReturnT Encode(HexString const& pin, String& out);
};

} // namespace Util
