#pragma once

// ArrayMap: texts by key in one flat block of bounded size, in the format that boot environments and similar
// stores use. Entries keep their order; lookup is linear.
//
//   block      = *entry [ NUL ]
//   entry      = key separator value NUL
//   key        = 1*( any byte but the separator and NUL )
//   value      = *( any byte but NUL )
//
// An object that was built from a block that is too large, or without memory, is in a failed state, which all
// its operations return. A map that cannot grow for want of memory keeps its entries. One thread at a time.

#include "zeb/core/CString.h"
#include "zeb/core/Export.h"
#include "zeb/core/ReturnT.h"

class String;
class StringMap;

class ZEB_PUBLIC ArrayMap {
public:
    static constexpr ReturnT ASSIGNED = 0x00800001;
    static constexpr ReturnT GOT = 0x00800002;
    static constexpr ReturnT SET = 0x00800003;
    static constexpr ReturnT UNSET = 0x00800004;
    static constexpr ReturnT FOUND = 0x00800005;
    static constexpr ReturnT UNCHANGED = 0x00800006;
    static constexpr ReturnT KEY_EMPTY = 0x80800001;
    static constexpr ReturnT KEY_HAS_SEPARATOR = 0x80800002;
    static constexpr ReturnT NOT_FOUND = 0x80800003;
    static constexpr ReturnT TOO_LARGE = 0x80800004;
    static constexpr ReturnT KEY_EXISTS = 0x80800005;
    static constexpr ReturnT VALUE_HAS_NUL = 0x80800006;

    // The block of a map without entries.
    static char const* NilPtr();
    static unsigned long NilSize() { return 1; }

    ArrayMap(unsigned long maxSize, char separator, char const* data, unsigned long size);
    ArrayMap(ArrayMap const&) = delete;
    ArrayMap& operator=(ArrayMap const&) = delete;
    ~ArrayMap();

    bool Initialized() const { return state_.Succeeded(); }

    // The first form takes over state, limit and separator too. In the second what stands behind the last
    // entry is dropped, and a NUL that is missing at the end of the block, or behind the last value, is
    // added. The source must not lie in this map.
    ReturnT Assign(ArrayMap const& other);
    ReturnT Assign(char const* data, unsigned long size);

    ReturnT Get(CString const& key, String& value) const;

    // Replaces the content of `map`, which is left empty when memory ran out.
    ReturnT Get(StringMap& map) const;

    // UNCHANGED, which is a success, when the key has that value already; KEY_EXISTS when it exists and is
    // not to be overwritten. A changed entry keeps its place, a new one comes last. A key with a separator or
    // a NUL in it is refused, a value with a NUL too. The texts must not lie in this map.
    ReturnT Set(CString const& key, CString const& value, bool overwrite);
    ReturnT Unset(CString const& key);

    bool Has(CString const& key) const;

    // There is no entry.
    bool Empty() const;

    // The block: never null, and NilPtr() and NilSize() when there is none.
    char const* Ptr() const { return data_ ? data_ : NilPtr(); }
    unsigned long Size() const { return data_ ? size_ : NilSize(); }

    void Swap(ArrayMap& other) noexcept;

private:
    struct Entry_;

    static bool NextEntry_(char const* data, unsigned long size, char separator, Entry_& entry);
    ReturnT Find_(CString const& key, Entry_& entry) const;
    bool Replace_(Entry_ const& entry, unsigned long size);
    bool Resize_(unsigned long size);
    void Free_();

    ReturnT state_;
    char* data_ = nullptr;
    unsigned long size_ = 0;
    unsigned long allocatedSize_ = 0;
    unsigned long maxSize_;
    char separator_;
};
