#pragma once

// Linux::AddressSpace::Mapper: which file is mapped at an address of this process, by /proc/self/maps.
//
//   Linux::AddressSpace::Mapper mapper;
//   unsigned long base, size = sizeof file;
//   if (mapper.Get(address, base, file, &size) == 0 && file[0] != '\0') ...    // at file + (address - base)
//
// Owns      the open file, for the life of the object; each Get() reads it from its start
// Threads   one at a time uses an object. It works in a signal handler, after a crash: it takes no lock, and
//           calls only open, read, lseek and close
// Failure   by the result and errno; nothing is logged. errno may change on success too: a handler that
//           returns keeps it
// Memory    none but 128 bytes of the stack for the text
// Cost      linear in the mappings ahead of the address. Others may map meanwhile; what was mapped during the
//           whole call is found

#include "zeb/core/Export.h"

namespace Linux::AddressSpace {

class ZEB_PUBLIC Mapper {
public:
    // That the file cannot be opened shows in Get().
    Mapper();
    // Another file of that form: /proc/<pid>/maps of another process, or a copy that was kept.
    explicit Mapper(char const* path);
    ~Mapper();
    Mapper(Mapper const&) = delete;
    Mapper& operator=(Mapper const&) = delete;

    // Finds the mapping that holds the address. `*size` is the room at `file`, and becomes the length of the
    // path with its NUL; a path that is too long is cut. The path is as the kernel prints it: "[heap]" for
    // the heap, " (deleted)" behind a file that is gone, "\012" for a newline. A mapping without a file has
    // an empty path. 0 with an empty path, a `*size` of 1 and a `base` of 0 means that there is no such
    // mapping.
    //
    // On failure the result is -1, and errno is that of opening or reading, EINVAL for no room, EILSEQ when
    // the file has another form up to the place where the answer stands. The interruptions EINTR and EAGAIN
    // are not failures.
    int Get(void const* address, unsigned long& base, char* file, unsigned long* size);

private:
    int descriptor_;
    int error_; // of open
};

} // namespace Linux::AddressSpace
