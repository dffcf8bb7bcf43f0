#pragma once

// The start of a program: the parent's part. Not installed.

#include "zeb/process/Process.h"

namespace Posix {

// What to start, and how. The texts live until Spawn_() has returned.
struct Program_ {
    CString const& name; // in the log
    CString const& path;
    StringVector const& arguments;
    StringMap const& environment;
    CString const& chroot;
    int* ioDescriptor = nullptr;
    Process::OutputT output = Process::OUTPUT_KEEP;
    Process::SessionT session = Process::SESSION_INHERIT;
    Process::OomScoreT oomScore = 0;
    unsigned uid = 0;
    unsigned gid = 0;
    Process::IoPrioT ioPrio = Process::IO_PRIO_DEFAULT;
};

// Returns when the program has replaced the child: its process id, with the parent's end of the socket in
// *ioDescriptor. Or -1, logged; then nothing is left of the child.
int Spawn_(Program_ const& program);

} // namespace Posix
