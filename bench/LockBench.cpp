// A monitored lock beside plain ones, uncontended: a pair of Lock and Unlock. A name is <operation>/<who>.

#include "zeb/core/AutoPtr.h"
#include "zeb/runtime/Mutex.h"
#include "zeb/runtime/ThreadMain.h"

#include <benchmark/benchmark.h>
#include <pthread.h>

#ifdef ZEB_PEER_ABSEIL
#include <absl/synchronization/mutex.h>
#endif

#ifdef ZEB_PEER_GLIB
#include <glib.h>
#endif

namespace {

ThreadMain& MainThread() {
    static AutoPtr<ThreadMain> const main(ThreadMain::New("bench"));
    return *main;
}

void PairOurs(benchmark::State& state) {
    MainThread();
    Mutex const mutex(Mutex::CORE);
    for (auto _ : state) {
        if (!mutex.Lock()) state.SkipWithError("not locked");
        mutex.Unlock();
    }
}
BENCHMARK(PairOurs)->Name("Lock.Pair/ours");

// Under five others, and with the threshold on.
void NestedOurs(benchmark::State& state) {
    MainThread();
    (void)Mutex::SetThreshold("1000");
    Mutex const outer[] = {Mutex(Mutex::CACHE), Mutex(Mutex::CWMP), Mutex(Mutex::FREE), Mutex(Mutex::CORE),
                           Mutex(Mutex::MODE)};
    Mutex const mutex(Mutex::TASK_QUEUE);
    for (Mutex const& lock : outer)
        (void)lock.Lock();
    for (auto _ : state) {
        if (!mutex.Lock()) state.SkipWithError("not locked");
        mutex.Unlock();
    }
    for (int i = 4; i >= 0; --i)
        outer[i].Unlock();
    (void)Mutex::RstThreshold();
}
BENCHMARK(NestedOurs)->Name("Lock.NestedWithThreshold/ours");

void TryBusyOurs(benchmark::State& state) {
    MainThread();
    pthread_t holder;
    static Mutex const mutex(Mutex::CORE);
    pthread_create(
        &holder, nullptr,
        [](void*) -> void* {
            (void)mutex.Lock();
            return nullptr;
        },
        nullptr);
    pthread_join(holder, nullptr);
    for (auto _ : state)
        benchmark::DoNotOptimize(mutex.TryLock());
    mutex.Unlock();
}
BENCHMARK(TryBusyOurs)->Name("Lock.TryBusy/ours");

void PairPthread(benchmark::State& state) {
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    for (auto _ : state) {
        pthread_mutex_lock(&mutex);
        pthread_mutex_unlock(&mutex);
    }
}
BENCHMARK(PairPthread)->Name("Lock.Pair/pthread");
BENCHMARK(PairPthread)->Name("Lock.NestedWithThreshold/pthread");

// What no monitor that keeps a time can go below.
void PairPthreadClock(benchmark::State& state) {
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    timespec now;
    for (auto _ : state) {
        pthread_mutex_lock(&mutex);
        clock_gettime(CLOCK_MONOTONIC, &now);
        benchmark::DoNotOptimize(now);
        pthread_mutex_unlock(&mutex);
    }
}
BENCHMARK(PairPthreadClock)->Name("Lock.Pair/pthread+clock");

// The plain arrangement: a record under a mutex of its own, visited twice to lock and once to unlock.
void PairGuarded(benchmark::State& state) {
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    pthread_mutex_t record = PTHREAD_MUTEX_INITIALIZER;
    int depth = 0;
    timespec now;
    auto const visit = [&](int change) {
        pthread_mutex_lock(&record);
        benchmark::DoNotOptimize(depth += change);
        pthread_mutex_unlock(&record);
    };
    for (auto _ : state) {
        visit(1);
        pthread_mutex_lock(&mutex);
        clock_gettime(CLOCK_MONOTONIC, &now);
        benchmark::DoNotOptimize(now);
        visit(0);
        clock_gettime(CLOCK_MONOTONIC, &now);
        pthread_mutex_unlock(&mutex);
        visit(-1);
    }
}
BENCHMARK(PairGuarded)->Name("Lock.Pair/guarded");

#ifdef ZEB_PEER_ABSEIL
void PairAbseil(benchmark::State& state) {
    absl::Mutex mutex;
    for (auto _ : state) {
        mutex.Lock();
        mutex.Unlock();
    }
}
BENCHMARK(PairAbseil)->Name("Lock.Pair/abseil");
#endif

#ifdef ZEB_PEER_GLIB
void PairGlib(benchmark::State& state) {
    GMutex mutex;
    g_mutex_init(&mutex);
    for (auto _ : state) {
        g_mutex_lock(&mutex);
        g_mutex_unlock(&mutex);
    }
    g_mutex_clear(&mutex);
}
BENCHMARK(PairGlib)->Name("Lock.Pair/glib");
#endif

} // namespace
