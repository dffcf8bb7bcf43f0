#pragma once

// The comparison of names that all lookups share. Internal to this folder.

#include "zeb/core/CString.h"

namespace Xml {

// Texts of different size differ, also when case is ignored.
inline bool SameName(CString const& name, CString const& key) {
    return name.Size() == key.Size() && name.Compare(key) == 0;
}

// Walks by the link from `item` on to the first one of that name; an empty name means any.
template<auto LINK, typename T>
T* FindName(T* item, CString const& name) {
    if (name.Empty()) return item;
    while (item != nullptr && !SameName(item->Name(), name))
        item = item->*LINK;
    return item;
}

} // namespace Xml
