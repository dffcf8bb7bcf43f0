#include "zeb/core/StringVector.h"

#include <new>

StringVector const& StringVector::Nil() {
    static StringVector const nil;
    return nil;
}

bool StringVector::Insert(char const* data, unsigned long size, unsigned long index) {
    if (index > Size()) return false;
    AutoPtr<String> string(new (std::nothrow) String);
    return string && string->Assign(data, size) && AutoPVector::Insert(string, index);
}

void StringVector::PopBack() {
    if (!Empty()) Free(Size() - 1);
}

void StringVector::Remove(unsigned long index) {
    if (index < Size()) Free(index);
}

void StringVector::Truncate(unsigned long size) {
    while (Size() > size)
        Free(Size() - 1);
}

bool StringVector::Assign(StringVector const& other) {
    if (&other == this) return true;
    StringVector copy;
    if (!copy.Append(other)) return false;
    Swap(copy);
    return true;
}

bool StringVector::Assign(char const* const* list) {
    Clear();
    for (; list && *list; ++list) {
        if (PushBack(CString(*list))) continue;
        Clear();
        return false;
    }
    return true;
}

bool StringVector::Append(StringVector const& other) {
    unsigned long const oldSize = Size();
    unsigned long const count = other.Size(); // it may be this one
    for (unsigned long i = 0; i != count; ++i) {
        if (PushBack(other[i])) continue;
        Truncate(oldSize);
        return false;
    }
    return true;
}

unsigned long StringVector::Find(CString const& text, unsigned long first, unsigned long last) const {
    unsigned long const end = last < Size() ? last : Size();
    for (unsigned long i = first; i < end; ++i)
        if ((*this)[i] == text) return i;
    return Size();
}

void StringVector::Unique() {
    for (unsigned long i = 1; i < Size();) {
        if (Find((*this)[i], 0, i) < i)
            Remove(i);
        else
            ++i;
    }
}

void StringVector::SetDifference(StringVector const& other) {
    if (&other == this) return Clear();
    for (unsigned long i = 0; i < Size();) {
        if (other.Has((*this)[i]))
            Remove(i);
        else
            ++i;
    }
}
