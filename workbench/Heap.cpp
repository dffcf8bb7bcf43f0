#include "workbench/Heap.h"

#include "workbench/Workbench.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <unordered_map>

#include <malloc.h>

#include <gtest/gtest.h>

// clang-format off
extern "C" {
void* __real_malloc(size_t);
void* __real_calloc(size_t, size_t);
void* __real_realloc(void*, size_t);
void  __real_free(void*);
int   __real_posix_memalign(void**, size_t, size_t);
void* __real__ZnwmRKSt9nothrow_t(size_t, std::nothrow_t const&);
void* __real__ZnamRKSt9nothrow_t(size_t, std::nothrow_t const&);
void* __real__ZnwmSt11align_val_tRKSt9nothrow_t(size_t, std::align_val_t, std::nothrow_t const&);
void* __real__ZnamSt11align_val_tRKSt9nothrow_t(size_t, std::align_val_t, std::nothrow_t const&);
void  __real__ZdlPv(void*);
void  __real__ZdaPv(void*);
void  __real__ZdlPvm(void*, size_t);
void  __real__ZdaPvm(void*, size_t);
void  __real__ZdlPvRKSt9nothrow_t(void*, std::nothrow_t const&);
void  __real__ZdaPvRKSt9nothrow_t(void*, std::nothrow_t const&);
void  __real__ZdlPvSt11align_val_t(void*, std::align_val_t);
void  __real__ZdaPvSt11align_val_t(void*, std::align_val_t);
void  __real__ZdlPvmSt11align_val_t(void*, size_t, std::align_val_t);
void  __real__ZdaPvmSt11align_val_t(void*, size_t, std::align_val_t);
void* __real_mmap(void*, size_t, int, int, int, off_t);
int   __real_munmap(void*, size_t);
void* __wrap_malloc(size_t);
void  __wrap_free(void*);
}
// clang-format on

constinit thread_local int Workbench::Own::depth_ = 0;

namespace {

constexpr int JUNK = 0xA5;
constexpr std::size_t JUNK_LIMIT = 1UL << 20;
constexpr unsigned long ENDLESS_FAILURES = 1000000;
constexpr unsigned long ROUNDS_LIMIT = 20000;

Workbench::SpinLock lock;
constinit thread_local Heap* ofThread = nullptr;
constinit std::atomic<Heap*> ofProcess{nullptr};
constinit std::atomic<int> heaps{0};

} // namespace

struct Heap::State {
    struct Block {
        std::size_t size;
        unsigned long serial;
    };

    unsigned long const failing;
    ModeT const mode;
    ScopeT const scope;
    bool armed = false;
    unsigned long calls = 0;
    unsigned long failures = 0;
    unsigned long serial = 0;
    unsigned long bytes = 0;
    std::unordered_map<void const*, Block> blocks{};
    std::function<void(void const*, std::size_t)> watcher{};
    State* outer; // of the innermost Heap around it, of the same or another scope
};

namespace {

// All Heaps that exist, so that a block is found whichever thread releases it.
Heap* newest = nullptr;

} // namespace

// The door between the wrapped functions and the Heaps.
class HeapWatch {
public:
    static bool Active() { return heaps.load(std::memory_order_relaxed) != 0 && !Workbench::Own::Here(); }

    // The Heap that watches the allocations of this thread.
    static Heap* Current() {
        if (!Active()) return nullptr;
        return ofThread != nullptr ? ofThread : ofProcess.load(std::memory_order_acquire);
    }

    // Counts an allocation; true if it must fail.
    static bool MustFail() {
        Heap* const heap = Current();
        if (heap == nullptr) return false;
        Workbench::SpinLock::Guard const guard(lock);
        Heap::State& state = *heap->state_;
        ++state.serial;
        if (!state.armed) return false;
        ++state.calls;
        bool const hit =
            state.mode == Heap::ModeT::ONCE ? state.calls == state.failing : state.calls >= state.failing;
        if (state.failing == Heap::NEVER || !hit) return false;
        if (++state.failures == ENDLESS_FAILURES) {
            fprintf(stderr, "Heap: an allocation that fails is tried again without end.\n");
            abort();
        }
        errno = ENOMEM;
        return true;
    }

