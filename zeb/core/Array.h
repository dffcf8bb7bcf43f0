#pragma once

// Array<T>: values side by side, in a block of alignment 16 whose capacity is the size rounded up to a
// multiple of 8. For small plain values; T has a copying constructor and assignment, which cannot fail.
//
// Operations that can fail give false when memory ran out, and leave the array as it was. One thread at a
// time.

#include <cstdlib>
#include <new>
#include <utility>

template<class T>
class Array {
public:
    Array() = default;
    Array(Array&& other) noexcept { Swap(other); }
    Array& operator=(Array&& other) noexcept {
        Array taken(std::move(other));
        Swap(taken);
        return *this;
    }
    Array(Array const&) = delete;
    Array& operator=(Array const&) = delete;
    ~Array() { Clear(); }

    unsigned long Size() const { return size_; }
    bool Empty() const { return size_ == 0; }
    unsigned long Capacity() const { return capacity_; }
    T* Ptr() { return data_; }
    T const* Ptr() const { return data_; }

    // Not bounded.
    T& operator[](unsigned long index) { return data_[index]; }
    T const& operator[](unsigned long index) const { return data_[index]; }
    T& Front() { return data_[0]; }
    T const& Front() const { return data_[0]; }
    T& Back() { return data_[size_ - 1]; }
    T const& Back() const { return data_[size_ - 1]; }

    T* begin() { return data_; }
    T* end() { return data_ + size_; }
    T const* begin() const { return data_; }
    T const* end() const { return data_ + size_; }

    // An index past the end is refused. The value may be an element of this array.
    [[nodiscard]] bool Insert(unsigned long index, T const& value);
    [[nodiscard]] bool PushBack(T const& value) { return Insert(size_, value); }

    // Nothing happens where there is nothing to remove.
    void Remove(unsigned long index);
    void PopBack() {
        if (size_ != 0) Remove(size_ - 1);
    }
    void Clear();

    [[nodiscard]] bool Assign(Array const& other) {
        return &other == this || Assign(other.data_, other.size_);
    }

    // The source must not lie in this array.
    [[nodiscard]] bool Assign(T const* data, unsigned long size);

    void Swap(Array& other) noexcept {
        std::swap(data_, other.data_);
        std::swap(size_, other.size_);
        std::swap(capacity_, other.capacity_);
    }

private:
    static constexpr unsigned long GROUP = 8;
    static constexpr unsigned long ALIGNMENT = 16;
    static_assert(alignof(T) <= ALIGNMENT);

    static unsigned long CapacityFor_(unsigned long size) { return (size + GROUP - 1) & ~(GROUP - 1); }
    static T* Allocate_(unsigned long capacity);
    bool Fit_(unsigned long size);
    void Replace_(T* block, unsigned long size, unsigned long capacity);

    T* data_ = nullptr;
    unsigned long size_ = 0;
    unsigned long capacity_ = 0;
};

// Null when the heap has no such block.
template<class T>
T* Array<T>::Allocate_(unsigned long capacity) {
    unsigned long bytes;
    void* block = nullptr;
    if (__builtin_mul_overflow(capacity, sizeof(T), &bytes)) return nullptr;
    return posix_memalign(&block, ALIGNMENT, bytes) == 0 ? static_cast<T*>(block) : nullptr;
}

// The block becomes the one, with `size` elements already in it.
template<class T>
void Array<T>::Replace_(T* block, unsigned long size, unsigned long capacity) {
    for (T& element : *this)
        element.~T();
    free(data_);
    data_ = block;
    size_ = size;
    capacity_ = capacity;
}

// Moves the elements to a block for `size` of them, if that is another one. A larger one than needed stays in
// use when there is no other.
template<class T>
bool Array<T>::Fit_(unsigned long size) {
    unsigned long const capacity = CapacityFor_(size);
    if (capacity == capacity_) return true;
    T* const block = Allocate_(capacity);
    if (!block) return capacity < capacity_;
    for (unsigned long i = 0; i < size_; ++i)
        new (block + i) T(data_[i]);
    Replace_(block, size_, capacity);
    return true;
}

template<class T>
bool Array<T>::Insert(unsigned long index, T const& value) {
    if (index > size_) return false;
    T const copy(value); // the block may move, and elements will
    if (!Fit_(size_ + 1)) return false;
    if (index == size_) {
        new (data_ + size_) T(copy);
    } else {
        new (data_ + size_) T(data_[size_ - 1]);
        for (unsigned long i = size_ - 1; i > index; --i)
            data_[i] = data_[i - 1];
        data_[index] = copy;
    }
    ++size_;
    return true;
}

template<class T>
void Array<T>::Remove(unsigned long index) {
    if (index >= size_) return;
    if (size_ == 1) return Clear();
    for (unsigned long i = index + 1; i < size_; ++i)
        data_[i - 1] = data_[i];
    data_[--size_].~T();
    (void)Fit_(size_); // shrinking never fails
}

template<class T>
void Array<T>::Clear() {
    Replace_(nullptr, 0, 0);
}

template<class T>
bool Array<T>::Assign(T const* data, unsigned long size) {
    if (size == 0) return Clear(), true;
    unsigned long const capacity = CapacityFor_(size);
    T* const block = capacity >= size ? Allocate_(capacity) : nullptr;
    if (!block) return false;
    for (unsigned long i = 0; i < size; ++i)
        new (block + i) T(data[i]);
    Replace_(block, size, capacity);
    return true;
}
