#pragma once

// AutoPtr<T, D>: owner of one object, which it frees through D<T>::Free at its end; nothing but a pointer.
// StdDeleter is the deleter of objects that come from `new`.
//
// An operation that takes over an object has an `AutoPtr<T, D>&` parameter: on success the pointer has been
// taken out (Release), on failure it stays with the caller.

#include <utility>

template<class T>
struct StdDeleter {
    static void Free(T* object) {
        static_assert(sizeof(T) != 0, "the type must be complete where its owner ends");
        delete object;
    }
};

template<class T, template<class> class D = StdDeleter>
class AutoPtr {
public:
    constexpr AutoPtr() = default;
    constexpr explicit AutoPtr(T* object)
        : object_(object) {}
    constexpr AutoPtr(AutoPtr&& other) noexcept
        : object_(other.Release()) {}
    template<class U>
    AutoPtr(AutoPtr<U, D>&& other) noexcept
        : object_(other.Release()) {}
    AutoPtr& operator=(AutoPtr&& other) noexcept {
        Reset(other.Release());
        return *this;
    }
    AutoPtr(AutoPtr const&) = delete;
    AutoPtr& operator=(AutoPtr const&) = delete;
    ~AutoPtr() { Free_(object_); }

    T* Ptr() const { return object_; }
    T& operator*() const { return *object_; }
    T* operator->() const { return object_; }
    explicit operator bool() const { return object_ != nullptr; }

    // Frees the present object and takes over the other, which may be the same one.
    void Reset(T* object = nullptr) {
        T* const old = std::exchange(object_, object);
        if (old != object) Free_(old);
    }

    // Gives the object away.
    constexpr T* Release() { return std::exchange(object_, nullptr); }

    void Swap(AutoPtr& other) noexcept { std::swap(object_, other.object_); }

private:
    static void Free_(T* object) {
        if (object) D<T>::Free(object);
    }

    T* object_ = nullptr;
};
