#include "zeb/core/Pool.h"

#include <atomic>
#include <new>
#include <pthread.h>
#include <sys/mman.h>
#include <unistd.h>
#include <utility>

namespace {

// A signal handler may come here first: no guarded static.
unsigned long PageSize_() {
    static constinit std::atomic<long> size = 0;
    long known = size.load(std::memory_order_relaxed);
    if (known == 0) {
        known = sysconf(_SC_PAGESIZE);
        size.store(known, std::memory_order_relaxed);
    }
    return known > 0 ? static_cast<unsigned long>(known) : 0;
}

constinit std::atomic<unsigned long> regionMax = PoolBase::REGION_MAX;
constinit std::atomic<unsigned long> spareMax = PoolBase::SPARE_MAX;

} // namespace

// The one region that a thread keeps for its next pool. The value of a key, not a thread_local object: the
// key's destructor also comes after pools that die with the thread.
class PoolBase::Spare_ {
public:
    static Block_* Take() {
        if (!HasKey_()) return nullptr;
        void* const region = pthread_getspecific(key_);
        if (region) pthread_setspecific(key_, nullptr); // cannot fail: the place exists
        return static_cast<Block_*>(region);
    }

    // Keeps the region, cut at the limit, if it is longer than the present spare. The result is the one that
    // is left over, or null.
    static Block_* Keep(Block_* region) {
        if (!HasKey_()) return region;
        auto* const spare = static_cast<Block_*>(pthread_getspecific(key_));
        unsigned long const length = Kept(region);
        if (spare && spare->Length() >= length) return region;
        if (pthread_setspecific(key_, region) != 0) return region;
        if (region->Length() > length)
            Unmap_(reinterpret_cast<char*>(region) + length, region->Length() - length);
        region->length = length | REGION | RECYCLED;
        Poison_(region + 1, length - sizeof(Block_));
        return spare;
    }

    // How much of a block could be kept.
    static unsigned long Kept(Block_ const* block) {
        if (!block || (block->length & REGION) == 0) return 0;
        unsigned long const most = spareMax.load(std::memory_order_relaxed);
        return block->Length() < most ? block->Length() : most;
    }

private:
    static bool HasKey_() {
        pthread_once(&once_, [] { hasKey_ = pthread_key_create(&key_, &Release_) == 0; });
        return hasKey_;
    }

    static void Release_(void* region) { Unmap_(region, static_cast<Block_*>(region)->Length()); }

    static pthread_once_t once_;
    static pthread_key_t key_;
    static bool hasKey_;
};

constinit pthread_once_t PoolBase::Spare_::once_ = PTHREAD_ONCE_INIT;
constinit pthread_key_t PoolBase::Spare_::key_ = 0;
constinit bool PoolBase::Spare_::hasKey_ = false;

PoolBase::PoolBase(void* block, unsigned long size)
    : head_(&first_)
    , first_{nullptr, size}
    , initial_(static_cast<char*>(block))
    , initialSize_(size) {
    UseFirst_();
}

PoolBase::~PoolBase() {
    Clear();
    Unpoison_(initial_, initialSize_);
}

void PoolBase::UseFirst_() {
    head_ = &first_;
    current_ = initial_;
    left_ = initialSize_;
    Poison_(current_, left_);
}

// Whole pages for that many bytes and the head.
bool PoolBase::Length_(unsigned long size, unsigned long& length) {
    unsigned long const page = PageSize_();
    if (page <= sizeof(Block_)) return false;
    if (__builtin_add_overflow(size, sizeof(Block_) + page - 1, &length)) return false;
    length -= length % page;
    return true;
}

PoolBase::Block_* PoolBase::Map_(unsigned long length, int flags) {
    void* const block =
        mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | flags, -1, 0);
    if (block == MAP_FAILED) return nullptr;
    return new (block) Block_{nullptr, length};
}

// A region, with memory behind it from the start. One that about fills a huge page gets whole ones, where the
// kernel has them. What the kernel refuses comes page by page later.
PoolBase::Block_* PoolBase::MapRegion_(unsigned long size) {
    unsigned long const most = regionMax.load(std::memory_order_relaxed);
    size = size < REGION_MIN ? REGION_MIN : size > most ? most : size;
    unsigned long length;
    if (!Length_(size, length)) return nullptr;
    if (length < HUGE_PAGE * 3 / 4) return Map_(length, MAP_POPULATE);

    length = (length + HUGE_PAGE - 1) & ~(HUGE_PAGE - 1);
    void* const block = mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (block == MAP_FAILED) return nullptr;
    madvise(block, length, MADV_HUGEPAGE);
    madvise(block, length, MADV_POPULATE_WRITE);
    return new (block) Block_{nullptr, length};
}

void PoolBase::KeepUpTo(unsigned long size) {
    unsigned long whole;
    if (__builtin_add_overflow(size, HUGE_PAGE - 1, &whole)) whole = ~0UL;
    whole &= ~(HUGE_PAGE - 1);
    spareMax.store(whole > SPARE_MAX ? whole : SPARE_MAX, std::memory_order_relaxed);
    regionMax.store(whole > REGION_MAX ? whole - ALIGNMENT : REGION_MAX, std::memory_order_relaxed);
}

void PoolBase::Unmap_(void* block, unsigned long length) {
    Unpoison_(block, length);
    munmap(block, length); // cannot fail for whole mappings
}

bool PoolBase::AddBlock_(unsigned long size) {
    unsigned long length;
    Block_* const block = Length_(size, length) ? Map_(length, 0) : nullptr;
    if (!block) return false;
    Use_(block);
    return true;
}

bool PoolBase::Reserve(unsigned long size) {
    if (size <= left_) return true;
    Block_* region = Spare_::Take();
    if (!region) {
        region = MapRegion_(size);
        if (!region) return false;
        region->length |= REGION;
    }
    Use_(region);
    return true;
}

void PoolBase::Use_(Block_* block) {
    block->next = head_;
    head_ = block;
    current_ = reinterpret_cast<char*>(block + 1);
    left_ = block->Length() - sizeof(Block_);
    Poison_(current_, left_);
}

namespace {

// Collects blocks to unmap. They are likely to lie side by side, and go in one call then.
template<void (*F)(void*, unsigned long)>
class Run_ {
public:
    ~Run_() { Flush_(); }

    void Add(void* block, unsigned long length) {
        auto* const data = static_cast<char*>(block);
        if (data != end_) {
            Flush_();
            begin_ = data;
        }
        end_ = data + length;
    }

private:
    void Flush_() {
        if (begin_) F(begin_, static_cast<unsigned long>(end_ - begin_));
    }

    char* begin_ = nullptr;
    char* end_ = nullptr;
};

} // namespace

void PoolBase::Clear() {
    Run_<&Unmap_> run;
    Block_* kept = nullptr; // the best one to keep; of equals the oldest, which is the warmest
    while (head_ != &first_) {
        Block_* block = head_;
        head_ = block->next;
        if (unsigned long const length = Spare_::Kept(block); length != 0 && length >= Spare_::Kept(kept))
            std::swap(block, kept);
        if (block) run.Add(block, block->Length());
    }
    if (kept) kept = Spare_::Keep(kept);
    if (kept) run.Add(kept, kept->Length());
    UseFirst_();
}
