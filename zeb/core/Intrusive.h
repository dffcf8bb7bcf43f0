#pragma once

// Lists whose links lie in the objects: linking allocates nothing and cannot fail.
//
//   class Timer {
//       Intrusive::Hook hook_;
//   public:
//       using ListT = Intrusive::List<Timer, &Timer::hook_>;
//   };
//
// A list owns nothing: at its end it unlinks what is left in it. An object is in at most one list for each of
// its hooks. It leaves its list through the list, which counts, or at its own end. The owner of the list
// locks.

#include <bit>
#include <cstddef>

namespace Intrusive {

// A pair of links. One that is in no list aims at itself.
class Hook {
public:
    constexpr Hook()
        : next_(this)
        , prev_(this) {}
    Hook(Hook const&) = delete;
    Hook& operator=(Hook const&) = delete;
    ~Hook() { Remove(); }

    // Links this hook, which must be unlinked, in front of the other.
    void Insert(Hook* before) {
        next_ = before;
        prev_ = before->prev_;
        prev_->next_ = this;
        before->prev_ = this;
    }

    void Remove() {
        prev_->next_ = next_;
        next_->prev_ = prev_;
        next_ = prev_ = this;
    }

    bool IsLinked() const { return next_ != this || prev_ != this; }

    Hook* Next() const { return next_; }
    Hook* Prev() const { return prev_; }

private:
    Hook* next_;
    Hook* prev_;
};

template<class T, Hook T::*hook>
class List {
public:
    template<class U>
    class Iterator;

    constexpr List() = default;
    List(List const&) = delete;
    List& operator=(List const&) = delete;
    ~List() { Clear(); }

    unsigned long Size() const { return size_; }
    bool Empty() const { return !head_.IsLinked(); }

    // Null where there is none.
    T* Front() const { return Object_(head_.Next()); }
    T* Back() const { return Object_(head_.Prev()); }
    T* Next(T const& item) const { return Object_((item.*hook).Next()); }
    T* Prev(T const& item) const { return Object_((item.*hook).Prev()); }

    // In front of `before`, or at the end when that is null. The item must not be in a list by this hook.
    void Insert(T& item, T* before) {
        (item.*hook).Insert(before ? &(before->*hook) : &head_);
        ++size_;
    }
    void PushBack(T& item) { Insert(item, nullptr); }
    void PushFront(T& item) { Insert(item, Front()); }

    // Nothing happens to an item that is in no list; it must not be in another one.
    void Remove(T& item) {
        if (!(item.*hook).IsLinked()) return;
        (item.*hook).Remove();
        --size_;
    }
    T* PopFront() {
        T* const item = Front();
        if (item) Remove(*item);
        return item;
    }
    void Clear() {
        while (head_.IsLinked())
            head_.Next()->Remove();
        size_ = 0;
    }

    // For loops over the objects. The present object must not leave the list inside the loop.
    Iterator<T> begin() const { return {*this, Front()}; }
    Iterator<T> end() const { return {*this, nullptr}; }

private:
    // Where the hook lies in T. The compilers that we use keep a pointer to a member as that distance.
    static std::ptrdiff_t Offset_() { return std::bit_cast<std::ptrdiff_t>(hook); }

    T* Object_(Hook* link) const {
        if (link == &head_) return nullptr;
        return reinterpret_cast<T*>(reinterpret_cast<char*>(link) - Offset_());
    }

    Hook head_;
    unsigned long size_ = 0;
};

template<class T, Hook T::*hook>
template<class U>
class List<T, hook>::Iterator {
public:
    Iterator(List const& list, U* item)
        : list_(&list)
        , item_(item) {}

    U& operator*() const { return *item_; }
    U* operator->() const { return item_; }
    Iterator& operator++() {
        item_ = list_->Next(*item_);
        return *this;
    }
    bool operator==(Iterator const& other) const { return item_ == other.item_; }

private:
    List const* list_;
    U* item_;
};

} // namespace Intrusive
