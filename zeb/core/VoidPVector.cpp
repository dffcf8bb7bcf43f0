#include "zeb/core/VoidPVector.h"

#include <cstdlib>
#include <cstring>

namespace {

constexpr unsigned long GROUP = 8;

constexpr bool IsWhole_(unsigned long size) { return size % GROUP == 0; }

} // namespace

VoidPVector::~VoidPVector() { free(data_); }

// One group more, when the groups are full.
bool VoidPVector::Grow_() {
    bool const isFull = IsWhole_(size_) && !(size_ == 0 && data_);
    if (!isFull) return true;
    void* const block = realloc(data_, (size_ + GROUP) * sizeof(void*));
    if (!block) return false;
    data_ = static_cast<void**>(block);
    memset(data_ + size_, 0, GROUP * sizeof(void*)); // an index past the end can leave some unset
    return true;
}

void VoidPVector::Shrink_() {
    void* const block = realloc(data_, size_ * sizeof(void*));
    if (block) data_ = static_cast<void**>(block);
}

bool VoidPVector::Insert(void* value, unsigned long index) {
    if (index >= (size_ / GROUP + 1) * GROUP) return false;
    if (!Grow_()) return false;
    if (index < size_) memmove(data_ + index + 1, data_ + index, (size_ - index) * sizeof(void*));
    data_[index] = value;
    ++size_;
    return true;
}

void VoidPVector::Remove(unsigned long index) {
    if (index >= size_) return;
    memmove(data_ + index, data_ + index + 1, (size_ - index - 1) * sizeof(void*));
    data_[--size_] = nullptr;
    if (IsWhole_(size_) && size_ != 0) Shrink_();
}

void VoidPVector::Clear() {
    free(data_);
    data_ = nullptr;
    size_ = 0;
}

unsigned long VoidPVector::Find(void const* value) const {
    unsigned long i = 0;
    while (i != size_ && data_[i] != value)
        ++i;
    return i;
}

void VoidPVector::Sort(CompareT compare) {
    if (data_) qsort(data_, size_, sizeof(void*), compare);
}

void VoidPVector::BubbleSort(CompareT compare) {
    for (unsigned long end = size_; end > 1;) {
        unsigned long swapped = 0; // from here on the order stands
        for (unsigned long i = 1; i < end; ++i) {
            if (compare(data_ + i - 1, data_ + i) <= 0) continue;
            std::swap(data_[i - 1], data_[i]);
            swapped = i;
        }
        end = swapped;
    }
}

bool VoidPVector::Assign(VoidPVector const& other) {
    if (&other == this) return true;
    if (other.size_ == 0) return Clear(), true;
    unsigned long const groups = (other.size_ + GROUP - 1) / GROUP;
    void* const block = realloc(data_, groups * GROUP * sizeof(void*));
    if (!block) return false;
    data_ = static_cast<void**>(block);
    size_ = other.size_;
    memcpy(data_, other.data_, size_ * sizeof(void*));
    memset(data_ + size_, 0, (groups * GROUP - size_) * sizeof(void*));
    return true;
}

void VoidPVector::Rotate() {
    if (size_ < 2) return;
    void* const first = data_[0];
    memmove(data_, data_ + 1, (size_ - 1) * sizeof(void*));
    data_[size_ - 1] = first;
}

void VoidPVector::Rotate(unsigned long first, unsigned long middle, unsigned long last) {
    if (first == middle || middle == last) return;
    for (unsigned long next = middle; first != next;) {
        std::swap(data_[first++], data_[next++]);
        if (next == last)
            next = middle;
        else if (first == middle)
            middle = next;
    }
}
