// Merging one table into another of the same size, half of whose rows it has already. The limit
// copies the held set and walks the other one, inserting with a hint: the same rows, the same
// order, nothing tested.
#include <benchmark/benchmark.h>
#include <iterator>
#include <string>

#include "FomMerge.h"

using namespace OrynRti;

namespace {

using Notes = DtFomTable<DtNotesType>;

/// Rows whose names are `numberOf(0)` to `numberOf(count - 1)`, which ascends.
template <typename NumberOf>
Notes makeNotes(int count, NumberOf numberOf) {
    Notes notes;
    for (int i = 0; i < count; ++i) {
        auto row = std::make_shared<DtNotesType>();
        row->name = std::to_string(1000000 + numberOf(i)).c_str();
        notes.insert(notes.end(), row);
    }
    return notes;
}

struct Tables {
    Notes held;
    Notes incoming;
};

/// The new rows stand behind the held ones.
Tables halves(int rows) {
    return {makeNotes(rows, [](int i) { return i; }),
            makeNotes(rows, [rows](int i) { return rows / 2 + i; })};
}

/// Every other incoming row is a new one between two held ones.
Tables interleaved(int rows) {
    return {makeNotes(rows, [](int i) { return 2 * i; }),
            makeNotes(rows, [](int i) { return 2 * i + i % 2; })};
}

/// Times `merge` of the incoming rows into a copy of the held ones.
template <typename Merge>
void timeMerge(benchmark::State& state, Tables (*tablesOf)(int), Merge merge) {
    const int rows = static_cast<int>(state.range(0));
    const Tables tables = tablesOf(rows);
    for (auto _ : state) {
        Notes merged = tables.held;
        merge(merged, tables.incoming);
        benchmark::DoNotOptimize(merged.size());
    }
    using benchmark::Counter;
    state.counters["per_row_s"] =
        Counter(rows, Counter::kIsIterationInvariantRate | Counter::kInvert);
}

void ours(benchmark::State& state, Tables (*tablesOf)(int)) {
    DtString error;
    timeMerge(state, tablesOf, [&](Notes& merged, const Notes& incoming) {
        mergeComponent(incoming, merged, "Module", "Notes", error, DtMergeFomNotesConflict, true);
    });
}

void limit(benchmark::State& state, Tables (*tablesOf)(int)) {
    timeMerge(state, tablesOf, [](Notes& merged, const Notes& incoming) {
        auto next = merged.begin();
        for (const auto& row : incoming)
            next = std::next(merged.insert(next, row));
    });
}

void rowsMerged(benchmark::internal::Benchmark* benchmark) {
    benchmark->RangeMultiplier(10)->Range(100, 100000);
}
BENCHMARK_CAPTURE(ours, halves, halves)->Name("TableMerge/Ours")->Apply(rowsMerged);
BENCHMARK_CAPTURE(limit, halves, halves)->Name("TableMerge/Limit")->Apply(rowsMerged);
BENCHMARK_CAPTURE(ours, mixed, interleaved)->Name("TableMergeInterleaved/Ours")->Apply(rowsMerged);
BENCHMARK_CAPTURE(limit, mixed, interleaved)
    ->Name("TableMergeInterleaved/Limit")
    ->Apply(rowsMerged);

}  // namespace
