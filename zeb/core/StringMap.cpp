#include "zeb/core/StringMap.h"

#include "zeb/core/MapSearch.h"

#include <new>

StringMap const& StringMap::Nil() {
    static StringMap const nil;
    return nil;
}

bool StringMap::Set(CString const& key, CString const& value) {
    unsigned long index;
    if (MapSearch_::Find(entries_, key, index) != Size()) return entries_[index]->value.Assign(value);
    return Insert_(key, value, index);
}

bool StringMap::Insert_(CString const& key, CString const& value, unsigned long index) {
    AutoPtr<Entry_> entry(new (std::nothrow) Entry_);
    return entry && entry->key.Assign(key) && entry->value.Assign(value) && entries_.Insert(entry, index);
}

CString const& StringMap::Get(unsigned long index) const {
    return index < Size() ? entries_[index]->value : CString::Nil();
}

CString const& StringMap::Key(unsigned long index) const {
    return index < Size() ? entries_[index]->key : CString::Nil();
}

unsigned long StringMap::Find(CString const& key) const {
    unsigned long insertIndex;
    return MapSearch_::Find(entries_, key, insertIndex);
}

bool StringMap::Remove(unsigned long index) {
    if (index >= Size()) return false;
    entries_.Free(index);
    return true;
}

bool StringMap::Assign(StringMap const& other) {
    if (&other == this) return true;
    StringMap copy;
    for (unsigned long i = 0; i != other.Size(); ++i)
        if (!copy.Insert_(other.Key(i), other.Get(i), i)) return false;
    Swap(copy);
    return true;
}
