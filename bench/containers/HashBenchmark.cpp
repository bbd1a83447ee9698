// Interning a known name and looking up hashed keys, beside the standard library's tables.
#include <benchmark/benchmark.h>
#include <string>
#include <unordered_map>
#include <vector>

#include "Hash.h"
#include "Hashlist.h"

using namespace OrynRti;

namespace {

std::vector<std::string> names(int count) {
    std::vector<std::string> result;
    for (int i = 0; i < count; ++i)
        result.push_back("HLAobjectRoot.Platform.Vessel" + std::to_string(i * 7919));
    return result;
}

void internKnownName(benchmark::State& state) {
    const auto known = names(100);
    for (const std::string& name : known)
        DtHash::makeHash(name);
    std::size_t i = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(DtHash::makeHash(known[i++ % known.size()]));
}
BENCHMARK(internKnownName);

void findInUnorderedMap(benchmark::State& state) {
    const auto known = names(100);
    std::unordered_map<std::string, unsigned int> map;
    for (const std::string& name : known)
        map.emplace(name, static_cast<unsigned int>(map.size()));
    std::size_t i = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(map.find(known[i++ % known.size()])->second);
}
BENCHMARK(findInUnorderedMap);

/// As many buckets as entries; a key is looked up by itself, hashed already.
void lookUpHashedKey(benchmark::State& state) {
    const int entries = static_cast<int>(state.range(0));
    DtHashlist table(entries);
    std::vector<DtStringHashKey> keys;
    for (const std::string& name : names(entries))
        keys.emplace_back(name.c_str());
    for (const DtStringHashKey& key : keys)
        table.add(key, &table, nullptr);
    std::size_t i = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(table.lookup(keys[i++ % keys.size()]));
}
BENCHMARK(lookUpHashedKey)->Arg(100)->Arg(1000)->Arg(10000);

void lookUpInUnorderedMap(benchmark::State& state) {
    const auto known = names(static_cast<int>(state.range(0)));
    std::unordered_map<std::string, void*> map;
    for (const std::string& name : known)
        map.emplace(name, &map);
    std::size_t i = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(map.find(known[i++ % known.size()])->second);
}
BENCHMARK(lookUpInUnorderedMap)->Arg(100)->Arg(1000)->Arg(10000);

}  // namespace
