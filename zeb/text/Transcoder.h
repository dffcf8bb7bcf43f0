#pragma once

// Charset::Transcoder: text from one encoding of Unicode into another, from memory to memory.
//
//   Charset::Transcoder const transcoder(Charset::UTF_16LE, Charset::UTF_8, Charset::Transcoder::STRICT);
//   char const* in = data;
//   char* out = nullptr;
//   unsigned long size = 0;
//   if (transcoder.Encode(&in, dataSize, &out, 0, &size).Failed() || !text.Resize(size)) ...;  // counts only
//   in = data;
//   out = text.Ptr();
//   if (transcoder.Encode(&in, dataSize, &out, size, &size).Failed()) ...;
//
// What each encoding takes:
//
//   ISO_8859_1             bytes below 0x80: its 7-bit range alone
//   UTF_8                  1 to 4 bytes, no longer form than needed, up to U+10FFFF. Surrogates pass.
//   UTF_16LE, UTF_16BE     two bytes, or a pair of surrogates; one without the other is invalid
//   UTF_32LE, UTF_32BE     four bytes, up to U+10FFFF; surrogates are invalid
//
// and all can show every character but ISO_8859_1. A surrogate that came out of UTF-8 is written as it is.
// There is no byte order mark: U+FEFF is a character like any other.
//
// Owns      nothing: an object is three numbers that never change. Input and output are the caller's, and do
//           not overlap
// Threads   any number at a time
// Pieces    of a text are put together by the caller: at TRUNCATED `*input` stands on the part to be kept for
//           the next piece. With REPLACE_INVALID a run of invalid input that two pieces share gives two "?"
// Failure   by the result alone; nothing is logged, and nothing takes memory
// Cost      linear, in the pass that counts too; room of four times the input always is enough, and saves it

#include "zeb/core/Export.h"
#include "zeb/core/ReturnT.h"

#include <cstdint>

namespace Charset {

enum TypeT : uint32_t {
    ISO_8859_1 = 0,
    UTF_8 = 1,
    UTF_16LE = 2,
    UTF_16BE = 3,
    UTF_32LE = 4,
    UTF_32BE = 5,
};

class ZEB_PUBLIC Transcoder {
public:
    static constexpr ReturnT DONE = ReturnT::Make(ReturnT::SUCCESS, Facility::CHARSET_TRANSCODER, 100);
    static constexpr ReturnT TRUNCATED = ReturnT::Make(ReturnT::ERROR, Facility::CHARSET_TRANSCODER, 100);
    static constexpr ReturnT INVALID = ReturnT::Make(ReturnT::ERROR, Facility::CHARSET_TRANSCODER, 200);
    static constexpr ReturnT NOT_SHOWN = ReturnT::Make(ReturnT::ERROR, Facility::CHARSET_TRANSCODER, 300);

    // What becomes "?" rather than an error. Values are combined by "|".
    enum FlagT : uint32_t {
        STRICT = 0,
        REPLACE_TRUNCATED = 1, // input that ends within a character
        REPLACE_INVALID = 2,   // a run of invalid input, up to where a character can start
        REPLACE_NOT_SHOWN = 4, // a character that the target cannot show
    };
    friend constexpr FlagT operator|(FlagT a, FlagT b) {
        return static_cast<FlagT>(static_cast<uint32_t>(a) | static_cast<uint32_t>(b));
    }

    Transcoder(Charset::TypeT source, Charset::TypeT target, Charset::Transcoder::FlagT flags);

    // Walks the input and moves `*input` on, behind the last character that was done. `needed` gets the bytes
    // that those characters take in the target. What fits into `outputSize` is written, whole characters only
    // and without a terminator, and moves `*output` on; from the first character that does not fit nothing
    // more is written, and the walk goes on counting. So `needed` above the size of the room says that
    // there was too little of it, and a null `*output` or a size of 0 only counts.
    //
    // Gives DONE at the end of the input, or what stopped the walk: TRUNCATED (the input ends within a
    // character), INVALID, NOT_SHOWN; INVALID too for a TypeT that is none of the above. Null is taken for
    // `output` and `needed`.
    ReturnT Encode(char const** input, unsigned long inputSize, char** output, unsigned long outputSize,
                   unsigned long* needed) const;

private:
    Charset::TypeT source_;
    Charset::TypeT target_;
    FlagT flags_;
};

} // namespace Charset
