#pragma once

// FileSystem::Symlink: makes symbolic links and reads where they lead. What they lead to need not exist.
//
//   if (!FileSystem::Symlink::Create("/opt/next", "/opt/current", &error)) ...
//
// Everything else, deletion too, is that of File: a link is deleted, not its target.
//
// Owns       a copy of the path
// Threads    static operations any; an object one
// Waits      for the disk alone
// Failure    false, with what is passed out as it was, and the errno where it is asked for (0 on success);
//            nothing is logged
// Memory     for the path at construction, see Initialized(); for a target that is read (ENOMEM)

#include "zeb/filesystem/File.h"

namespace FileSystem {

class ZEB_PUBLIC Symlink : public File {
public:
    static constexpr char const IDENT[] = "FileSystem::Symlink";

    using File::File;

    // Makes this link, which leads to `target`.
    [[nodiscard]] bool Create(CString const& target);

    // The text of the target as it stands in the link: a relative one counts from the folder of the link.
    [[nodiscard]] bool GetFile(String& target) const;

    // EEXIST where anything is at `link`.
    [[nodiscard]] static bool Create(CString const& target, CString const& link, int* error = nullptr);

    // EINVAL where `link` is no link.
    [[nodiscard]] static bool GetFile(CString const& link, String& target, int* error = nullptr);
};

} // namespace FileSystem
