#pragma once

// Linux::KernelBacktrace: where a thread stands in the kernel, by /proc/<tid>/stack: which takes the rights
// of root.
//
//   char buffer[256];
//   Linux::KernelBacktrace stack(tid, buffer, sizeof buffer);
//   while ((result = stack.Step()) > 0 &&
//          (result = stack.GetFrame(ip, name, sizeof name, nameLength, offset, module, sizeof module,
//          moduleLength)) > 0)
//       ...
//
// Owns      the open file. The buffer is the caller's, and stays in use for the life of the object: 700 bytes
//           hold any line of today's kernels, 200 nearly all. A line may be longer, but is then read again
//           for each GetFrame(), from a text that the kernel makes anew
// Threads   one at a time uses an object. It works in a signal handler, after a crash: it takes no lock, and
//           calls only open, read, lseek and close
// Failure   by the result alone, a negated error number; nothing is logged, and errno may change at any time
// Memory    none but the buffer

#include "zeb/core/Export.h"

namespace Linux {

class ZEB_PUBLIC KernelBacktrace {
public:
    // The path of the file is formed in the buffer. A failure shows in Step(): EINVAL for a buffer without
    // room for the path, or the error of open, ENOENT for a thread that has ended.
    KernelBacktrace(unsigned long long tid, char* buffer, unsigned long size);
    // Another file of that form, such as a copy that was kept.
    KernelBacktrace(char const* path, char* buffer, unsigned long size);
    ~KernelBacktrace();
    KernelBacktrace(KernelBacktrace const&) = delete;
    KernelBacktrace& operator=(KernelBacktrace const&) = delete;

    // Goes to the next frame, at first to the first one. 1 if there is one, 0 at the end, a negated error
    // number on failure. The interruptions EINTR and EAGAIN are not failures.
    int Step();

    // The frame that Step() went to: its address (modern kernels give 0), its function and the place in it,
    // its module (empty for the kernel itself). The lengths are those of the whole texts with their NUL:
    // where one is above its size, the text was cut, and the call may be repeated with more room. A line that
    // has a number alone in place of the function has that text as its name.
    //
    // 1, 0 if there is no frame, -EILSEQ for a line of another form, which Step() passes over, or another
    // negated error number.
    int GetFrame(unsigned long& ip, char* name, unsigned long nameSize, unsigned long& nameLength,
                 unsigned long& offset, char* module, unsigned long moduleSize, unsigned long& moduleLength);

private:
    void Open_(char const* path);
    int GetByte_(unsigned long at, char& c);

    int descriptor_ = -1;
    int error_ = 0;
    unsigned long line_ = 0;  // where the current line starts in the file
    unsigned long total_ = 0; // where the buffer starts in the file
    char* buffer_;
    unsigned long size_;
    unsigned long filled_ = 0; // bytes in the buffer
    bool isStarted_ = false;
    bool isEnd_ = false;
};

} // namespace Linux