    template<typename PointerT>
    static PointerT Note(PointerT block, std::size_t size, std::size_t clean = 0) {
        Heap* const heap = Current();
        if (heap == nullptr || block == nullptr) return block;
        if (size > clean && size <= JUNK_LIMIT) // to the end of the block, which may lie behind the size
            memset(static_cast<char*>(static_cast<void*>(block)) + clean, JUNK,
                   malloc_usable_size(block) - clean);
        Workbench::Own const own;
        Workbench::SpinLock::Guard const guard(lock);
        Heap::State& state = *heap->state_;
        state.blocks[block] = {size, state.serial};
        state.bytes += size;
        return block;
    }

    // Forgets a block that is about to be released. Its size, or 0 when it was not a watched one.
    static std::size_t Forget(void* block) {
        if (block == nullptr || !Active()) return 0;
        int const error = errno;
        Workbench::Own const own;
        std::function<void(void const*, std::size_t)> watcher;
        std::size_t size = 0;
        {
            Workbench::SpinLock::Guard const guard(lock);
            for (Heap* heap = newest; heap != nullptr; heap = heap->outer_) {
                auto const found = heap->state_->blocks.find(block);
                if (found == heap->state_->blocks.end()) continue;
                size = found->second.size;
                heap->state_->bytes -= size;
                heap->state_->blocks.erase(found);
                watcher = heap->state_->watcher;
                break;
            }
        }
        if (watcher) watcher(block, size);
        errno = error;
        return size;
    }

    static void* Move(void* block, std::size_t size);
};

// A watched block always moves, so that a pointer into the old one shows up under a sanitizer. All of it is
// copied, as realloc() does: who asks malloc_usable_size() may have used more than was asked for.
void* HeapWatch::Move(void* block, std::size_t size) {
    void* const moved = __real_malloc(size);
    if (moved == nullptr) return nullptr;
    if (size <= JUNK_LIMIT) memset(moved, JUNK, size);
    memcpy(moved, block, std::min(malloc_usable_size(block), size));
    Forget(block);
    __real_free(block);
    return Note(moved, size, size);
}

Heap::Heap(unsigned long failing, ModeT mode, ScopeT scope)
    : state_([&] {
        Workbench::Own const own;
        return new State{.failing = failing, .mode = mode, .scope = scope, .outer = nullptr};
    }())
    , outer_(newest) {
    Workbench::SpinLock::Guard const guard(lock);
    newest = this;
    if (scope == ScopeT::THREAD) ofThread = this;
    if (scope == ScopeT::PROCESS) ofProcess.store(this, std::memory_order_release);
    ++heaps;
}

Heap::~Heap() {
    Workbench::Own const own;
    {
        Workbench::SpinLock::Guard const guard(lock);
        newest = outer_;
        Heap* around = outer_;
        while (around != nullptr && around->state_->scope != state_->scope)
            around = around->outer_;
        if (state_->scope == ScopeT::THREAD) ofThread = around;
        if (state_->scope == ScopeT::PROCESS) ofProcess.store(around, std::memory_order_release);
        --heaps;
    }
    delete state_;
}

void Heap::Arm() {
    Workbench::SpinLock::Guard const guard(lock);
    state_->armed = true;
}

void Heap::Disarm() {
    Workbench::SpinLock::Guard const guard(lock);
    state_->armed = false;
}

unsigned long Heap::Failures() const {
    Workbench::SpinLock::Guard const guard(lock);
    return state_->failures;
}

unsigned long Heap::Calls() const {
    Workbench::SpinLock::Guard const guard(lock);
    return state_->calls;
}

unsigned long Heap::Live() const {
    Workbench::SpinLock::Guard const guard(lock);
    return state_->blocks.size();
}

unsigned long Heap::LiveBytes() const {
    Workbench::SpinLock::Guard const guard(lock);
    return state_->bytes;
}

