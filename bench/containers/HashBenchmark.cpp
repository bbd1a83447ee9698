// Interning a known name, and looking up by keys that are hashed already, beside the tables of the
// standard library and of Abseil.
#include <absl/container/flat_hash_map.h>
#include <algorithm>
#include <benchmark/benchmark.h>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

#include "Hash.h"
#include "Hashlist.h"

using namespace OrynRti;

namespace {

/// As in a federation: names that differ in a number at the end.
std::vector<std::string> similarNames(int count) {
    std::vector<std::string> names;
    for (int i = 0; i < count; ++i)
        names.push_back("HLAobjectRoot.Platform.Vessel" + std::to_string(i * 7919));
    return names;
}

/// 16 to 40 letters each.
std::vector<std::string> unlikeNames(int count) {
    std::mt19937 random(1);
    std::vector<std::string> names;
    for (int i = 0; i < count; ++i) {
        std::string name(16 + random() % 25, ' ');
        std::generate(name.begin(), name.end(), [&] { return char('a' + random() % 26); });
        names.push_back(name);
    }
    return names;
}

/// Asks for every key in turn, in an order that has nothing to do with memory.
template <typename Keys, typename Find>
void askForEach(benchmark::State& state, Keys keys, Find find) {
    std::shuffle(keys.begin(), keys.end(), std::mt19937(2));
    auto key = keys.begin();
    for (auto _ : state) {
        benchmark::DoNotOptimize(find(*key));
        if (++key == keys.end())
            key = keys.begin();
    }
}

// -------------------------------------------------------------------------------------------

void intern(benchmark::State& state) {
    askForEach(state, similarNames(100),
               [](const std::string& name) { return DtHash::makeHash(name); });
}
BENCHMARK(intern)->Name("InternKnownName/Ours");

template <typename Map>
void internInto(benchmark::State& state) {
    Map map;
    askForEach(state, similarNames(100), [&](const std::string& name) {
        const auto known = map.find(name);
        return known != map.end() ? known->second : map.emplace(name, map.size()).first->second;
    });
}
BENCHMARK(internInto<std::unordered_map<std::string, unsigned>>)->Name("InternKnownName/Std");
BENCHMARK(internInto<absl::flat_hash_map<std::string, unsigned>>)->Name("InternKnownName/Abseil");

// -------------------------------------------------------------------------------------------

using Names = std::vector<std::string> (*)(int count);

/// As many buckets as entries. A key that is asked for is not the one that the table holds.
template <Names names>
void lookUpHashedKey(benchmark::State& state) {
    const int entries = static_cast<int>(state.range(0));
    DtHashlist table(entries);
    std::vector<DtStringHashKey> keys;
    for (const std::string& name : names(entries)) {
        keys.emplace_back(name.c_str());
        table.add(keys.back(), &table, nullptr);
    }
    askForEach(state, keys, [&](const DtStringHashKey& key) { return table.lookup(key); });
}

template <typename Map, Names names>
void lookUpIn(benchmark::State& state) {
    Map map;
    const auto keys = names(static_cast<int>(state.range(0)));
    for (const std::string& name : keys)
        map.emplace(name, &map);
    askForEach(state, keys, [&](const std::string& name) {
        const auto found = map.find(name);
        return found != map.end() ? found->second : nullptr;
    });
}

using StdMap = std::unordered_map<std::string, void*>;
using AbseilMap = absl::flat_hash_map<std::string, void*>;

#define ENTRIES Arg(100)->Arg(1000)->Arg(10000)
BENCHMARK(lookUpHashedKey<similarNames>)->Name("HashlistLookup/Ours")->ENTRIES;
BENCHMARK(lookUpIn<StdMap, similarNames>)->Name("HashlistLookup/Std")->ENTRIES;
BENCHMARK(lookUpIn<AbseilMap, similarNames>)->Name("HashlistLookup/Abseil")->ENTRIES;
BENCHMARK(lookUpHashedKey<unlikeNames>)->Name("HashlistLookupUnlike/Ours")->ENTRIES;
BENCHMARK(lookUpIn<StdMap, unlikeNames>)->Name("HashlistLookupUnlike/Std")->ENTRIES;
BENCHMARK(lookUpIn<AbseilMap, unlikeNames>)->Name("HashlistLookupUnlike/Abseil")->ENTRIES;

}  // namespace
