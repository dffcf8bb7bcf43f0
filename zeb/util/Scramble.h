#pragma once

// Util::Scramble: a text of up to 69 bytes made unreadable at a glance, and back: for a password that stands
// in a configuration file. There is no key: whoever has this library reads it. The form of a text is always
// the same, of 24, 48 or 96 characters of base64.
//
// Static; any thread. Memory is taken for the result alone.

#include "zeb/core/Export.h"

class CString;
class String;

namespace Util {

class ZEB_PUBLIC Scramble {
public:
    static constexpr unsigned long TEXT_MAX = 69;

    // False, with `out` as it was, when the text is too long or memory ran out. What stands behind a NUL in
    // the text is lost on the way back. Text and `out` may be one object, here and below.
    static bool Encode(CString const& text, String& out);

    // False, with `out` as it was, when this is no base64 of 18, 36 or 72 bytes, or memory ran out. Any such
    // bytes are decoded to some text, which ends ahead of its first NUL: nothing tells whether Encode() made
    // them. White space in the form does no harm.
    static bool Decode(CString const& text, String& out);
};

} // namespace Util
