// The names of the innermost 20 frames of a stack, beside libc and libunwind. A name is <operation>/20/<who>.

#include "zeb/runtime/Backtrace.h"

#include <benchmark/benchmark.h>
#include <cstdlib>
#include <execinfo.h>
#include <utility>

#define UNW_LOCAL_ONLY
#include <libunwind.h>

namespace {

constexpr int FRAMES = 20;

// Runs the body with that many different functions on the stack.
template<int N>
[[gnu::noinline]] void Deep(void (*body)()) {
    if constexpr (N != 0)
        Deep<N - 1>(body);
    else
        body();
    benchmark::ClobberMemory();
}

template<void (*BODY)()>
void Run(benchmark::State& state) {
    for (auto _ : state)
        Deep<FRAMES>(BODY);
}

void Ours() {
    Backtrace backtrace(Backtrace::NAMES);
    backtrace.GetUser(0, nullptr);
    int count = 0;
    for (Backtrace::Frame const frame : backtrace) {
        if (count++ == FRAMES) break;
        benchmark::DoNotOptimize(*frame.Name());
    }
    if (count <= FRAMES) abort();
}

// Exported names alone.
void Libc() {
    void* frames[FRAMES];
    char** const names = backtrace_symbols(frames, backtrace(frames, FRAMES));
    for (int i = 0; i < FRAMES; ++i)
        benchmark::DoNotOptimize(*names[i]);
    free(names);
}

void Libunwind() {
    unw_context_t context;
    unw_cursor_t cursor;
    unw_getcontext(&context);
    unw_init_local(&cursor, &context);
    for (int i = 0; i < FRAMES && unw_step(&cursor) > 0; ++i) {
        char name[256];
        unw_word_t offset;
        unw_get_proc_name(&cursor, name, sizeof(name), &offset);
        benchmark::DoNotOptimize(name[0]);
    }
}

BENCHMARK(Run<Ours>)->Name("Backtrace.Names/20/ours");
BENCHMARK(Run<Libc>)->Name("Backtrace.Names/20/libc");
BENCHMARK(Run<Libunwind>)->Name("Backtrace.Names/20/libunwind");

} // namespace
