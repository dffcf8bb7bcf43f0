#include "zeb/core/LogImpl.h"

#include <cstdlib>
#include <cstring>

void Log::Impl_::StringBuffer_::Append(char const* text, unsigned long size, MergeT merge,
                                       char const* marker) {
    AppendMeasured(text, strnlen(text, size), merge, marker);
}

void Log::Impl_::StringBuffer_::AppendSlowly_(char const* text, unsigned long size, MergeT merge,
                                              char const* marker) {
    if (IsTruncated()) return;
    if (merge == NEW) flags_ &= ~CUT;
    if (flags_ & CUT) return;

    bool const merging = merge == MERGE && size_ != 0;
    unsigned long const base = size_ - (merging ? 1 : 0);
    if (MakeRoom_(base + size + 1)) {
        Store_(base, text, size);
        if (!merging) ++count_;
        return;
    }
    flags_ |= TRUNCATED;
    if (flags_ & STORE_TRUNCATED) {
        if (base == CAPACITY) return;
        Store_(base, text, CAPACITY - 1 - base);
        if (!merging) ++count_;
        return;
    }
    if (merging) DropLast_();
    if (marker) AppendMarker_(marker);
}

void Log::Impl_::StringBuffer_::Clear() {
    if (IsOnHeap()) free(current_);
    current_ = array_;
    size_ = 0;
    count_ = 0;
    flags_ = 0;
}

bool Log::Impl_::StringBuffer_::MakeRoom_(unsigned long size) {
    if (size <= CAPACITY) return true;
    if (!(flags_ & ALLOW_GROWING)) return false;
    char* const block = static_cast<char*>(realloc(IsOnHeap() ? current_ : nullptr, size));
    if (!block) return false;
    if (!IsOnHeap()) memcpy(block, array_, size_);
    current_ = block;
    return true;
}

void Log::Impl_::StringBuffer_::Store_(unsigned long base, char const* text, unsigned long size) {
    memcpy(current_ + base, text, size);
    current_[base + size] = '\0';
    size_ = base + size + 1;
}

void Log::Impl_::StringBuffer_::DropLast_() {
    --size_;
    while (size_ != 0 && current_[size_ - 1] != '\0')
        --size_;
    --count_;
}

void Log::Impl_::StringBuffer_::AppendMarker_(char const* marker) {
    flags_ &= ~TRUNCATED;
    Append(marker, strlen(marker), NEW);
    flags_ |= CUT;
}
