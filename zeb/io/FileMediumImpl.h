#pragma once

// What the streams over files do with their descriptor and buffer: the one body of the operations that
// FileStream and PollableFileStream share. Made for one operation, of references to what the stream holds;
// not installed.

#include "zeb/core/CString.h"
#include "zeb/core/Log.h"
#include "zeb/stream/Memory.h"

namespace Io {

class FileMedium {
public:
    // `source` is the ident of the lines logged here, `ident` that of the descriptor's.
    FileMedium(Stateful const& state, CString const& path, Log::VerboseT verbose, char const* source,
               char const* ident, Buffer& buffer, Memory& memory, int& fd)
        : state_(state)
        , path_(path)
        , verbose_(verbose)
        , source_(source)
        , ident_(ident)
        , buffer_(buffer)
        , memory_(memory)
        , fd_(fd) {}

    // Allocates the buffer and opens. False, with no state, when open already.
    bool Open(int flags);
    // Flushes, releases the buffer, closes.
    bool Close();
    bool Seek(long offset);
    bool Tell(long& out) const;
    bool Truncate(long length);
    bool Size(long& out) const;
    bool Ioctl(int request, void* argument, Log::VerboseT verbose);

private:
    // Records the errno and logs: the texts take path and error.
    bool Fail_(int error, char const* message, bool loud) const;
    bool Fail_(int error, char const* message) const {
        return Fail_(error, message, verbose_ != Log::VERBOSE_OFF);
    }

    Stateful const& state_;
    CString const& path_;
    Log::VerboseT verbose_;
    char const* source_;
    char const* ident_;
    Buffer& buffer_;
    Memory& memory_;
    int& fd_;
};

} // namespace Io
