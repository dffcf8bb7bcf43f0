#pragma once

// PoolBase: an arena. Alloc() hands out memory by moving a pointer; nothing is given back singly, Clear() and
// the destructor give back everything. Pool<N> holds its first block of N bytes in itself, so that few or
// small allocations make no system call. Further blocks come straight from the kernel: Alloc() may be used
// where the heap must not be, in a signal handler for one.
//
// A fresh block costs a system call and a fault for each page. A user who knows that much will be needed
// calls Reserve() ahead. What was reserved is kept by the thread for its next pool: 1 MiB as it is, more of
// it, up to the limit of KeepUpTo(), on offer to the kernel (MADV_FREE). The kernel takes that memory when it
// is short, without swap; until then it counts as resident (VmRSS, a memory limit) and stands under LazyFree
// in /proc/<pid>/smaps.
//
// Owns       its memory, and so all that was put into it; destructors of what lies there do not run
// Threads    one at a time; what is kept belongs to the thread that ended the use, and goes with it
// Fails      Alloc() by null, which leaves everything as it was
// Memory     that is not handed out is poisoned under AddressSanitizer

#include "zeb/core/Export.h"

#if defined(__SANITIZE_ADDRESS__)
#define ZEB_POOL_POISONS 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define ZEB_POOL_POISONS 1
#endif
#endif
#ifdef ZEB_POOL_POISONS
#include <sanitizer/asan_interface.h>
#endif

class ZEB_PUBLIC PoolBase {
public:
    static constexpr unsigned long ALIGNMENT = 16;

    // Limits of one region that Reserve gets. Large regions fill whole huge pages, which come at a tenth of
    // the cost of others.
    static constexpr unsigned long HUGE_PAGE = 2UL << 20;
    static constexpr unsigned long REGION_MIN = 64UL << 10;
    static constexpr unsigned long REGION_MAX = (4UL << 20) - ALIGNMENT;

    // Of what each thread keeps: the bytes that are not offered to the kernel, and all of them, unless
    // KeepUpTo() says otherwise.
    static constexpr unsigned long WARM_MAX = 1UL << 20;
    static constexpr unsigned long KEPT_MAX = 32UL << 20;

    PoolBase(PoolBase const&) = delete;
    PoolBase& operator=(PoolBase const&) = delete;
    virtual ~PoolBase();

    // Aligned to 16, with undefined content; null on failure. What does not fit into the rest of the present
    // block goes to a new one, and that rest is lost until Clear().
    void* Alloc(unsigned long size) {
        unsigned long const rounded = Round_(size);
        if (rounded < size) return nullptr;
        if (rounded > left_ && !AddBlock_(rounded)) return nullptr;
        char* const block = current_;
        current_ += rounded;
        left_ -= rounded;
        Unpoison_(block, size);
        return block;
    }

    // Makes it likely that the next `size` bytes are there without a further system call. When less is left,
    // the pool gets one region, already backed by memory: about of that size, but within the limits above, or
    // one that the thread has kept, which may be shorter; so a user tests Left() and comes again when it runs
    // low. The rest of the present block is lost until Clear(). False when there was no memory, and nothing
    // has changed. Not for signal handlers.
    bool Reserve(unsigned long size);

    // As Alloc(), but in a block of its own, so that nothing of the present one is lost: for what is large
    // beside a region.
    void* AllocApart(unsigned long size);

    // Bytes of the present block that are not handed out yet.
    unsigned long Left() const { return left_; }

    // What is left of the present block is known to be zero.
    bool IsFresh() const { return head_ != &first_ && (head_->length & (RECYCLED | APART)) == 0; }

    // All memory that was handed out is gone.
    void Clear();

    // How much each thread of the process may keep, from its next Clear() on; 0 is nothing.
    static void KeepUpTo(unsigned long size);

protected:
    // The first block: aligned to 16, and outlives the pool.
    PoolBase(void* block, unsigned long size);

private:
    static constexpr unsigned long REGION = 1;   // given by Reserve
    static constexpr unsigned long RECYCLED = 2; // was used before, so it is not zero
    static constexpr unsigned long APART = 4;    // given by AllocApart

    // The head of a block from the kernel. Lengths are whole pages, which leaves the low bits for the marks.
    struct Block_ {
        Block_* next;
        unsigned long length;

        unsigned long Length() const { return length & ~(REGION | RECYCLED | APART); }
    };
    static_assert(sizeof(Block_) == ALIGNMENT);

    class Shelf_;

    static unsigned long Round_(unsigned long size) { return (size + ALIGNMENT - 1) & ~(ALIGNMENT - 1); }
    static bool Length_(unsigned long size, unsigned long& length);
    static Block_* Map_(unsigned long length, int flags);
    static Block_* MapRegion_(unsigned long size);
    static void Unmap_(void* block, unsigned long length);
    bool AddBlock_(unsigned long size);
    void Use_(Block_* block);
    void UseFirst_();

    static void Poison_([[maybe_unused]] void const* data, [[maybe_unused]] unsigned long size) {
#ifdef ZEB_POOL_POISONS
        ASAN_POISON_MEMORY_REGION(data, size);
#endif
    }
    static void Unpoison_([[maybe_unused]] void const* data, [[maybe_unused]] unsigned long size) {
#ifdef ZEB_POOL_POISONS
        ASAN_UNPOISON_MEMORY_REGION(data, size);
#endif
    }

    Block_* head_;
    char* current_;
    unsigned long left_;
    Block_ first_;
    char* const initial_;
    unsigned long const initialSize_;
};

template<unsigned long N>
class Pool : public PoolBase {
public:
    static_assert(N % ALIGNMENT == 0);

    Pool()
        : PoolBase(array_, N) {}

private:
    alignas(ALIGNMENT) char array_[N];
};
