#pragma once

// The output side of a stream buffer: a block of memory between a writer and a transport. A writer may write
// in place, from PPos() to PEnd(), and commit by PSkip():
//
//   if (buffer.PFree() == 0 && !buffer.Flush()) return false;
//   if (!buffer.PSkip(Print(buffer.PPos(), buffer.PFree()))) return false;
//
// Everything fails by the state of the stream; what could not be written stays pending. Write, WriteAll,
// PutChar, Flush and SysFlush wait as the transport does.

#include "zeb/core/Export.h"

namespace Io {

class ZEB_PUBLIC OStreamBuffer {
public:
    OStreamBuffer() = default;
    OStreamBuffer(OStreamBuffer const&) = delete;
    OStreamBuffer& operator=(OStreamBuffer const&) = delete;
    virtual ~OStreamBuffer();

    // No failure is recorded.
    virtual bool Ok() const = 0;
    // Takes as much as fits, after writing the block out when it is full; true also when only part was taken.
    virtual bool Write(void const* data, unsigned long size, unsigned long& done) = 0;
    virtual bool PutChar(char c) = 0;
    // Where the next byte goes; equal to PEnd() while the block is full or holds unread input. After Flush()
    // there is room.
    virtual char* PPos() const = 0;
    virtual char* PEnd() const = 0;
    // Commits bytes written at PPos(). STATE_FAILED when they do not fit.
    virtual bool PSkip(unsigned long count) = 0;
    // Cuts pending output to `count` bytes. STATE_FAILED when there is less.
    virtual bool PTruncate(unsigned long count) = 0;
    // The number of pending bytes.
    virtual unsigned long PCount() const = 0;
    // The room at PPos().
    virtual unsigned long PFree() const = 0;
    // Drops unread input and writes pending output to the transport.
    virtual bool Flush() = 0;
    // The same, and flushes the transport.
    virtual bool SysFlush() = 0;

    // Writes all of the data, blocks going out as they fill.
    bool WriteAll(void const* data, unsigned long size);

protected:
    // Whether this is the output side of an Io::Buffer, which the format layer then uses without virtual
    // calls.
    explicit OStreamBuffer(bool isBuffer)
        : isBuffer_(isBuffer) {}

private:
    friend class Buffer;

    bool const isBuffer_ = false;
};

} // namespace Io
