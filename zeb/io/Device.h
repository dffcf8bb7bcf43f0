#pragma once

// A character device or other special file, waited for in both directions (see Pollable): input and output
// have blocks of their own. The destructor flushes and closes what is open.

#include "zeb/core/Log.h"
#include "zeb/core/String.h"
#include "zeb/io/FdBase.h"
#include "zeb/io/PollableBase.h"
#include "zeb/io/PollableStream.h"
#include "zeb/stream/Memory.h"

namespace Io {

class ZEB_PUBLIC Device : public PollableStream {
public:
    static constexpr char const IDENT[] = "Io::Device";
    static constexpr unsigned long DEFAULT_BUFFER_SIZE = 4096;

    // Closed. STATE_BROKEN when there is no memory for the path.
    explicit Device(CString const& path, EndOfLineT eol = EOL_ANY_LF,
                    unsigned long bufferSize = DEFAULT_BUFFER_SIZE);
    // Opened; STATE_BROKEN when that fails.
    Device(CString const& path, int flags, EndOfLineT eol = EOL_ANY_LF,
           unsigned long bufferSize = DEFAULT_BUFFER_SIZE);
    ~Device() override;

    // False, with the state left good, when the device is open already. A direction that the flags leave out
    // has no block: using it fails with STATE_FAILED.
    bool Open(int flags);
    // Flushes and closes, also after a failure; true while the state is good.
    bool Close();

    bool IsOpened() const { return fd_ != -1; }
    CString const& PathName() const { return path_; }

    // Takes the mode from open flags.
    void SetMode_(int flags) { mode_ = ModeOfFlags(flags); }

    // Unread bytes in the input buffer.
    bool ObjIReady() const override;

private:
    Log::VerboseT verbose_ = Log::VERBOSE_ON;
    ModeT mode_ = MODE_READ_WRITE;
    int fd_ = -1;
    FdBase base_;
    PollableBase pollableBase_;
    EndOfLineT eol_;
    Buffer input_;
    Buffer output_;
    Memory memory_;
    String path_;
};

} // namespace Io
