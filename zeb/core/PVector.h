#pragma once

// PVector<T>: VoidPVector with a type; it owns nothing. AutoPVector<T, D> owns what its pointers aim at and
// frees each one that is not null through D<T>::Free, when it is cleared and at its end.
//
// All other operations of AutoPVector are those of PVector and free nothing: Set() and Remove() drop the
// pointer, which has another owner then. Free(index) is Remove() and frees.

#include "zeb/core/AutoPtr.h"
#include "zeb/core/VoidPVector.h"

template<class T>
class PVector : public VoidPVector {
public:
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
    bool Insert(T* value, unsigned long index) {
        return VoidPVector::Insert(static_cast<void const*>(value), index);
    }
    bool PushBack(T* value) { return Insert(value, Size()); }

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

    bool Assign(PVector const& other) { return VoidPVector::Assign(other); }
    void Swap(PVector& other) noexcept { VoidPVector::Swap(other); }

private:
    template<int (*F)(T const*, T const*)>
    static int Comparator_(void const* a, void const* b) {
        return F(*static_cast<T const* const*>(a), *static_cast<T const* const*>(b));
    }
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

    void Free(unsigned long index) {
        T* const object = (*this)[index];
        this->Remove(index);
        Free_(object);
    }

    using PVector<T>::Insert;
    using PVector<T>::PushBack;

    // Takes the object over when there is room for it; otherwise it stays with its owner.
    template<class U>
    bool Insert(AutoPtr<U, D>& owner, unsigned long index) {
        if (!Insert(owner.Ptr(), index)) return false;
        (void)owner.Release(); // owned by the vector now
        return true;
    }
    template<class U>
    bool PushBack(AutoPtr<U, D>& owner) {
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
