#include "zeb/core/ArrayMap.h"

#include "zeb/core/String.h"
#include "zeb/core/StringMap.h"

#include <cstdlib>
#include <cstring>
#include <utility>

namespace {

constexpr unsigned long ALIGNMENT = 16;
constexpr unsigned long GROUP = 8;

} // namespace

struct ArrayMap::Entry_ {
    static constexpr unsigned long EXTRA = 2; // the separator and the NUL

    unsigned long End() const { return pos + size; }

    unsigned long pos = 0;
    unsigned long size = 0; // the whole of it
    CString key;
    CString value;
};

char const* ArrayMap::NilPtr() { return ""; }

ArrayMap::ArrayMap(unsigned long maxSize, char separator, char const* data, unsigned long size)
    : maxSize_(maxSize)
    , separator_(separator) {
    state_ = Assign(data, size);
}

ArrayMap::~ArrayMap() { free(data_); }

// Goes on to the entry behind this one; the first one is behind an entry without size. False at the end of
// the list, which is anything but an entry. The last value of a block may lack its NUL, which is counted
// then.
bool ArrayMap::NextEntry_(char const* data, unsigned long size, char separator, Entry_& entry) {
    unsigned long const pos = entry.End();
    if (pos >= size) return false;
    char const* const begin = data + pos;
    char const* const end = data + size;
    char const* mark = begin;
    while (mark != end && *mark != separator && *mark != '\0')
        ++mark;
    if (mark == end || mark == begin || *mark != separator) return false;
    char const* const value = mark + 1;
    char const* const stop = value + strnlen(value, static_cast<unsigned long>(end - value));
    entry.pos = pos;
    entry.size = static_cast<unsigned long>(stop + 1 - begin);
    entry.key = CString(begin, static_cast<unsigned long>(mark - begin));
    entry.value = CString(value, static_cast<unsigned long>(stop - value));
    return true;
}

// A block for that many bytes, the present ones kept and new ones zero. To become smaller never fails.
bool ArrayMap::Resize_(unsigned long size) {
    unsigned long const rounded = (size + GROUP - 1) & ~(GROUP - 1);
    if (rounded < size) return false;
    if (rounded != allocatedSize_) {
        void* block = nullptr;
        if (posix_memalign(&block, ALIGNMENT, rounded) == 0) {
            unsigned long const kept = rounded < allocatedSize_ ? rounded : allocatedSize_;
            if (kept != 0) memcpy(block, data_, kept);
            memset(static_cast<char*>(block) + kept, 0, rounded - kept);
            free(data_);
            data_ = static_cast<char*>(block);
            allocatedSize_ = rounded;
        } else if (rounded > allocatedSize_) {
            return false;
        }
    }
    size_ = size;
    return true;
}

void ArrayMap::Free_() {
    free(data_);
    data_ = nullptr;
    size_ = allocatedSize_ = 0;
}

ReturnT ArrayMap::Assign(ArrayMap const& other) {
    if (&other == this) return state_;
    ArrayMap copy(other.maxSize_, other.separator_, other.Ptr(), other.Size());
    if (copy.state_.IsOom()) return copy.state_;
    copy.state_ = other.state_;
    Swap(copy);
    return state_;
}

ReturnT ArrayMap::Assign(char const* data, unsigned long size) {
    if (state_.Failed()) return state_;
    Entry_ entry;
    while (NextEntry_(data, size, separator_, entry)) {
    }
    unsigned long const length = entry.End();
    if (length >= maxSize_) return TOO_LARGE;
    if (length == 0) {
        Free_();
        return ASSIGNED;
    }
    if (!Resize_(length + 1)) return ReturnT::Oom();
    unsigned long const given = length < size ? length : size;
    memcpy(data_, data, given);
    memset(data_ + given, 0, length + 1 - given);
    return ASSIGNED;
}

ReturnT ArrayMap::Find_(CString const& key, Entry_& entry) const {
    if (state_.Failed()) return state_;
    if (key.Empty()) return KEY_EMPTY;
    if (key.Find(separator_) != key.Size() || key.Find('\0') != key.Size()) return KEY_HAS_SEPARATOR;
    while (NextEntry_(Ptr(), Size(), separator_, entry))
        if (key.Compare(entry.key) == 0) return FOUND;
    return NOT_FOUND;
}

ReturnT ArrayMap::Get(CString const& key, String& value) const {
    Entry_ entry;
    ReturnT const found = Find_(key, entry);
    if (found.Failed()) return found;
    if (!value.Assign(entry.value)) return ReturnT::Oom();
    return GOT;
}

ReturnT ArrayMap::Get(StringMap& map) const {
    map.Clear();
    if (state_.Failed()) return state_;
    Entry_ entry;
    while (NextEntry_(Ptr(), Size(), separator_, entry)) {
        if (map.Set(entry.key, entry.value)) continue;
        map.Clear();
        return ReturnT::Oom();
    }
    return GOT;
}

ReturnT ArrayMap::Set(CString const& key, CString const& value, bool overwrite) {
    Entry_ entry;
    ReturnT const found = Find_(key, entry);
    if (found.Failed() && found != NOT_FOUND) return found;
    if (value.Find('\0') != value.Size()) return VALUE_HAS_NUL;
    unsigned long const size = key.Size() + value.Size() + Entry_::EXTRA;
    unsigned long const room = Size() < maxSize_ ? maxSize_ - Size() : 0;
    if (found == NOT_FOUND) {
        if (size > room) return TOO_LARGE;
        entry.pos = Size() - 1;
        entry.size = 0;
    } else {
        if (!overwrite) return KEY_EXISTS;
        if (size > entry.size && size - entry.size > room) return TOO_LARGE;
        bool const isSame =
            value.Size() == entry.value.Size() && memcmp(value.Cstr(), entry.value.Cstr(), value.Size()) == 0;
        if (isSame) return UNCHANGED;
    }
    if (!Replace_(entry, size)) return ReturnT::Oom();
    char* p = static_cast<char*>(mempcpy(data_ + entry.pos, key.Cstr(), key.Size()));
    *p++ = separator_;
    p = static_cast<char*>(mempcpy(p, value.Cstr(), value.Size()));
    *p = '\0';
    return SET;
}

// The entry's place becomes that large, the tail of the block moves. The block grows first, so that nothing
// has happened when it cannot.
bool ArrayMap::Replace_(Entry_ const& entry, unsigned long size) {
    unsigned long const oldTotal = Size();
    unsigned long const newTotal = oldTotal - entry.size + size;
    if (newTotal > oldTotal && !Resize_(newTotal)) return false;
    memmove(data_ + entry.pos + size, data_ + entry.End(), oldTotal - entry.End());
    return newTotal >= oldTotal || Resize_(newTotal);
}

ReturnT ArrayMap::Unset(CString const& key) {
    Entry_ entry;
    ReturnT const found = Find_(key, entry);
    if (found.Failed()) return found;
    if (entry.size + 1 == size_)
        Free_();
    else
        (void)Replace_(entry, 0); // to become smaller never fails
    return UNSET;
}

bool ArrayMap::Has(CString const& key) const {
    Entry_ entry;
    return Find_(key, entry).Succeeded();
}

bool ArrayMap::Empty() const {
    Entry_ entry;
    return !NextEntry_(Ptr(), Size(), separator_, entry);
}

void ArrayMap::Swap(ArrayMap& other) noexcept {
    std::swap(state_, other.state_);
    std::swap(data_, other.data_);
    std::swap(size_, other.size_);
    std::swap(allocatedSize_, other.allocatedSize_);
    std::swap(maxSize_, other.maxSize_);
    std::swap(separator_, other.separator_);
}
