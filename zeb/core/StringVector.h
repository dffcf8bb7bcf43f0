#pragma once

// StringVector: a list of owned strings.
//
// Operations that can fail give false when memory ran out, and leave the list as it was, unless said
// otherwise. A text that is put in may lie in a string of the list. One thread at a time.

#include "zeb/core/PVector.h"
#include "zeb/core/String.h"

class ZEB_PUBLIC StringVector : private AutoPVector<String, StdDeleter> {
public:
    template<class U>
    class Iterator;

    static StringVector const& Nil();

    using VoidPVector::Empty;
    using VoidPVector::Size;
    using AutoPVector<String, StdDeleter>::Clear;

    // Not bounded.
    String& operator[](unsigned long index) { return *AutoPVector::operator[](index); }
    String const& operator[](unsigned long index) const { return *AutoPVector::operator[](index); }
    String& Front() { return *AutoPVector::Front(); }
    String const& Front() const { return *AutoPVector::Front(); }
    String& Back() { return *AutoPVector::Back(); }
    String const& Back() const { return *AutoPVector::Back(); }

    // For loops over the strings: for (String const& name : names). Inside the loop nothing is put in or
    // taken out.
    Iterator<String> begin();
    Iterator<String> end();
    Iterator<String const> begin() const;
    Iterator<String const> end() const;

    // An index past the end is refused.
    [[nodiscard]] bool Insert(CString const& text, unsigned long index) {
        return Insert(text.Cstr(), text.Size(), index);
    }
    [[nodiscard]] bool Insert(char const* data, unsigned long size, unsigned long index);
    [[nodiscard]] bool PushBack(CString const& text) { return Insert(text, Size()); }
    [[nodiscard]] bool PushBack(char const* data, unsigned long size) { return Insert(data, size, Size()); }

    // Nothing happens where there is nothing to remove.
    void PopBack();
    void PopFront() { Remove(0); }
    void Remove(unsigned long index);
    void Truncate(unsigned long size);

    [[nodiscard]] bool Assign(StringVector const& other);

    // A null-terminated list. On failure the vector is left empty.
    [[nodiscard]] bool Assign(char const* const* list);
    [[nodiscard]] bool Append(StringVector const& other);
    void Swap(StringVector& other) noexcept { AutoPVector::Swap(other); }

    // Index of the first equal text, in [first, last) if these are given, or Size(). Linear. The forms with a
    // CString ignore case if it says so.
    unsigned long Find(CString const& text) const { return Find(text, 0, Size()); }
    unsigned long Find(char const* data, unsigned long size) const { return Find(CString(data, size)); }
    unsigned long Find(CString const& text, unsigned long first, unsigned long last) const;
    unsigned long Find(char const* data, unsigned long size, unsigned long first, unsigned long last) const {
        return Find(CString(data, size), first, last);
    }
    bool Has(CString const& text) const { return Find(text) != Size(); }

    // Of equal texts only the first stays. Quadratic.
    void Unique();

    // Removes all texts that the other list has. Quadratic.
    void SetDifference(StringVector const& other);

    // Ascending. BubbleSort keeps the order of equals, in quadratic time.
    void Sort() { AutoPVector::Sort<&Ascending>(); }
    void BubbleSort() { AutoPVector::BubbleSort<&Ascending>(); }

    static int Ascending(String const* a, String const* b) { return a->Compare(*b); }
    static int Descending(String const* a, String const* b) { return b->Compare(*a); }
};

template<class U>
class StringVector::Iterator {
public:
    explicit Iterator(PVector<String>::Iterator<U> slot)
        : slot_(slot) {}

    U& operator*() const { return **slot_; }
    U* operator->() const { return *slot_; }
    Iterator& operator++() { return ++slot_, *this; }
    bool operator==(Iterator const&) const = default;

private:
    PVector<String>::Iterator<U> slot_;
};

inline StringVector::Iterator<String> StringVector::begin() { return Iterator<String>(AutoPVector::begin()); }
inline StringVector::Iterator<String> StringVector::end() { return Iterator<String>(AutoPVector::end()); }
inline StringVector::Iterator<String const> StringVector::begin() const {
    return Iterator<String const>(AutoPVector::begin());
}
inline StringVector::Iterator<String const> StringVector::end() const {
    return Iterator<String const>(AutoPVector::end());
}
