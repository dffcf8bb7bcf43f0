#pragma once

// Lists whose links lie in the objects: linking allocates nothing and cannot fail.
//
//   class Timer {
//       Intrusive::Hook hook_;
//   public:
//       using ListT = Intrusive::List<Timer, &Timer::hook_>;
//   };
//
// For objects that are linked and unlinked often, or where memory may have run out; take a PVector for a list
// that is read by index.
//
// Owns       nothing: at its end a list unlinks what is left in it, and an object at its end leaves its list
// Lists      an object is in at most one list for each of its hooks, and may change over at any time
// Threads    one at a time: the owner of the list locks, around the end of an object that may be linked too
// Memory     none is taken; nothing can fail

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

    // Links this hook in front of another one. It leaves the place that it has.
    void Insert(Hook* before) {
        Remove();
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

    // Counts, in linear time: objects may have left by themselves.
    unsigned long Size() const {
        unsigned long size = 0;
        for (Hook const* link = head_.Next(); link != &head_; link = link->Next())
            ++size;
        return size;
    }
    bool Empty() const { return !head_.IsLinked(); }

    // Null where there is none.
    T* Front() const { return Object_(head_.Next()); }
    T* Back() const { return Object_(head_.Prev()); }
    T* Next(T const& item) const { return Object_((item.*hook).Next()); }
    T* Prev(T const& item) const { return Object_((item.*hook).Prev()); }

    // In front of `before`, which is another item, or at the end when that is null. An item that is in a list
    // by this hook leaves that place.
    void Insert(T& item, T* before) { (item.*hook).Insert(before ? &(before->*hook) : &head_); }
    void PushBack(T& item) { Insert(item, nullptr); }
    void PushFront(T& item) { Insert(item, Front()); }

    // Nothing happens to an item that is in no list.
    void Remove(T& item) { (item.*hook).Remove(); }
    T* PopFront() {
        T* const item = Front();
        if (item) Remove(*item);
        return item;
    }
    void Clear() {
        while (head_.IsLinked())
            head_.Next()->Remove();
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
