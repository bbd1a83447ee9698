#include "TableCounts.h"

#include <iterator>

namespace RtiqnFom {

namespace {

void countDatatypes(const FomTarget& target, TableCounts& counts) {
    counts[Count::basicDataRepresentations] = target.basicDataRepresentations().size();
    counts[Count::simpleDatatypes] = target.simpleDataTypes().size();
    counts[Count::enumeratedDatatypes] = target.enumeratedDataTypes().size();
    counts[Count::arrayDatatypes] = target.arrayDataTypes().size();
    counts[Count::fixedRecordDatatypes] = target.fixedRecordDataTypes().size();
    counts[Count::variantRecordDatatypes] = target.variantRecordDataTypes().size();
    counts[Count::referenceDatatypes] = target.referenceDatatypes().size();
    for (const Count kind :
         {Count::basicDataRepresentations, Count::simpleDatatypes, Count::enumeratedDatatypes,
          Count::arrayDatatypes, Count::fixedRecordDatatypes, Count::variantRecordDatatypes,
          Count::referenceDatatypes})
        counts[Count::datatypes] += counts[kind];
}

void countClasses(const FomTarget& target, TableCounts& counts) {
    counts[Count::objectClasses] = target.objectClasses().size();
    for (const auto& row : target.objectClasses()) {
        counts[Count::attributes] += row->attributes.size();
        counts[Count::directedInteractions] += row->directedInteractions.size();
    }
    counts[Count::interactionClasses] = target.interactionClasses().size();
    for (const auto& row : target.interactionClasses())
        counts[Count::parameters] += row->parameters.size();
}

}  // namespace

TableCounts countsOf(const FomTarget& target) {
    TableCounts counts;
    countClasses(target, counts);
    countDatatypes(target, counts);
    counts[Count::dimensions] = target.dimensions().size();
    counts[Count::transportations] = target.numTransports();
    counts[Count::updateRates] = target.numUpdateRates();
    counts[Count::tags] = target.numUserSuppliedTags();
    counts[Count::timeRepresentations] = target.numTimeTypes();
    counts[Count::synchronizationPoints] = target.numSyncPoints();
    counts[Count::switches] =
        target.numSwitches() + (target.isAutomaticResignActionExplicit() ? 1 : 0);
    counts[Count::notes] = target.numNotes();
    return counts;
}

TableCounts difference(const TableCounts& after, const TableCounts& before) {
    TableCounts counts;
    for (std::size_t i = 0; i < theNumCounts; ++i) {
        const Count count = static_cast<Count>(i);
        counts[count] = after[count] - before[count];
    }
    return counts;
}

const char* keyOf(Count count) {
    static constexpr const char* theKeys[] = {"objectClasses",
                                              "attributes",
                                              "interactionClasses",
                                              "parameters",
                                              "datatypes",
                                              "basicDataRepresentations",
                                              "simpleDatatypes",
                                              "enumeratedDatatypes",
                                              "arrayDatatypes",
                                              "fixedRecordDatatypes",
                                              "variantRecordDatatypes",
                                              "referenceDatatypes",
                                              "directedInteractions",
                                              "dimensions",
                                              "transportations",
                                              "updateRates",
                                              "tags",
                                              "timeRepresentations",
                                              "synchronizationPoints",
                                              "switches",
                                              "notes"};
    static_assert(std::size(theKeys) == theNumCounts);
    return theKeys[static_cast<std::size_t>(count)];
}

}  // namespace RtiqnFom
