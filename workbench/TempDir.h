// A folder for one test, empty at first, removed with all that is in it at the end. It lies in TMPDIR, or in
// /tmp. What cannot be written or removed fails the test; a folder that cannot be made ends the program.
#pragma once

#include <string>
#include <string_view>

// All that is below a folder, in the words of TempDir::Make(), sorted; nodes of devices and sockets with
// type, mode and numbers: "tty(c666,5:0)".
std::string ListTree(std::string const& folder);

// How many descriptors the process has open.
long OpenDescriptors();

// While it exists the process can open at most `more` descriptors: the next one is EMFILE.
class DescriptorLimit {
public:
    explicit DescriptorLimit(long more);
    ~DescriptorLimit();
    DescriptorLimit(DescriptorLimit const&) = delete;
    DescriptorLimit& operator=(DescriptorLimit const&) = delete;

private:
    unsigned long saved_[2];
};

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

    // Makes what the words name in `folder`, with the directories above: "a/" a directory, "a>b" a link to
    // "b", "a|" a FIFO, "a*" a program, "a(c600,5:1)", "a(b600,8:0)" and "a(s600)" a device or a socket (root
    // alone may), and any other word a file; files hold their own word.
    void Make(std::string const& words, std::string const& folder = ".") const;

    // Makes `levels` directories called `name`, one in the other, each with a file "file" beside it. The path
    // may become longer than any call takes.
    void MakeDeep(std::string const& folder, unsigned levels, std::string const& name) const;

    // Removes all that is in it.
    void Clear() const;

    // Names in it, sorted, separated by blanks.
    std::string List() const;

    // All that is in it, or below a name in it, as ListTree() has it.
    std::string Tree(std::string_view below = ".") const { return ListTree(*this / below); }

    // The text with @ for each mention of the folder.
    std::string Masked(std::string text) const;

private:
    std::string path_;
};

// The content of any file, read to its end; "(absent)" if it cannot be opened.
std::string ReadWholeFile(std::string const& path);
