#pragma once

// PVector<T>: VoidPVector with a type; it owns nothing. AutoPVector<T, D> owns what its pointers aim at and
// frees each one that is not null through D<T>::Free, when it is cleared and at its end.
//
// AutoPVector takes objects over by Insert() and PushBack(), from an AutoPtr or by pointer, on success only.
// Free(index) removes one and frees it. Set() and Remove() free nothing: the pointer that was there has
// another owner then. Sort(), Find(), Rotate() and loops are those of PVector.
//
// Operations that can fail give false when memory ran out, and change nothing. One thread at a time.

#include "zeb/core/AutoPtr.h"
#include "zeb/core/VoidPVector.h"

template<class T>
class PVector : public VoidPVector {
public:
    template<class U>
    class Iterator;

    // Not bounded.
    T* operator[](unsigned long index) { return static_cast<T*>(VoidPVector::operator[](index)); }
    T const* operator[](unsigned long index) const {
        return static_cast<T const*>(VoidPVector::operator[](index));
    }
    T* Front() { return (*this)[0]; }
    T const* Front() const { return (*this)[0]; }
    T* Back() { return (*this)[Size() - 1]; }
    T const* Back() const { return (*this)[Size() - 1]; }

    void Set(unsigned long index, T* value) { VoidPVector::Set(index, value); }
    [[nodiscard]] bool Insert(T* value, unsigned long index) {
        return VoidPVector::Insert(static_cast<void const*>(value), index);
    }
    [[nodiscard]] bool PushBack(T* value) { return Insert(value, Size()); }

    // For loops over the pointers: for (Route* route : routes). Inside the loop nothing is put in or taken
    // out.
    Iterator<T> begin() { return Iterator<T>(Ptr()); }
    Iterator<T> end() { return Iterator<T>(Ptr() + Size()); }
    Iterator<T const> begin() const { return Iterator<T const>(Ptr()); }
    Iterator<T const> end() const { return Iterator<T const>(Ptr() + Size()); }

    unsigned long Find(T const* value) const { return VoidPVector::Find(value); }

    // Sorts the objects: vector.Sort<&ByName>().
    template<int (*F)(T const*, T const*)>
    void Sort() {
        VoidPVector::Sort(&Comparator_<F>);
    }
    template<int (*F)(T const*, T const*)>
    void BubbleSort() {
        VoidPVector::BubbleSort(&Comparator_<F>);
    }

    [[nodiscard]] bool Assign(PVector const& other) { return VoidPVector::Assign(other); }
    void Swap(PVector& other) noexcept { VoidPVector::Swap(other); }

private:
    template<int (*F)(T const*, T const*)>
    static int Comparator_(void const* a, void const* b) {
        return F(*static_cast<T const* const*>(a), *static_cast<T const* const*>(b));
    }
};

template<class T>
template<class U>
class PVector<T>::Iterator {
public:
    explicit Iterator(void* const* slot)
        : slot_(slot) {}

    U* operator*() const { return static_cast<U*>(*slot_); }
    Iterator& operator++() { return ++slot_, *this; }
    bool operator==(Iterator const&) const = default;

private:
    void* const* slot_;
};

template<class T, template<class> class D = StdDeleter>
class AutoPVector : public PVector<T> {
public:
    AutoPVector() = default;
    AutoPVector(AutoPVector&& other) noexcept = default;
    AutoPVector& operator=(AutoPVector&& other) noexcept {
        AutoPVector taken(std::move(other));
        Swap(taken);
        return *this;
    }
    ~AutoPVector() { Clear(); }

    void Clear() {
        for (unsigned long i = this->Size(); i-- != 0;)
            Free_((*this)[i]);
        PVector<T>::Clear();
    }

    // Nothing happens when the index is past the end.
    void Free(unsigned long index) {
        if (index >= this->Size()) return;
        T* const object = (*this)[index];
        this->Remove(index);
        Free_(object);
    }

    // Take the object over when there is room for it; otherwise, and when the index is past the end, it stays
    // with its owner.
    [[nodiscard]] bool Insert(T* object, unsigned long index) {
        return index <= this->Size() && PVector<T>::Insert(object, index);
    }
    [[nodiscard]] bool PushBack(T* object) { return Insert(object, this->Size()); }
    template<class U>
    [[nodiscard]] bool Insert(AutoPtr<U, D>& owner, unsigned long index) {
        if (!Insert(owner.Ptr(), index)) return false;
        (void)owner.Release(); // owned by the vector now
        return true;
    }
    template<class U>
    [[nodiscard]] bool PushBack(AutoPtr<U, D>& owner) {
        return Insert(owner, this->Size());
    }

    // Two owners of one object cannot be.
    bool Assign(PVector<T> const&) = delete;
    void Swap(AutoPVector& other) noexcept { VoidPVector::Swap(other); }

private:
    static void Free_(T* object) {
        if (object) D<T>::Free(object);
    }
};
