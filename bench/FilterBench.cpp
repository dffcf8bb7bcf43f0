// The cuckoo filter beside sets that keep their items. A name is <operation>/<who>.

#include "zeb/core/CBuffer.h"
#include "zeb/util/CuckooFilter.h"

#include <benchmark/benchmark.h>
#include <random>
#include <string>
#include <unordered_set>
#include <vector>

#ifdef ZEB_PEER_ABSEIL
#include <absl/container/flat_hash_set.h>
#endif

namespace {

constexpr unsigned long MANY = 900000, FEW = 1 << 14;

// Texts of 22 characters, in no order; half of them are not in the sets.
std::vector<std::string> const& Items() {
    static std::vector<std::string> const items = [] {
        std::mt19937_64 random(7);
        std::vector<std::string> result(2 * MANY);
        for (std::string& item : result)
            item = "host-" + std::to_string(100000000 + random() % 900000000) + ".example";
        return result;
    }();
    return items;
}

template<class AskT>
void Contains(benchmark::State& state, AskT const& ask) {
    std::mt19937 random(8);
    std::vector<std::string const*> order(1 << 12);
    for (std::string const*& item : order)
        item = &Items()[random() % Items().size()];
    unsigned long i = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(ask(*order[i++ % order.size()]));
}

template<class SetT>
void ContainsSet(benchmark::State& state) {
    static SetT const set(Items().begin(), Items().begin() + MANY);
    Contains(state, [](std::string const& item) { return set.find(item) != set.end(); });
}

template<class SetT>
void AddSet(benchmark::State& state) {
    for (auto _ : state) {
        SetT set;
        set.reserve(FEW);
        for (unsigned long i = 0; i < FEW; ++i)
            set.insert(Items()[i]);
        benchmark::DoNotOptimize(set.size());
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * FEW));
}

CBuffer View(std::string const& item) { return {item.data(), item.size()}; }

[[maybe_unused]] bool const added = [] {
    benchmark::RegisterBenchmark("filter_contains/ours", [](benchmark::State& state) {
        static Util::CuckooFilter filter(MANY, 500);
        static bool const isFull = [] {
            for (unsigned long i = 0; i < MANY; ++i)
                if (!filter.Add(View(Items()[i]))) return false;
            return true;
        }();
        if (!isFull) state.SkipWithError("too full");
        Contains(state, [](std::string const& item) { return filter.Contains(View(item)); });
    });
    benchmark::RegisterBenchmark("filter_contains/std", ContainsSet<std::unordered_set<std::string>>);
    benchmark::RegisterBenchmark("filter_add/ours", [](benchmark::State& state) {
        for (auto _ : state) {
            Util::CuckooFilter filter(FEW, 500);
            for (unsigned long i = 0; i < FEW; ++i)
                benchmark::DoNotOptimize(filter.Add(View(Items()[i])));
        }
        state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * FEW));
    });
    benchmark::RegisterBenchmark("filter_add/std", AddSet<std::unordered_set<std::string>>);
#ifdef ZEB_PEER_ABSEIL
    benchmark::RegisterBenchmark("filter_contains/abseil", ContainsSet<absl::flat_hash_set<std::string>>);
    benchmark::RegisterBenchmark("filter_add/abseil", AddSet<absl::flat_hash_set<std::string>>);
#endif
    return true;
}();

} // namespace
