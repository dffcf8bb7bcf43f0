#pragma once

// StringMap: texts by key, kept in the order of the bytes of their keys.
//
// Lookup is a binary search. A key of class CString::IgnoreCase finds without case, which is reliable only
// where all keys of the map have one case. Operations that can fail give false when memory ran out, and leave
// the map as it was. Views that Get and Key return live until that entry changes. One thread at a time.

#include "zeb/core/PVector.h"
#include "zeb/core/String.h"

class ZEB_PUBLIC StringMap {
public:
    class Iterator;

    // One entry, as seen by a loop.
    struct Pair {
        CString const& key;
        CString const& value;
    };

    static StringMap const& Nil();

    unsigned long Size() const { return entries_.Size(); }
    bool Empty() const { return entries_.Empty(); }
    void Clear() { entries_.Clear(); }

    // Changes the value of the key, or adds the pair.
    [[nodiscard]] bool Set(CString const& key, CString const& value);

    // CString::Nil() when there is no such key or index.
    CString const& Get(CString const& key) const { return Get(Find(key)); }
    CString const& Get(unsigned long index) const;
    CString const& Key(unsigned long index) const;

    // Index of the key, or Size().
    unsigned long Find(CString const& key) const;
    bool Has(CString const& key) const { return Find(key) != Size(); }

    // For loops over the entries in their order: for (auto const& [key, value] : map). Inside the loop
    // nothing is put in or taken out.
    Iterator begin() const;
    Iterator end() const;

    // False when there was nothing to remove.
    bool Remove(CString const& key) { return Remove(Find(key)); }
    bool Remove(unsigned long index);

    [[nodiscard]] bool Assign(StringMap const& other);
    void Swap(StringMap& other) noexcept { entries_.Swap(other.entries_); }

private:
    struct Entry_ {
        String key;
        String value;
    };

    bool Insert_(CString const& key, CString const& value, unsigned long index);

    AutoPVector<Entry_, StdDeleter> entries_;
};

class StringMap::Iterator {
public:
    Pair operator*() const { return {map_->Key(index_), map_->Get(index_)}; }
    Iterator& operator++() { return ++index_, *this; }
    bool operator==(Iterator const&) const = default;

private:
    friend class StringMap;

    Iterator(StringMap const& map, unsigned long index)
        : map_(&map)
        , index_(index) {}

    StringMap const* map_;
    unsigned long index_;
};

inline StringMap::Iterator StringMap::begin() const { return {*this, 0}; }
inline StringMap::Iterator StringMap::end() const { return {*this, Size()}; }
