#pragma once

// AutoBuffer<N, T>: an array on the stack that goes to the heap when more than N elements are asked for. For
// the room that a system call or a formatter needs now, not for keeping. An operation that fills it takes the
// base, for which N does not matter.
//
//   AutoBuffer<1024, char> path;
//   if (!path.Resize(size)) return ...;
//   memcpy(path.Ptr(), ...);

#include <new>

template<class T>
class AutoBufferBase {
public:
    AutoBufferBase(AutoBufferBase const&) = delete;
    AutoBufferBase& operator=(AutoBufferBase const&) = delete;

    // Room for `size` elements. What the buffer held is lost. On false there is no room at all: Ptr() is null
    // and Size() 0.
    [[nodiscard]] bool Resize(unsigned long size) {
        delete[] heap_;
        heap_ = size > inlineCapacity_ ? new (std::nothrow) T[size] : nullptr;
        current_ = size > inlineCapacity_ ? heap_ : inline_;
        size_ = current_ ? size : 0;
        return current_ != nullptr;
    }

    T* Ptr() { return current_; }
    T const* Ptr() const { return current_; }
    unsigned long Size() const { return size_; }

    // Not bounded.
    T& operator[](unsigned long index) { return current_[index]; }
    T const& operator[](unsigned long index) const { return current_[index]; }

protected:
    AutoBufferBase(T* data, unsigned long capacity)
        : inline_(data)
        , inlineCapacity_(capacity)
        , current_(data)
        , size_(capacity) {}
    ~AutoBufferBase() { delete[] heap_; }

private:
    T* const inline_;
    unsigned long const inlineCapacity_;
    T* heap_ = nullptr;
    T* current_;
    unsigned long size_;
};

template<unsigned long N, class T>
class AutoBuffer : public AutoBufferBase<T> {
public:
    // N elements to begin with, or as many as asked for: test Ptr() then.
    AutoBuffer()
        : AutoBufferBase<T>(array_, N) {}
    explicit AutoBuffer(unsigned long size)
        : AutoBuffer() {
        (void)this->Resize(size); // the result shows in Ptr()
    }

private:
    T array_[N];
};
