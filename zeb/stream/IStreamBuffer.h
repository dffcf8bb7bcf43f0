#pragma once

// The input side of a stream buffer: a block of memory between a transport and a reader. A reader may look at
// the unread data in place, from GPos() to GEnd(), and take it by GSkip():
//
//   while (buffer.Fill() && buffer.GCount() > 0) {
//       unsigned long const used = Parse(buffer.GPos(), buffer.GCount());
//       if (!buffer.GSkip(used)) break;
//   }
//
// A view from GPos() lives until the next call but GPos, GEnd, GCount, Eos and Ok. Everything fails by the
// state of the stream; Read, ReadAll, GetChar and Fill wait as the transport does, and they write pending
// output first where one block serves both directions.

#include "zeb/core/Export.h"

namespace Io {

class ZEB_PUBLIC IStreamBuffer {
public:
    // What GetChar() gives when there is no character; a value that no character has.
    static constexpr int CHAR_END = 256;

    IStreamBuffer() = default;
    IStreamBuffer(IStreamBuffer const&) = delete;
    IStreamBuffer& operator=(IStreamBuffer const&) = delete;
    virtual ~IStreamBuffer();

    // No failure is recorded.
    virtual bool Ok() const = 0;
    // Moves at most one block. True with `done` 0 means the end of data.
    virtual bool Read(void* data, unsigned long size, unsigned long& done) = 0;
    // The next character, sign-extended: a byte 0xFF reads as -1. CHAR_END at the end of data and after any
    // failure.
    virtual int GetChar() = 0;
    // Steps back by one character of the block; `c` need not be the one that was read.
    virtual bool PutBack(char c) = 0;
    virtual char const* GPos() const = 0;
    virtual char const* GEnd() const = 0;
    // Takes unread data; never refills. STATE_FAILED when there is less.
    virtual bool GSkip(unsigned long count) = 0;
    // The number of unread bytes.
    virtual unsigned long GCount() const = 0;
    // Refills when no data is unread.
    virtual bool Fill() = 0;
    // The transport has reached its end; unread data may remain.
    virtual bool Eos() const = 0;
    virtual void ClearEos() = 0;

    // Reads exactly `size` bytes; at an early end of data the state becomes STATE_EOS.
    bool ReadAll(void* data, unsigned long size);

protected:
    // Whether this is the input side of an Io::Buffer, which the format layer then uses without virtual
    // calls.
    explicit IStreamBuffer(bool isBuffer)
        : isBuffer_(isBuffer) {}

private:
    friend class Buffer;

    bool const isBuffer_ = false;
};

} // namespace Io
