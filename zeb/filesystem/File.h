#pragma once

// FileSystem::File: what is asked of a path, and done to it, by name alone: static operations, and an object
// that keeps a path and gives its parts. To read or write what is behind the path take Io::File, to replace a
// file as a whole Io::ConfigFile; Directory, Symlink and Device of this folder do the rest.
//
//   if (FileSystem::File::IsRegular(path) && !FileSystem::File::Delete(path, &error)) ...
//
//   FileSystem::File const file(path);
//   String name;
//   if (file.Initialized() && file.GetBaseName(name)) ...
//
// Between a question and what is done about its answer another process may act: where that matters, do it
// and look at the error.
//
// Owns       a copy of the path; nothing of what is behind it, which need not exist
// Threads    static operations any; an object one
// Waits      for the disk alone; Copy() of a FIFO or a terminal waits without end
// Failure    false, with what is passed out as it was. An operation with an `int*` stores the errno there,
//            0 on success. Nothing is logged but by Copy(), in the words of Io::File
// Memory     for the path at construction: Initialized() is false without it, and operations of the object
//            fail. Of the static operations Copy() and GetCanonicalPath() take some (ENOMEM)

#include "zeb/core/String.h"

namespace Time {
class Stamp;
}

namespace FileSystem {

class ZEB_PUBLIC File {
public:
    static constexpr char const IDENT[] = "FileSystem::File";

    enum Attributes : unsigned { OTHER = 0, REGULAR = 1, DIRECTORY = 2, SYMLINK = 4 };

    explicit File(CString const& path) { initialized_ = path_.Assign(path); }
    // Takes the path over, which cannot fail.
    explicit File(String&& path)
        : initialized_(true)
        , path_(std::move(path)) {}
    virtual ~File() = default;
    File(File const&) = delete;
    File& operator=(File const&) = delete;

    // Whether there was memory for the path.
    bool Initialized() const { return initialized_; }
    String const& Path() const { return path_; }

    // Deletes what is there: a file or a link here, an empty directory in Directory.
    virtual bool DoDelete();

    bool IsAbsolute() const { return path_[0] == '/'; }

    // What stands behind the last "/": all of "a", nothing of "a/".
    [[nodiscard]] bool GetBaseName(String& name) const;

    // What stands ahead of the last "/": "a" of "a/b", "/" of "/a", nothing of "a".
    [[nodiscard]] bool GetDirectoryName(String& name) const;

    // That of the static operation, on the disk.
    [[nodiscard]] bool GetCanonicalPath(String& path) const;

    // The object follows its file.
    [[nodiscard]] bool Rename(CString const& to);

    // Questions. A failure of any kind reads as "no". The first four are those of access(2), for the real
    // user of the process, and follow links, as the next five do: of a link that leads nowhere only
    // IsSymlink() is true.
    static bool IsReadable(CString const& path);
    static bool IsWritable(CString const& path);
    static bool IsExecutable(CString const& path);
    static bool Exists(CString const& path);
    static bool IsDirectory(CString const& path);
    static bool IsRegular(CString const& path);
    static bool IsCharacterDevice(CString const& path);
    static bool IsBlockDevice(CString const& path);
    static bool IsSocket(CString const& path);
    static bool IsSymlink(CString const& path);

    // In bytes.
    [[nodiscard]] static bool GetSize(CString const& path, unsigned long long& size);
    [[nodiscard]] static bool GetLastModified(CString const& path, Time::Stamp& time);

    // What kind of thing it is; GetLAttrs() of a link itself. A failure without an errno counts as success,
    // with OTHER.
    [[nodiscard]] static bool GetAttrs(CString const& path, Attributes& attributes, int* error = nullptr);
    [[nodiscard]] static bool GetLAttrs(CString const& path, Attributes& attributes, int* error = nullptr);

    // Tells "it is not there" from "it cannot be told", which is false. What is too large to be described is
    // there.
    [[nodiscard]] static bool CheckExistence(CString const& path, bool& exists);

    // Replaces what is at `to`, in one step; within one file system.
    [[nodiscard]] static bool Rename(CString const& from, CString const& to);

    [[nodiscard]] static bool SetMode(CString const& path, unsigned int mode);

    // Of anything but a directory. A link is deleted, not what it leads to.
    [[nodiscard]] static bool Delete(CString const& path, int* error = nullptr);

    [[nodiscard]] static bool Link(CString const& existing, CString const& link, int* error = nullptr);
    [[nodiscard]] static bool Symlink(CString const& target, CString const& link, int* error = nullptr);

    // Copies the bytes, over what `to` has. A failure midway leaves a part there. A file that is copied onto
    // itself stays as it is.
    //
    // Beware of programs: where `from` may be executed, `to` gets the mode 0111, which replaces what it had.
    // Nobody but root can read or write it then; call SetMode() behind it. Otherwise a new file has the mode
    // 0644 less the umask, and one that was there keeps its own.
    [[nodiscard]] static bool Copy(CString const& from, CString const& to);

    // The path without ".", ".." and double slashes, absolute. On the disk links are followed and all of it
    // must exist: that is realpath(3). With `noDisk` nothing is looked up, but for the working directory of a
    // relative path: ".." takes away the component before it, whatever that is. Gives EINVAL for an empty
    // path and for one that leads above the root.
    [[nodiscard]] static bool GetCanonicalPath(CString const& path, String& canonical, bool noDisk = false,
                                               int* error = nullptr);

protected:
    bool initialized_ = false;
    String path_;
};

} // namespace FileSystem
