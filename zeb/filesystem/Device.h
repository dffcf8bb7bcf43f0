#pragma once

// FileSystem::Device: makes the nodes in /dev, one at a time or by a list, for a system that starts without a
// daemon that does it.
//
//   ReturnT const code = FileSystem::Device::CreateDevices(FileSystem::Device::DEV_PTS_SKIP);
//
// The list is /etc/devices, one node or directory a line, words between white space:
//
//   # comment
//   net d                    a directory, and what is missing above it
//   console c 5 1            type, major and minor number, decimal; mode 0600
//   tty c 5 0 1              with a final 1: mode 0666. Another fifth word means nothing
//   mtdblock0 b 31 0         types: c character device, b block device, s socket
//
// Threads    any; but see Create() for the mode of files that other threads make meanwhile
// Waits      for the disk, and for other threads while they make a node
// Locks      making a node takes a leaf lock (ULTIMATE): hold none of that place around it
// Failure    false, with the errno where it is asked for (0 on success) and in the log where it is not
// Memory     CreateDevices() alone takes some, see there

#include "zeb/core/CString.h"
#include "zeb/core/ReturnT.h"

namespace FileSystem {

class ZEB_PUBLIC Device {
public:
    static constexpr char const IDENT[] = "FileSystem::Device";
    static constexpr char const LIST[] = "/etc/devices";
    static constexpr char const DIRECTORY[] = "/dev";

    // Whether the list's "pts", and what lies below it, is left out.
    enum DevPtsCreateT : unsigned { DEV_PTS_SKIP = 0, DEV_PTS_CREATE = 1 };

    // Names are relative to /dev. A mode is that of mknod(2): the type, such as S_IFCHR, and permissions, to
    // which 0600 is added. The umask does not count: that of the whole process is 0 for the moment, so that a
    // file that another thread makes then has no umask either.
    static bool Create(CString const& name, unsigned int mode, unsigned int major, unsigned int minor,
                       int* error = nullptr);

    // Whether there is such a node, of this type, and with these numbers if it is a device. Links are
    // followed.
    static bool Exists(CString const& name, unsigned int mode, unsigned int major, unsigned int minor);

    static bool Remove(CString const& name, int* error = nullptr);

    // Makes what the list names and is not there. Gives Directory::DONE; a generic failure when the list
    // cannot be read to its end, or a directory cannot be made, which ends the run; Directory::OUT_OF_MEMORY.
    // All else is logged with its line or path, and the run goes on: a line that is wrong, a node that cannot
    // be made, one that is there and is something else. A line of more than 256 characters counts as several.
    static ReturnT CreateDevices(DevPtsCreateT pts);

    Device() = delete;
};

} // namespace FileSystem
