#pragma once

// FileSystem::Directory: makes, lists, deletes and copies directories by their path, whole trees too.
//
//   StringVector names;
//   if (FileSystem::Directory::GetNameList("/etc/init.d", names).Failed()) ...
//   if (FileSystem::Directory::Delete("/tmp/upload", FileSystem::Directory::RECURSIVE).Failed()) ...
//
// Entries come in the order of the file system, which is none: sort what a user sees.
//
// Owns       a copy of the path
// Threads    static operations any; an object one
// Waits      for the disk, and for other threads while each of them reads one entry; nothing interrupts that
// Locks      reading takes a leaf lock (ULTIMATE): hold none of that place around it
// Callbacks  filters are called without a lock, and may do anything but change the list that is being made
// Failure    Create() is false, with the errno; the others give a code, see below. What was made or deleted
//            before a failure stays so. Delete() alone logs
// Memory     for lists; in whole trees for the path and each level: OUT_OF_MEMORY without it
// Depth      a whole tree takes 10 descriptors at most, and no stack. One that is deeper than paths may be
//            long (PATH_MAX) can be deleted, but not copied

#include "zeb/core/PVector.h"
#include "zeb/core/ReturnT.h"
#include "zeb/filesystem/File.h"

class StringVector;

namespace FileSystem {

class ZEB_PUBLIC Directory : public File {
public:
    static constexpr char const IDENT[] = "FileSystem::Directory";

    static constexpr ReturnT DONE = ReturnT::Make(ReturnT::SUCCESS, Facility::FILE_SYSTEM_DIRECTORY, 1);
    static constexpr ReturnT NOT_A_DIRECTORY =
        ReturnT::Make(ReturnT::ERROR, Facility::FILE_SYSTEM_DIRECTORY, 1);
    static constexpr ReturnT UNREADABLE = ReturnT::Make(ReturnT::ERROR, Facility::FILE_SYSTEM_DIRECTORY, 2);
    static constexpr ReturnT NOT_CREATED = ReturnT::Make(ReturnT::ERROR, Facility::FILE_SYSTEM_DIRECTORY, 3);
    static constexpr ReturnT LINK_UNREADABLE =
        ReturnT::Make(ReturnT::ERROR, Facility::FILE_SYSTEM_DIRECTORY, 4);
    static constexpr ReturnT LINK_NOT_CREATED =
        ReturnT::Make(ReturnT::ERROR, Facility::FILE_SYSTEM_DIRECTORY, 5);
    static constexpr ReturnT FILE_NOT_COPIED =
        ReturnT::Make(ReturnT::ERROR, Facility::FILE_SYSTEM_DIRECTORY, 6);
    static constexpr ReturnT TARGET_NOT_A_DIRECTORY =
        ReturnT::Make(ReturnT::ERROR, Facility::FILE_SYSTEM_DIRECTORY, 7);
    static constexpr ReturnT OUT_OF_MEMORY =
        ReturnT::Make(ReturnT::CRITICAL, Facility::FILE_SYSTEM_DIRECTORY, 1);

    enum RecursiveT : unsigned { NOT_RECURSIVE = 0, RECURSIVE = 1 };

    class Filter;

    using File::File;

    // Deletes it if it is empty; what stands in the way is logged.
    bool DoDelete() override;

    // With the mode 0755 less the umask. RECURSIVE makes what is missing above it too, and fails like the
    // other with EEXIST where all of it was there. What was made stays when a later part fails. EINVAL for an
    // empty path, ENOMEM.
    [[nodiscard]] static bool Create(CString const& path, RecursiveT recursive, int* error = nullptr);

    // An empty directory; RECURSIVE with all that is in it. Ends at the first entry that cannot be deleted,
    // one that has vanished meanwhile among them. Links are deleted, never followed, also those that take the
    // place of a directory while it goes on, and a `path` that is one itself is refused then (ENOTDIR).
    //
    // Gives DONE, OUT_OF_MEMORY, or a generic failure, which is logged and stored in the status of the
    // thread, with the path of the entry:
    //
    //   unable to open, unable to read, unable to delete (what is no directory), unable to remove "%1": %2
    //
    // Where the errno is asked for, nothing is logged.
    static ReturnT Delete(CString const& path, RecursiveT recursive, int* error = nullptr);

    // All names that the filter keeps, "." and ".." too; a null filter keeps all. Gives DONE,
    // NOT_A_DIRECTORY, UNREADABLE or OUT_OF_MEMORY, and replaces the list: it is empty after a failure.
    static ReturnT GetNameList(CString const& path, StringVector& names, Filter const& filter);
    static ReturnT GetNameList(CString const& path, StringVector& names,
                               bool (*filter)(CString const& name) = nullptr);

    // The same of files, each with `path` and "/" ahead of its name; without "." and "..".
    static ReturnT GetFileList(CString const& path, AutoPVector<File, StdDeleter>& files,
                               bool (*filter)(File const& file) = nullptr);

    // Whether there is nothing in it, and whether there are files and no directory (nor a link to one). The
    // names ".zeb-acl" and ".webdav-temp" do not count. Codes as above; after a failure `onlyFiles` is false,
    // and `empty` is true unless something was seen.
    static ReturnT CheckContent(CString const& path, bool& empty, bool& onlyFiles);

    // Copies what is in `from` into `to`, which is made if it is missing; what is there with the same name is
    // replaced if both are files, and a directory is filled up. Links get the same target text. What is
    // neither file nor directory nor link is left out. `to` may lie in `from`: what was there before is
    // copied. Ends at the first failure, with one of the codes above; files log why they failed.
    //
    // Files are copied as by File::Copy(): beware of programs, which end execute-only.
    static ReturnT RecursiveCopy(CString const& from, CString const& to);

private:
    class FuncFilter_;
    class Scan_;
    class Removal_;
    class Copying_;
};

// What is kept of a list of names.
class ZEB_PUBLIC Directory::Filter {
public:
    virtual ~Filter();
    virtual bool operator()(CString const& name) const = 0;
};

} // namespace FileSystem
