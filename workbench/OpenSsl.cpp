#include "workbench/OpenSsl.h"

#include "workbench/Workbench.h"

#include <algorithm>
#include <cstdlib>
#include <optional>

#include <gtest/gtest.h>
#include <malloc.h>
#include <openssl/crypto.h>
#include <openssl/err.h>

#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/lsan_interface.h>
#else
namespace {
void __lsan_disable() {}
void __lsan_enable() {}
} // namespace
#endif

namespace {

constinit thread_local bool isWatched = false;
constinit thread_local long bytes = 0, peak = 0;

void Count(void* block, int sign) {
    if (block != nullptr) bytes += sign * static_cast<long>(malloc_usable_size(block));
    peak = std::max(peak, bytes);
}

// Memory that nobody watches, unless a sweep says so.
template<typename BodyT>
void* Allocate(BodyT const& body) {
    std::optional<Workbench::Own> own;
    if (!isWatched) own.emplace();
    if (isWatched) __lsan_disable();
    void* const block = body();
    if (isWatched) __lsan_enable();
    Count(block, 1);
    return block;
}

void* Malloc(size_t size, char const*, int) {
    return Allocate([=] { return malloc(size); });
}

void Free(void* block, char const*, int) {
    Count(block, -1);
    free(block);
}

void* Realloc(void* block, size_t size, char const*, int) {
    long const before = block == nullptr ? 0 : static_cast<long>(malloc_usable_size(block));
    void* const moved = Allocate([=] { return realloc(block, size); });
    if (moved != nullptr || size == 0) bytes -= before;
    return moved;
}

// Ahead of all of OpenSSL: it takes other functions only as long as it has allocated nothing.
bool const isRouted = CRYPTO_set_mem_functions(Malloc, Realloc, Free) == 1;

bool Run(unsigned long failing, Heap::ModeT mode, std::function<void(Heap&)> const& body) {
    SCOPED_TRACE("allocation " + std::to_string(failing) +
                 (mode == Heap::ModeT::ONCE ? "" : " and all behind it"));
    Heap heap(failing, mode);
    isWatched = true;
    body(heap);
    isWatched = false;
    heap.Disarm();
    OPENSSL_thread_stop(); // the errors of the thread, for which there was no memory
    return heap.Fired();
}

} // namespace

void OpenSslHeap::Sweep(unsigned long stride, std::function<void(Heap&)> const& body) {
    EXPECT_TRUE(isRouted) << "OpenSSL was used ahead of the program's start";
    unsigned long const failedBefore = Workbench::FailedParts();
    for (Heap::ModeT const mode : {Heap::ModeT::ONCE, Heap::ModeT::FOREVER}) {
        unsigned long failing = 1;
        while (Run(failing, mode, body) && Workbench::FailedParts() == failedBefore)
            failing += stride;
        EXPECT_GT(failing, 1u) << "nothing was allocated between Arm() and Disarm()";
        if (Workbench::FailedParts() != failedBefore) return;
    }
}

long OpenSslHeap::Peak(std::function<void()> const& body) {
    EXPECT_TRUE(isRouted) << "OpenSSL was used ahead of the program's start";
    long const before = peak = bytes;
    body();
    return peak - before;
}