std::string Heap::Describe() const {
    Workbench::Own const own;
    Workbench::SpinLock::Guard const guard(lock);
    std::string text;
    for (auto const& [data, block] : state_->blocks)
        text += std::to_string(block.size) + " bytes of allocation " + std::to_string(block.serial) + "\n";
    return text;
}

void Heap::OnRelease(std::function<void(void const*, std::size_t)> watcher) {
    Workbench::Own const own;
    state_->watcher = std::move(watcher);
}

namespace {

// True if the round failed some allocation, and the sweep goes on.
bool Round(std::function<void(Heap&)> const& body, unsigned long failing, Heap::ModeT mode,
           Heap::ScopeT scope) {
    SCOPED_TRACE(failing == Heap::NEVER ? "no allocation fails"
                                        : "allocation " + std::to_string(failing) + " fails" +
                                              (mode == Heap::ModeT::ONCE ? "" : ", and all behind it"));
    unsigned long const failedBefore = Workbench::FailedParts();
    Heap heap(failing, mode, scope);
    body(heap);
    heap.Disarm();
    if (failing != Heap::NEVER && heap.Live() != 0) ADD_FAILURE() << "left behind:\n" << heap.Describe();
    return heap.Fired() && Workbench::FailedParts() == failedBefore;
}

} // namespace

void ForEveryAllocation(std::function<void(Heap&)> const& body, Heap::ScopeT scope) {
    unsigned long const failedBefore = Workbench::FailedParts();
    Round(body, Heap::NEVER, Heap::ModeT::ONCE, scope);
    for (auto const mode : {Heap::ModeT::ONCE, Heap::ModeT::FOREVER}) {
        unsigned long failing = 1;
        while (failing < ROUNDS_LIMIT && Workbench::FailedParts() == failedBefore &&
               Round(body, failing, mode, scope))
            ++failing;
        if (Workbench::FailedParts() != failedBefore) return;
        EXPECT_GT(failing, 1u) << "nothing was allocated between Arm() and Disarm()";
        EXPECT_LT(failing, ROUNDS_LIMIT) << "the sweep does not end";
    }
}

bool Reported(Heap& heap, std::function<bool()> const& body) {
    heap.Arm();
    bool const ok = body();
    heap.Disarm();
    EXPECT_EQ(ok, !heap.Fired());
    return ok;
}

Footprint::Footprint()
    : systemCalls_(Workbench::CallsOfThread()) {
    heap_.Arm();
}

unsigned long Footprint::SystemCalls() const { return Workbench::CallsOfThread() - systemCalls_; }

unsigned long Workbench::FailedParts() {
    testing::TestInfo const* const test = testing::UnitTest::GetInstance()->current_test_info();
    if (test == nullptr) return 0;
    unsigned long failed = 0;
    for (int i = 0; i < test->result()->total_part_count(); ++i)
        failed += test->result()->GetTestPartResult(i).failed() ? 1 : 0;
    return failed;
}

void* Workbench::Mmap(void* address, size_t size, int protection, int flags, int fd, off_t offset) {
    if ((flags & MAP_ANONYMOUS) == 0) return __real_mmap(address, size, protection, flags, fd, offset);
    if (HeapWatch::MustFail()) return MAP_FAILED;
    void* const block = __real_mmap(address, size, protection, flags, fd, offset);
    if (block != MAP_FAILED) HeapWatch::Note(block, size, size);
    return block;
}

int Workbench::Munmap(void* address, size_t size) {
    // One call may give back several blocks that lie side by side.
    constexpr std::size_t PAGE = 4096;
    for (std::size_t at = 0; at < size && HeapWatch::Active();) {
        std::size_t const block = HeapWatch::Forget(static_cast<char*>(address) + at);
        at += block != 0 ? (block + PAGE - 1) / PAGE * PAGE : PAGE;
    }
    return __real_munmap(address, size);
}

// A sanitizer in a shared object may bind to these.
#pragma GCC visibility push(default)

