// A folder for one test, empty at first, removed with all that is in it at the end. It lies in TMPDIR, or in
// /tmp. What cannot be written or removed fails the test; a folder that cannot be made ends the program.
#pragma once

#include <string>
#include <string_view>

class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(TempDir const&) = delete;
    TempDir& operator=(TempDir const&) = delete;

    std::string const& Path() const { return path_; }

    // The path of `name` in it.
    std::string operator/(std::string_view name) const { return path_ + "/" + std::string(name); }

    // Makes or replaces a file; the result is its path.
    std::string Write(std::string_view name, std::string_view text) const;

    // The content of a file in it; "(absent)" if there is none.
    std::string Read(std::string_view name) const;

    bool Exists(std::string_view name) const;

    // Names in it, sorted, separated by blanks.
    std::string List() const;

private:
    std::string path_;
};

// The content of any file, read to its end; "(absent)" if it cannot be opened.
std::string ReadWholeFile(std::string const& path);
