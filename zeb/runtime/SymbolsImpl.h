#pragma once

// Which function an address of this process lies in, by the symbol tables of the mapped files: the nearest
// function at or ahead of it. Not installed.
//
// For signal handlers, where the unwinder's own search, which uses the heap, must not be: only open, fstat,
// mmap and close. The file of the last search stays mapped, as frames come in runs of one file.

#include <elf.h>

class Symbols_ {
public:
    Symbols_() = default;
    ~Symbols_() { Unmap_(); }
    Symbols_(Symbols_ const&) = delete;
    Symbols_& operator=(Symbols_ const&) = delete;

    // `base` is the start of the mapping that holds the address, `path` that of its file. The name, which
    // lives until the next search, and the offset from its start; null if there is none.
    char const* Find(unsigned long address, unsigned long base, char const* path, unsigned long& offset);

    // Whether the address lies in the mapping of the last search that had a file, so that nobody needs to
    // look for it.
    bool Holds(unsigned long address) const { return image_ && address - base_ < codeSize_; }

private:
    bool Map_(unsigned long base, char const* path);
    void Unmap_();
    bool CheckFile_() const;
    Elf64_Phdr const* Code_() const;
    void SearchTable_(Elf64_Shdr const& table, unsigned long address);

    // A part of the file, null if it does not lie in it.
    template<class T>
    T const* At_(unsigned long offset, unsigned long count) const {
        bool const inside = offset <= size_ && count <= (size_ - offset) / sizeof(T);
        return inside && offset % alignof(T) == 0 ? reinterpret_cast<T const*>(image_ + offset) : nullptr;
    }

    unsigned long base_ = 0; // of the mapping that the file was found by, and its size
    unsigned long codeSize_ = 0;
    char const* image_ = nullptr;
    unsigned long size_ = 0;

    // The best of a search.
    char const* name_ = nullptr;
    unsigned long value_ = 0;
};
