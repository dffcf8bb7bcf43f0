#pragma once

// Stats::Block<T>: memory for a number of values that is fixed once, each built by T's constructor without
// arguments, in one block of alignment 16. For what grows take an Array. One thread at a time; an index is
// not checked.

#include <cstdlib>
#include <new>
#include <type_traits>

namespace Stats {

template<class T>
class Block {
public:
    Block() = default;
    Block(Block const&) = delete;
    Block& operator=(Block const&) = delete;
    ~Block() { free(data_); }

    // Once in the life of the block. False when memory ran out. None at all is a block too.
    [[nodiscard]] bool Allocate(unsigned long size);

    unsigned long Size() const { return size_; }
    T* Ptr() { return data_; }
    T& operator[](unsigned long index) { return data_[index]; }
    T const& operator[](unsigned long index) const { return data_[index]; }

    void Reset();

private:
    static constexpr unsigned long ALIGNMENT = 16;
    static_assert(alignof(T) <= ALIGNMENT && std::is_trivially_destructible_v<T>);

    T* data_ = nullptr;
    unsigned long size_ = 0;
};

template<class T>
bool Block<T>::Allocate(unsigned long size) {
    unsigned long bytes;
    void* block = nullptr;
    if (size == 0) return true;
    if (__builtin_mul_overflow(size, sizeof(T), &bytes) || posix_memalign(&block, ALIGNMENT, bytes) != 0)
        return false;
    data_ = static_cast<T*>(block);
    size_ = size;
    Reset();
    return true;
}

template<class T>
void Block<T>::Reset() {
    for (unsigned long i = 0; i < size_; ++i)
        new (data_ + i) T();
}

} // namespace Stats
