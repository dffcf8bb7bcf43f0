#pragma once

// Base64: bytes as text of 64 symbols, four for each three bytes.
//
// Encoding never breaks lines. Decoding is lenient, and the same in both forms apart from the alphabet: white
// space is skipped, so is every character inside the span of the alphabet that is no symbol ('=' among them,
// wherever it stands); any other character is an error, as is a single symbol left over at the end.
//
// Results: a Fail code for text in error or a room too small to encode into, an Oom code for memory or room
// that ran out, a Done code otherwise.

#include "zeb/core/Export.h"
#include "zeb/core/ReturnT.h"

class Buffer;
class CBuffer;
class CString;
class String;

namespace Io {
class IStream;
class OStream;
} // namespace Io

class ZEB_PUBLIC Base64 {
public:
    enum FormatT : int {
        STANDARD = 0, // RFC 1421: '+' and '/', short blocks filled up with '='
        URL = 1,      // RFC 7515: '-' and '_', short blocks left short
    };

    // Symbols for `size` bytes.
    static unsigned long EncodedSize(unsigned long size, FormatT format);

    // Most bytes that `size` symbols can give.
    static unsigned long DecodedSizeMax(unsigned long size, FormatT format);

    // Writes a NUL behind the text, which `capacity` does not count: `out` has one byte more. (Empty data
    // needs a capacity of 1 for that NUL.)
    static ReturnT EncodeToString(CBuffer const& data, unsigned char* out, unsigned long capacity,
                                  FormatT format);
    static ReturnT EncodeToString(CBuffer const& data, String& out, FormatT format);

    // `size` is the room at `out`, and becomes the number of bytes decoded, on success.
    static ReturnT DecodeString(CString const& text, unsigned char* out, unsigned long& size, FormatT format);

    // When the text is in error, the buffer is left at its greatest size, with undefined contents.
    static ReturnT DecodeString(CString const& text, Buffer& out, FormatT format);

    // From a stream to its end. False if either stream has failed; text in error gives the input stream the
    // state of data in error.
    [[nodiscard]] static bool Encode(Io::IStream& in, Io::OStream& out, FormatT format);
    [[nodiscard]] static bool Decode(Io::IStream& in, Io::OStream& out, FormatT format);
};
