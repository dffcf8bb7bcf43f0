#include "zeb/core/CString.h"

#include "zeb/core/String.h"
#include "zeb/core/StringVector.h"

#include <cctype>
#include <strings.h>

namespace {

// strncmp or strncasecmp of the common length; then the shorter text comes first.
int Compare_(char const* a, unsigned long aSize, char const* b, unsigned long bSize, bool ignoreCase) {
    unsigned long const common = aSize < bSize ? aSize : bSize;
    int const result = ignoreCase ? strncasecmp(a, b, common) : strncmp(a, b, common);
    if (result != 0 || aSize == bSize) return result;
    return aSize < bSize ? -1 : 1;
}

// A comparison ends at a NUL that both sides have, so what follows the first NUL of the text that is looked
// for does not count, although room for it must be there.
unsigned long Significant_(char const* text, unsigned long size) {
    unsigned long const count = strnlen(text, size);
    return count < size ? count + 1 : size;
}

bool IsAll_(CString const& text, int (*isClass)(int)) {
    if (text.Size() == 0) return false; // its pointer may be null
    char const* p = text.Cstr();
    char const* const end = p + strnlen(p, text.Size());
    if (p == end) return false;
    for (; p != end; ++p) {
        if (!isClass(static_cast<unsigned char>(*p))) return false;
    }
    return true;
}

bool IsSpace_(char c) { return isspace(static_cast<unsigned char>(c)) != 0; }

bool SplitWords_(CString const& text, StringVector& out) {
    char const* p = text.Cstr();
    char const* const end = p + text.Size();
    for (;;) {
        while (p != end && IsSpace_(*p))
            ++p;
        if (p == end) return true;
        char const* const word = p;
        while (p != end && !IsSpace_(*p))
            ++p;
        if (!out.PushBack(word, static_cast<unsigned long>(p - word))) return false;
    }
}

unsigned long FieldEnd_(CString const& text, char separator, unsigned long pos) {
    void const* const hit = memchr(text.Cstr() + pos, separator, text.Size() - pos);
    return hit ? static_cast<unsigned long>(static_cast<char const*>(hit) - text.Cstr()) : text.Size();
}

bool SplitFields_(CString const& text, StringVector& out, char separator) {
    for (unsigned long pos = 0;;) {
        unsigned long const end = FieldEnd_(text, separator, pos);
        if (!out.PushBack(text.Cstr() + pos, end - pos)) return false;
        if (end == text.Size()) return true;
        pos = end + 1;
    }
}

} // namespace

char const CString::NIL_[1] = {'\0'};

CString const& CString::Nil() {
    static CString const nil;
    return nil;
}

bool CString::IgnoreCase_() const { return false; }

bool CString::IgnoreCase::IgnoreCase_() const { return true; }

int CString::Compare(CString const& other) const {
    return Compare_(data_, size_, other.data_, other.size_, IgnoreCase_() || other.IgnoreCase_());
}

int CString::Compare(unsigned long pos, CString const& other) const { return Compare(pos, size_, other); }

int CString::Compare(unsigned long pos, char const* text, unsigned long size) const {
    return Compare(pos, size_, text, size);
}

int CString::Compare(unsigned long pos, unsigned long count, CString const& other) const {
    return Compare_(data_ + pos, Part_(pos, count), other.data_, other.size_,
                    IgnoreCase_() || other.IgnoreCase_());
}

int CString::Compare(unsigned long pos, unsigned long count, char const* text, unsigned long size) const {
    return Compare_(data_ + pos, Part_(pos, count), text, size, IgnoreCase_());
}

unsigned long CString::Find(char c, unsigned long pos) const {
    if (pos >= size_) return size_;
    if (IgnoreCase_()) return Find_(pos, &c, 1, true);
    void const* const hit = memchr(data_ + pos, c, size_ - pos);
    return hit ? static_cast<unsigned long>(static_cast<char const*>(hit) - data_) : size_;
}

unsigned long CString::Find(char const* text, unsigned long size) const {
    return Find_(0, text, size, IgnoreCase_());
}

unsigned long CString::Find(CString const& text, unsigned long pos) const {
    return Find_(pos, text.data_, text.size_, IgnoreCase_() || text.IgnoreCase_());
}

unsigned long CString::FindLast(char c, unsigned long pos) const {
    unsigned long const count = pos < size_ ? pos : size_;
    if (IgnoreCase_()) return FindLast_(count, &c, 1, true);
    void const* const hit = memrchr(data_, c, count);
    return hit ? static_cast<unsigned long>(static_cast<char const*>(hit) - data_) : size_;
}

unsigned long CString::FindLast(CString const& text) const {
    return FindLast_(size_, text.data_, text.size_, IgnoreCase_() || text.IgnoreCase_());
}

unsigned long CString::FindLast(char const*, unsigned long) const { return size_; }

unsigned long CString::Find_(unsigned long pos, char const* text, unsigned long size, bool ignoreCase) const {
    if (size == 0 || pos > size_ || size > size_ - pos) return size_;
    char const* const last = data_ + (size_ - size);
    if (!ignoreCase) {
        unsigned long const significant = Significant_(text, size);
        unsigned long const reach = static_cast<unsigned long>(last - data_) + significant - pos;
        void const* const hit = memmem(data_ + pos, reach, text, significant);
        return hit ? static_cast<unsigned long>(static_cast<char const*>(hit) - data_) : size_;
    }
    for (char const* p = data_ + pos; p <= last; ++p) {
        if (strncasecmp(p, text, size) == 0) return static_cast<unsigned long>(p - data_);
    }
    return size_;
}

unsigned long CString::FindLast_(unsigned long end, char const* text, unsigned long size,
                                 bool ignoreCase) const {
    if (size == 0 || size > end) return size_;
    for (unsigned long pos = end - size + 1; pos-- > 0;) {
        if (Compare_(data_ + pos, size, text, size, ignoreCase) == 0) return pos;
    }
    return size_;
}

bool CString::IsPrintable() const { return IsAll_(*this, isprint); }
bool CString::IsPrintableNonSpace() const { return IsAll_(*this, isgraph); }
bool CString::IsNumeric() const { return IsAll_(*this, isdigit); }

bool CString::Substr(String& out, unsigned long pos) const { return out.Assign(data_ + pos, size_ - pos); }

bool CString::Substr(String& out, unsigned long pos, unsigned long count) const {
    return out.Assign(data_ + pos, count);
}

bool CString::Split(StringVector& out, char separator) const {
    StringVector fields; // the text may be one of those in `out`
    bool const ok = size_ == 0          ? fields.PushBack(data_, 0)
                    : separator == '\0' ? SplitWords_(*this, fields)
                                        : SplitFields_(*this, fields, separator);
    if (!ok) fields.Clear();
    out.Swap(fields);
    return ok;
}
