// The cost of merging one table into another of the same size must grow with the rows alone; the
// limit is the union of the bare sets.
#include <benchmark/benchmark.h>
#include <string>

#include "FomMerge.h"

using namespace OrynRti;

namespace {

using Notes = DtFomTable<DtNotesType>;

Notes makeNotes(int first, int count) {
    Notes notes;
    for (int i = first; i < first + count; ++i) {
        auto row = std::make_shared<DtNotesType>();
        row->name = std::to_string(1000000 + i).c_str();
        notes.insert(notes.end(), row);
    }
    return notes;
}

void mergeHalfNewRows(benchmark::State& state) {
    const int rows = static_cast<int>(state.range(0));
    const Notes held = makeNotes(0, rows);
    const Notes incoming = makeNotes(rows / 2, rows);
    for (auto _ : state) {
        Notes merged = held;
        DtString error;
        benchmark::DoNotOptimize(mergeComponent(incoming, merged, "Module", "Notes", error,
                                                DtMergeFomNotesConflict, true));
    }
    state.SetComplexityN(rows);
}
BENCHMARK(mergeHalfNewRows)->Range(1 << 8, 1 << 16)->Complexity(benchmark::oN);

void insertIntoBareSet(benchmark::State& state) {
    const int rows = static_cast<int>(state.range(0));
    const Notes held = makeNotes(0, rows);
    const Notes incoming = makeNotes(rows / 2, rows);
    for (auto _ : state) {
        Notes merged = held;
        merged.insert(incoming.begin(), incoming.end());
        benchmark::DoNotOptimize(merged.size());
    }
    state.SetComplexityN(rows);
}
BENCHMARK(insertIntoBareSet)->Range(1 << 8, 1 << 16)->Complexity(benchmark::oN);

}  // namespace
