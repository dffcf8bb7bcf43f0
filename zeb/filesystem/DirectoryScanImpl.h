#pragma once

// One directory that is being read: its entries, one by one. Not installed.
//
//   Scan_ scan(path);
//   while (scan.Next()) ... scan.Name()
//   return scan.Code();

#include "zeb/core/RString.h"
#include "zeb/filesystem/Directory.h"

#include <climits>
#include <dirent.h>

namespace FileSystem {

class Directory::Scan_ {
public:
    enum LinksT { KEEP, FOLLOW };

    Scan_() = default;
    explicit Scan_(CString const& path);
    ~Scan_() { Close(); }
    Scan_(Scan_ const&) = delete;
    Scan_& operator=(Scan_ const&) = delete;

    // The directory `path`, as seen from an open one unless it is absolute. With KEEP it is no link.
    bool Open(int parent, char const* path, LinksT links);
    void Close();
    bool IsOpen() const { return stream_ != nullptr; }
    int Fd() const { return dirfd(stream_); }

    // False at the end, and when the scan has failed.
    bool Next();

    // Of the entry at hand.
    CString const& Name() const { return name_; }
    bool IsDots() const { return name_ == "." || name_ == ".."; }
    bool IsDirectory(LinksT links) const;

    // Ends the scan with an error.
    void Fail(int error) { error_ = error; }
    // 0 as long as all is well.
    int Error() const { return error_; }
    ReturnT Code() const;

private:
    void ReadDir_();

    DIR* stream_ = nullptr;
    RString<NAME_MAX + 1> name_;
    unsigned char type_ = DT_UNKNOWN;
    int error_ = 0;
};

} // namespace FileSystem