extern "C" {

void* __wrap_malloc(size_t size) {
    return HeapWatch::MustFail() ? nullptr : HeapWatch::Note(__real_malloc(size), size);
}

void* __wrap_calloc(size_t count, size_t size) {
    return HeapWatch::MustFail() ? nullptr
                                 : HeapWatch::Note(__real_calloc(count, size), count * size, count * size);
}

void* __wrap_realloc(void* block, size_t size) {
    if (block == nullptr) return __wrap_malloc(size);
    if (size == 0) {
        __wrap_free(block);
        return nullptr;
    }
    if (HeapWatch::Current() == nullptr) {
        HeapWatch::Forget(block);
        return __real_realloc(block, size);
    }
    return HeapWatch::MustFail() ? nullptr : HeapWatch::Move(block, size);
}

void __wrap_free(void* block) {
    HeapWatch::Forget(block);
    __real_free(block);
}

int __wrap_posix_memalign(void** block, size_t alignment, size_t size) {
    if (HeapWatch::MustFail()) return ENOMEM;
    int const error = __real_posix_memalign(block, alignment, size);
    if (error == 0) HeapWatch::Note(*block, size);
    return error;
}

// The wiping forms of the TLS library, whose own allocator is malloc.

void __wrap_CRYPTO_clear_free(void* block, size_t size, char const*, int) {
    if (block == nullptr) return;
    explicit_bzero(block, size);
    __wrap_free(block);
}

void* __wrap_CRYPTO_clear_realloc(void* block, size_t old, size_t size, char const* file, int line) {
    if (block == nullptr) return size == 0 ? nullptr : __wrap_malloc(size);
    void* const moved = size == 0 ? nullptr : __wrap_malloc(size);
    if (moved == nullptr && size != 0) return nullptr;
    if (moved != nullptr) memcpy(moved, block, std::min(old, size));
    __wrap_CRYPTO_clear_free(block, old, file, line);
    return moved;
}

#define ZEB_NEW(symbol)                                                                                      \
    void* __wrap_##symbol(size_t size, std::nothrow_t const& tag) {                                          \
        return HeapWatch::MustFail() ? nullptr : HeapWatch::Note(__real_##symbol(size, tag), size);          \
    }
#define ZEB_ALIGNED_NEW(symbol)                                                                              \
    void* __wrap_##symbol(size_t size, std::align_val_t alignment, std::nothrow_t const& tag) {              \
        return HeapWatch::MustFail() ? nullptr                                                               \
                                     : HeapWatch::Note(__real_##symbol(size, alignment, tag), size);         \
    }
#define ZEB_DELETE(symbol, parameters, arguments)                                                            \
    void __wrap_##symbol parameters {                                                                        \
        HeapWatch::Forget(block);                                                                            \
        __real_##symbol arguments;                                                                           \
    }

ZEB_NEW(_ZnwmRKSt9nothrow_t)
ZEB_NEW(_ZnamRKSt9nothrow_t)
ZEB_ALIGNED_NEW(_ZnwmSt11align_val_tRKSt9nothrow_t)
ZEB_ALIGNED_NEW(_ZnamSt11align_val_tRKSt9nothrow_t)
ZEB_DELETE(_ZdlPv, (void* block), (block))
ZEB_DELETE(_ZdaPv, (void* block), (block))
ZEB_DELETE(_ZdlPvm, (void* block, size_t size), (block, size))
ZEB_DELETE(_ZdaPvm, (void* block, size_t size), (block, size))
ZEB_DELETE(_ZdlPvRKSt9nothrow_t, (void* block, std::nothrow_t const& tag), (block, tag))
ZEB_DELETE(_ZdaPvRKSt9nothrow_t, (void* block, std::nothrow_t const& tag), (block, tag))
ZEB_DELETE(_ZdlPvSt11align_val_t, (void* block, std::align_val_t alignment), (block, alignment))
ZEB_DELETE(_ZdaPvSt11align_val_t, (void* block, std::align_val_t alignment), (block, alignment))
ZEB_DELETE(_ZdlPvmSt11align_val_t, (void* block, size_t size, std::align_val_t alignment),
           (block, size, alignment))
ZEB_DELETE(_ZdaPvmSt11align_val_t, (void* block, size_t size, std::align_val_t alignment),
           (block, size, alignment))
}

#pragma GCC visibility pop
