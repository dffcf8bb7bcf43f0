#pragma once

// The names of one object while it is parsed or built: tells whether a name stands there already, without a
// walk over all members for each new one. Internal to the library.
//
// While an object is parsed the first members set bits in one word; a name whose bit is set is looked up in
// the list. Beyond FEW members a table of hashes takes over, on the heap. The index of an object that is
// built is such a table from the start, and all of it lies in the pool of the document.

#include "zeb/core/Pool.h"
#include "zeb/doc/json/Object.h"

#include <bit>
#include <cstdint>
#include <cstring>

namespace Json {

class Names_ {
public:
    Names_() = default;
    ~Names_();
    Names_(Names_ const&) = delete;
    Names_& operator=(Names_ const&) = delete;

    // The index of an object that is built; null without memory. It ends with the pool.
    static Names_* Make(PoolBase& pool);

    // Whether the object, of which all members so far were added, has a member of that name; then counts the
    // new one, which is not linked yet, among them. A comparison stops at a NUL that both names have:
    // `length` counts the bytes up to the first NUL. The name lies in its pool block, which has at least 16
    // bytes. False means out of memory.
    bool Add(Object const& object, Object::Member const& member, unsigned long length, bool& found) {
        if (count_ >= FEW) [[unlikely]]
            return AddMany_(object, member, length, found);
        CString const& name = member.Name();
        uint64_t const hash = QuickHash_(name.Cstr(), length, name.Size());
        uint64_t const bit = uint64_t{1} << (hash >> 58);
        uint64_t& word = seen_[hash >> 56 & (WORDS - 1)];
        found = (word & bit) != 0 && object.Get(name) != nullptr;
        word |= bit;
        ++count_;
        return true;
    }
    bool Add(Object const& object, Object::Member const& member, bool& found) {
        return Add(object, member, Length_(member.Name()), found);
    }

    // A member has left the object: the members are counted anew with the next one.
    void Forget() { isWhole_ = false; }

private:
    struct Slot_ {
        uint64_t hash;
        Object::Member const* member; // null in a free slot
    };

    static constexpr unsigned FEW = 64;
    static constexpr unsigned WORDS = 4;
    static constexpr unsigned long FIRST_CAPACITY = 256;
    static constexpr uint64_t FACTOR = 0x9E3779B97F4A7C15U;

    static uint64_t Load_(char const* from) {
        uint64_t word;
        memcpy(&word, from, sizeof(word));
        return word;
    }
    // What stands behind the text in its last word is no part of it.
    static uint64_t LoadPart_(char const* from, unsigned long size) { return Load_(from) << (64 - 8 * size); }

    // Of the first and last eight bytes.
    static uint64_t QuickHash_(char const* block, unsigned long length, unsigned long size) {
        if (length >= 8) return (Load_(block) ^ std::rotl(Load_(block + length - 8), 29) ^ size) * FACTOR;
        return length != 0 ? (LoadPart_(block, length) ^ size) * FACTOR : size;
    }
    static uint64_t Mix_(uint64_t hash, uint64_t word) {
        hash = (hash ^ word) * FACTOR;
        return hash ^ (hash >> 32);
    }
    static uint64_t Hash_(char const* block, unsigned long length, unsigned long size);

    static unsigned long Length_(CString const& name) { return strnlen(name.Cstr(), name.Size()); }
    static uint64_t Hash_(CString const& name, unsigned long length) {
        return Hash_(name.Cstr(), length, name.Size());
    }

    explicit Names_(PoolBase& pool)
        : count_(FEW)
        , pool_(&pool) {}

    bool AddMany_(Object const& object, Object::Member const& member, unsigned long length, bool& found);
    bool Rebuild_(Object const& object);
    bool Resize_(unsigned long capacity);
    bool Put_(Object::Member const& member, uint64_t hash);

    uint64_t seen_[WORDS] = {};
    unsigned long count_ = 0;
    Slot_* table_ = nullptr;
    unsigned long capacity_ = 0; // a power of two
    bool isWhole_ = false;       // the table has all members
    PoolBase* pool_ = nullptr;   // where the table lies; null for the heap
};

} // namespace Json
