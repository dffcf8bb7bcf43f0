#pragma once

// Util::LM: the LM hash of a password, as old servers of the SMB protocol keep it. It protects nothing: case
// is lost, and each half of seven characters can be searched by itself.
//
// Static; nothing allocates; any thread. Letters are made upper case by toupper(), in the locale of the
// program.

#include "zeb/core/Export.h"

class CString;

namespace Util {

class ZEB_PUBLIC LM {
public:
    static constexpr unsigned long DIGEST_SIZE = 16;
    static constexpr unsigned long TEXT_SIZE = 2 * DIGEST_SIZE + 1;
    static constexpr unsigned long PASSWORD_MAX = 14;

    // DIGEST_SIZE bytes, or TEXT_SIZE characters of lower-case hexadecimal with a NUL. False, with nothing
    // written, for a password of more than PASSWORD_MAX characters.
    static bool Digest(CString const& password, unsigned char* out);
    static bool TextDigest(CString const& password, char* out);
};

} // namespace Util
