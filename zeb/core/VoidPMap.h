#pragma once

// VoidPMap: untyped pointers by key, kept in the order of the bytes of their keys. It owns the keys, not what
// the pointers aim at.
//
// Lookup, failure and threads are as with StringMap.

#include "zeb/core/PVector.h"
#include "zeb/core/String.h"

class ZEB_PUBLIC VoidPMap {
public:
    unsigned long Size() const { return entries_.Size(); }
    bool Empty() const { return entries_.Empty(); }
    void Clear() { entries_.Clear(); }

    // Changes the value of the key, or adds the pair.
    [[nodiscard]] bool Set(CString const& key, void* value);
    [[nodiscard]] bool Set(CString const& key, void const* value) {
        return Set(key, const_cast<void*>(value));
    }

    // False when the index is past the end.
    [[nodiscard]] bool Set(unsigned long index, void* value);
    [[nodiscard]] bool Set(unsigned long index, void const* value) {
        return Set(index, const_cast<void*>(value));
    }

    // Null when there is no such key or index.
    void* Get(CString const& key) { return Get(Find(key)); }
    void const* Get(CString const& key) const { return Get(Find(key)); }
    void* Get(unsigned long index) { return index < Size() ? entries_[index]->value : nullptr; }
    void const* Get(unsigned long index) const { return index < Size() ? entries_[index]->value : nullptr; }

    // CString::Nil() when there is no such index.
    CString const& Key(unsigned long index) const;

    // Index of the key, or Size().
    unsigned long Find(CString const& key) const;
    bool Has(CString const& key) const { return Find(key) != Size(); }

    // False when there was nothing to remove.
    bool Remove(CString const& key) { return Remove(Find(key)); }
    bool Remove(unsigned long index);

    void Swap(VoidPMap& other) noexcept { entries_.Swap(other.entries_); }

private:
    struct Entry_ {
        String key;
        void* value;
    };

    AutoPVector<Entry_, StdDeleter> entries_;
};
