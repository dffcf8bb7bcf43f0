#include "zeb/core/VoidPMap.h"

#include "zeb/core/MapSearch.h"

#include <new>

bool VoidPMap::Set(CString const& key, void* value) {
    unsigned long index;
    if (MapSearch_::Find(entries_, key, index) != Size()) return Set(index, value);
    AutoPtr<Entry_> entry(new (std::nothrow) Entry_{{}, value});
    return entry && entry->key.Assign(key) && entries_.Insert(entry, index);
}

bool VoidPMap::Set(unsigned long index, void* value) {
    if (index >= Size()) return false;
    entries_[index]->value = value;
    return true;
}

CString const& VoidPMap::Key(unsigned long index) const {
    return index < Size() ? entries_[index]->key : CString::Nil();
}

unsigned long VoidPMap::Find(CString const& key) const {
    unsigned long insertIndex;
    return MapSearch_::Find(entries_, key, insertIndex);
}

bool VoidPMap::Remove(unsigned long index) {
    if (index >= Size()) return false;
    entries_.Free(index);
    return true;
}
