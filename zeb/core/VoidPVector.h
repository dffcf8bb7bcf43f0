#pragma once

// VoidPVector: an array of untyped pointers, from which the object containers are made. It does not own what
// they aim at.
//
// There is no capacity field: the block is always a whole number of groups of 8 pointers, and the size tells
// how many. That makes an empty or short vector, of which there are very many, two words and one small block.
//
// Operations that can fail give false when memory ran out, and change nothing. One thread at a time.

#include "zeb/core/Export.h"

#include <utility>

class ZEB_PUBLIC VoidPVector {
public:
    // Gets pointers to two elements, that is, to stored pointers, as with qsort.
    using CompareT = int (*)(void const*, void const*);

    VoidPVector() = default;
    VoidPVector(VoidPVector&& other) noexcept { Swap(other); }
    VoidPVector& operator=(VoidPVector&& other) noexcept {
        VoidPVector taken(std::move(other));
        Swap(taken);
        return *this;
    }
    VoidPVector(VoidPVector const&) = delete;
    VoidPVector& operator=(VoidPVector const&) = delete;
    ~VoidPVector();

    unsigned long Size() const { return size_; }
    bool Empty() const { return size_ == 0; }
    void** Ptr() { return data_; }
    void* const* Ptr() const { return data_; }

    // Not bounded.
    void* operator[](unsigned long index) { return data_[index]; }
    void const* operator[](unsigned long index) const { return data_[index]; }
    void Set(unsigned long index, void const* value) { data_[index] = const_cast<void*>(value); }

    // Pointers at and behind the index move up; the size is the index to append. An index past the end moves
    // nothing and stores there, in a slot that the size does not cover yet, while the last one that it covers
    // is null; past the block it is refused.
    [[nodiscard]] bool Insert(void* value, unsigned long index);
    [[nodiscard]] bool Insert(void const* value, unsigned long index) {
        return Insert(const_cast<void*>(value), index);
    }
    [[nodiscard]] bool PushBack(void* value) { return Insert(value, size_); }

    // Nothing happens when the index is past the end. The block shrinks with each group that falls free.
    void Remove(unsigned long index);
    void Clear();

    // Index of the first such pointer, or Size(). Linear.
    unsigned long Find(void const* value) const;

    // Sort does not keep the order of equals; BubbleSort does, in quadratic time.
    void Sort(CompareT compare);
    void BubbleSort(CompareT compare);

    [[nodiscard]] bool Assign(VoidPVector const& other);
    void Swap(VoidPVector& other) noexcept {
        std::swap(data_, other.data_);
        std::swap(size_, other.size_);
    }

    // The first element goes to the end; or, of the range [first, last), `middle` comes first and what was
    // ahead of it behind.
    void Rotate();
    void Rotate(unsigned long first, unsigned long middle, unsigned long last);

private:
    bool Grow_();
    void Shrink_();

    void** data_ = nullptr;
    unsigned long size_ = 0;
};

static_assert(sizeof(VoidPVector) == 2 * sizeof(void*));
