#pragma once

// The binary search of the sorted maps. Not installed.

#include "zeb/core/PVector.h"
#include "zeb/core/String.h"

#include <cstdlib>

namespace MapSearch_ {

// bsearch tells nothing about a miss, so the comparison leaves a note of the last element it saw: the key
// belongs there, or right behind it.
template<class Entry>
struct Probe {
    CString const& key;
    Entry const* const* last = nullptr;
    int sign = 0;

    static int Compare(void const* probe, void const* element) {
        auto& self = *static_cast<Probe*>(const_cast<void*>(probe));
        self.last = static_cast<Entry const* const*>(element);
        self.sign = self.key.Compare((*self.last)->key);
        return self.sign;
    }
};

// The index of the key, also in `insertIndex`; or the size, and where the key has to be inserted.
template<class Entry>
unsigned long Find(PVector<Entry> const& entries, CString const& key, unsigned long& insertIndex) {
    insertIndex = 0;
    if (entries.Empty()) return 0;
    Probe<Entry> probe{key};
    bool const found = bsearch(&probe, entries.Ptr(), entries.Size(), sizeof(void*), &Probe<Entry>::Compare);
    auto const* const first = reinterpret_cast<Entry const* const*>(entries.Ptr());
    insertIndex = static_cast<unsigned long>(probe.last - first);
    if (found) return insertIndex;
    if (probe.sign > 0) ++insertIndex;
    return entries.Size();
}

} // namespace MapSearch_
