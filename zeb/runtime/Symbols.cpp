#include "zeb/runtime/SymbolsImpl.h"

#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

unsigned long Page_() { return static_cast<unsigned long>(getpagesize()); }
unsigned long PageOf_(unsigned long address) { return address / Page_() * Page_(); }

} // namespace

char const* Symbols_::Find(unsigned long address, unsigned long base, char const* path,
                           unsigned long& offset) {
    if (!Map_(base, path)) return nullptr;
    unsigned long const place = address - base + PageOf_(Code_()->p_vaddr);
    name_ = nullptr;
    value_ = 0;
    auto const& head = *At_<Elf64_Ehdr>(0, 1);
    auto const* const tables = At_<Elf64_Shdr>(head.e_shoff, head.e_shnum);
    for (unsigned i = 0; tables && i < head.e_shnum; ++i) {
        if (tables[i].sh_type == SHT_SYMTAB || tables[i].sh_type == SHT_DYNSYM)
            SearchTable_(tables[i], place);
    }
    offset = place - value_;
    return name_;
}

bool Symbols_::Map_(unsigned long base, char const* path) {
    if (image_ && base == base_) return true;
    Unmap_();
    int const file = *path == '/' ? open(path, O_RDONLY | O_CLOEXEC) : -1;
    if (file < 0) return false;
    struct stat info;
    if (fstat(file, &info) == 0 && S_ISREG(info.st_mode) && info.st_size > 0) {
        void* const image =
            mmap(nullptr, static_cast<unsigned long>(info.st_size), PROT_READ, MAP_PRIVATE, file, 0);
        if (image != MAP_FAILED) {
            image_ = static_cast<char const*>(image);
            size_ = static_cast<unsigned long>(info.st_size);
            base_ = base;
        }
    }
    close(file);
    if (!image_) return false;
    Elf64_Phdr const* const code = CheckFile_() ? Code_() : nullptr;
    if (!code) {
        Unmap_();
        return false;
    }
    codeSize_ = PageOf_(code->p_vaddr + code->p_memsz - 1) + Page_() - PageOf_(code->p_vaddr);
    return true;
}

void Symbols_::Unmap_() {
    if (image_) munmap(const_cast<char*>(image_), size_);
    image_ = nullptr;
    size_ = 0;
}

bool Symbols_::CheckFile_() const {
    auto const* const head = At_<Elf64_Ehdr>(0, 1);
    return head && memcmp(head->e_ident, ELFMAG, SELFMAG) == 0 && head->e_ident[EI_CLASS] == ELFCLASS64 &&
           head->e_phentsize == sizeof(Elf64_Phdr) &&
           (head->e_shnum == 0 || head->e_shentsize == sizeof(Elf64_Shdr));
}

// The segment that the mapping of the code is made from; its addresses are those of the symbols.
Elf64_Phdr const* Symbols_::Code_() const {
    auto const& head = *At_<Elf64_Ehdr>(0, 1);
    auto const* const segments = At_<Elf64_Phdr>(head.e_phoff, head.e_phnum);
    for (unsigned i = 0; segments && i < head.e_phnum; ++i) {
        if (segments[i].p_type == PT_LOAD && (segments[i].p_flags & PF_X)) return segments + i;
    }
    return nullptr;
}

void Symbols_::SearchTable_(Elf64_Shdr const& table, unsigned long address) {
    auto const& head = *At_<Elf64_Ehdr>(0, 1);
    if (table.sh_link >= head.e_shnum) return;
    Elf64_Shdr const& texts = At_<Elf64_Shdr>(head.e_shoff, head.e_shnum)[table.sh_link];
    unsigned long const count = table.sh_size / sizeof(Elf64_Sym);
    auto const* const symbols = At_<Elf64_Sym>(table.sh_offset, count);
    char const* const names = At_<char>(texts.sh_offset, texts.sh_size);
    if (!symbols || !names) return;
    for (unsigned long i = 0; i < count; ++i) {
        Elf64_Sym const& symbol = symbols[i];
        bool const nearer = symbol.st_value <= address && (!name_ || symbol.st_value > value_);
        if (!nearer || ELF64_ST_TYPE(symbol.st_info) != STT_FUNC || symbol.st_shndx == SHN_UNDEF) continue;
        if (symbol.st_name >= texts.sh_size ||
            !memchr(names + symbol.st_name, '\0', texts.sh_size - symbol.st_name))
            continue;
        name_ = names + symbol.st_name;
        value_ = symbol.st_value;
    }
}
