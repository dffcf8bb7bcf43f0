// Containers that fill up: what one item costs at each size.

#include "zeb/core/Array.h"
#include "zeb/core/ArrayMap.h"
#include "zeb/core/StringMap.h"
#include "zeb/core/StringVector.h"

#include <benchmark/benchmark.h>
#include <cstdlib>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace {

using StateT = benchmark::State;

void Check(bool ok) {
    if (!ok) abort();
}

// As many keys, in no order.
std::vector<std::string> const& Keys(long count) {
    static std::map<long, std::vector<std::string>> made;
    std::vector<std::string>& keys = made[count];
    std::mt19937 random(3);
    while (static_cast<long>(keys.size()) < count)
        keys.push_back("client-" + std::to_string(random()));
    return keys;
}

CString View(std::string const& text) { return {text.data(), text.size()}; }

void Fill(StringMap& map, std::vector<std::string> const& keys) {
    for (std::string const& key : keys)
        Check(map.Set(View(key), "10.0.0.1"));
}

// A container is made and filled.
template<class T, class AddT>
void Filling(StateT& state, AddT const& add) {
    std::vector<std::string> const& keys = Keys(state.range(0));
    for (auto _ : state) {
        T container;
        for (std::string const& key : keys)
            add(container, key);
        benchmark::DoNotOptimize(container);
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * state.range(0));
}

void MapSet(StateT& state) {
    Filling<StringMap>(state, [](StringMap& map, std::string const& key) { Check(map.Set(View(key), "1")); });
}

void MapGet(StateT& state) {
    std::vector<std::string> const& keys = Keys(state.range(0));
    StringMap map;
    Fill(map, keys);
    for (auto _ : state)
        for (std::string const& key : keys)
            benchmark::DoNotOptimize(map.Get(View(key)).Size());
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * state.range(0));
}

void MapLoop(StateT& state) {
    StringMap map;
    Fill(map, Keys(state.range(0)));
    for (auto _ : state)
        for (auto const& [key, value] : map)
            benchmark::DoNotOptimize(key.Size() + value.Size());
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * state.range(0));
}

void VectorPushBack(StateT& state) {
    Filling<StringVector>(
        state, [](StringVector& vector, std::string const& key) { Check(vector.PushBack(View(key))); });
}

void PointersPushBack(StateT& state) {
    Filling<VoidPVector>(state, [](VoidPVector& vector, std::string const& key) {
        Check(vector.PushBack(const_cast<char*>(key.data())));
    });
}

void ArrayPushBack(StateT& state) {
    Filling<Array<unsigned long>>(state, [](Array<unsigned long>& array, std::string const& key) {
        Check(array.PushBack(key.size()));
    });
}

// The last key is looked up.
void FlatGet(StateT& state) {
    std::string block;
    for (std::string const& key : Keys(state.range(0)))
        block += key + "=1" + '\0';
    ArrayMap const map(1UL << 24, '=', block.data(), block.size());
    CString const last = View(Keys(state.range(0)).back());
    for (auto _ : state)
        benchmark::DoNotOptimize(map.Has(last));
}

void Sizes(benchmark::internal::Benchmark* row) { row->Arg(16)->Arg(256)->Arg(4096)->Arg(32768); }

BENCHMARK(MapSet)->Name("StringMap.Set/Growth")->Apply(Sizes);
BENCHMARK(MapGet)->Name("StringMap.Get/Growth")->Apply(Sizes);
BENCHMARK(MapLoop)->Name("StringMap.Loop/Growth")->Apply(Sizes);
BENCHMARK(VectorPushBack)->Name("StringVector.PushBack/Growth")->Apply(Sizes);
BENCHMARK(PointersPushBack)->Name("VoidPVector.PushBack/Growth")->Apply(Sizes);
BENCHMARK(ArrayPushBack)->Name("Array.PushBack/Growth")->Apply(Sizes);
BENCHMARK(FlatGet)->Name("ArrayMap.Has/Growth")->Apply(Sizes);

} // namespace
