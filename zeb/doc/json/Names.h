#pragma once

// The names of one object while it is parsed: tells whether a name may stand there already, without a walk
// over all members for each new one. Internal to the library.
//
// The first members set bits in one word; a name whose bit is set is looked up in the list. Beyond FEW
// members a table of hashes on the heap takes over.

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

    // Whether the object, whose members are the names added so far, has that one too; then counts it among
    // them. A comparison stops at a NUL that both names have: `length` counts the bytes up to the first NUL.
    // The name lies in its pool block, which has at least 16 bytes. False means out of memory.
    bool Add(Object const& object, CString const& name, unsigned long length, bool& found) {
        if (count_ >= FEW) [[unlikely]]
            return AddMany_(object, name, length, found);
        uint64_t const hash = QuickHash_(name.Cstr(), length, name.Size());
        uint64_t const bit = uint64_t{1} << (hash >> 58);
        uint64_t& word = seen_[hash >> 56 & (WORDS - 1)];
        found = (word & bit) != 0 && object.Get(name) != nullptr;
        word |= bit;
        ++count_;
        return true;
    }

private:
    struct Slot_ {
        uint64_t hash;
        char const* data; // null in a free slot
        unsigned long size;
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

    bool AddMany_(Object const& object, CString const& name, unsigned long length, bool& found);
    bool Prepare_(Object const& object);
    bool Grow_(unsigned long capacity);
    bool Put_(CString const& name, uint64_t hash);

    uint64_t seen_[WORDS] = {};
    unsigned long count_ = 0;
    Slot_* table_ = nullptr;
    unsigned long capacity_ = 0; // a power of two
};

} // namespace Json
