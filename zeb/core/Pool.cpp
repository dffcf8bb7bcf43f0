#include "zeb/core/Pool.h"

#include <atomic>
#include <new>
#include <pthread.h>
#include <sys/mman.h>
#include <unistd.h>

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

constinit std::atomic<unsigned long> keptMax = PoolBase::KEPT_MAX;

} // namespace

// The regions that a thread keeps for its next pools. It lies apart from them, since a write into a page that
// was offered to the kernel takes it back. The value of a key, not a thread_local object: the key's
// destructor also comes after pools that die with the thread.
class PoolBase::Shelf_ {
public:
    // The shortest region that has the size, or else the longest one; null when there is none.
    static Block_* Take(unsigned long size) {
        Shelf_* const shelf = Get_();
        return shelf && shelf->count_ != 0 ? shelf->TakeOut_(shelf->Best_(size)) : nullptr;
    }

    // Keeps the region, cut to the room that there is. False, with nothing done, when that is too little.
    static bool Keep(Block_* region) {
        unsigned long const most = keptMax.load(std::memory_order_relaxed);
        Shelf_* const shelf = most != 0 ? Make_() : nullptr;
        return shelf && shelf->PutIn_(region, most);
    }

private:
    static constexpr unsigned PLACES = 32;

    struct Kept_ {
        Block_* region;
        unsigned long length;
        bool isWarm;
    };

    static bool HasKey_() {
        pthread_once(&once_, [] { hasKey_ = pthread_key_create(&key_, &Release_) == 0; });
        return hasKey_;
    }

    static Shelf_* Get_() { return HasKey_() ? static_cast<Shelf_*>(pthread_getspecific(key_)) : nullptr; }

    static Shelf_* Make_() {
        Shelf_* shelf = Get_();
        if (shelf || !hasKey_) return shelf;
        shelf = new (std::nothrow) Shelf_;
        if (!shelf || pthread_setspecific(key_, shelf) == 0) return shelf;
        delete shelf;
        return nullptr;
    }

    static void Release_(void* data) {
        auto* const shelf = static_cast<Shelf_*>(data);
        for (unsigned i = 0; i < shelf->count_; ++i)
            Unmap_(shelf->kept_[i].region, shelf->kept_[i].length);
        delete shelf;
    }

    unsigned Best_(unsigned long size) const {
        unsigned best = 0;
        for (unsigned i = 1; i < count_; ++i) {
            unsigned long const length = kept_[i].length, known = kept_[best].length;
            bool const fits = length - sizeof(Block_) >= size, knownFits = known - sizeof(Block_) >= size;
            if (fits ? !knownFits || length < known : !knownFits && length > known) best = i;
        }
        return best;
    }

    Block_* TakeOut_(unsigned at) {
        Kept_ const kept = kept_[at];
        kept_[at] = kept_[--count_];
        bytes_ -= kept.length;
        if (kept.isWarm) warmBytes_ -= kept.length;
        return new (kept.region) Block_{nullptr, kept.length | REGION | RECYCLED};
    }

    bool PutIn_(Block_* region, unsigned long most) {
        unsigned long const room = most > bytes_ ? most - bytes_ : 0;
        unsigned long const whole = region->Length();
        unsigned long const length = whole < room ? whole : room & ~(REGION_MIN - 1);
        if (count_ == PLACES || length < REGION_MIN) return false;
        bool const isWarm = warmBytes_ + length <= WARM_MAX;
        if (!isWarm && madvise(region, length, MADV_FREE) != 0) return false;
        if (length != whole) Unmap_(reinterpret_cast<char*>(region) + length, whole - length);
        Poison_(region + 1, length - sizeof(Block_));
        kept_[count_++] = {region, length, isWarm};
        bytes_ += length;
        if (isWarm) warmBytes_ += length;
        return true;
    }

    unsigned count_ = 0;
    unsigned long bytes_ = 0;
    unsigned long warmBytes_ = 0;
    Kept_ kept_[PLACES];

    static pthread_once_t once_;
    static pthread_key_t key_;
    static bool hasKey_;
};

constinit pthread_once_t PoolBase::Shelf_::once_ = PTHREAD_ONCE_INIT;
constinit pthread_key_t PoolBase::Shelf_::key_ = 0;
constinit bool PoolBase::Shelf_::hasKey_ = false;

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
    size = size < REGION_MIN ? REGION_MIN : size > REGION_MAX ? REGION_MAX : size;
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

void PoolBase::KeepUpTo(unsigned long size) { keptMax.store(size, std::memory_order_relaxed); }

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
    Block_* region = Shelf_::Take(size);
    if (!region) {
        region = MapRegion_(size);
        if (!region) return false;
        region->length |= REGION;
    }
    Use_(region);
    return true;
}

void* PoolBase::AllocApart(unsigned long size) {
    unsigned long length;
    Block_* const block = Length_(size, length) ? Map_(length, 0) : nullptr;
    if (!block) return nullptr;
    block->length |= APART;
    block->next = head_;
    head_ = block;
    Poison_(block + 1, length - sizeof(Block_));
    Unpoison_(block + 1, size);
    return block + 1;
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
    while (head_ != &first_) {
        Block_* const block = head_;
        head_ = block->next;
        bool const isKept = (block->length & REGION) != 0 && Shelf_::Keep(block);
        if (!isKept) run.Add(block, block->Length());
    }
    UseFirst_();
}
