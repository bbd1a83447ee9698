#ifndef RTIQN_FOM_TABLE_COUNTS_H
#define RTIQN_FOM_TABLE_COUNTS_H

#include <array>
#include <cstddef>

#include "FomTarget.h"

namespace RtiqnFom {

/// What is counted of a module or a federation; roots count as classes, the automatic resign action
/// as a switch. `datatypes` is the sum of the seven kinds of datatype behind it.
enum class Count : std::size_t {
    objectClasses,
    attributes,
    interactionClasses,
    parameters,
    datatypes,
    basicDataRepresentations,
    simpleDatatypes,
    enumeratedDatatypes,
    arrayDatatypes,
    fixedRecordDatatypes,
    variantRecordDatatypes,
    referenceDatatypes,
    directedInteractions,
    dimensions,
    transportations,
    updateRates,
    tags,
    timeRepresentations,
    synchronizationPoints,
    switches,
    notes
};

constexpr std::size_t theNumCounts = static_cast<std::size_t>(Count::notes) + 1;

/// Rows by table.
class TableCounts {
public:
    std::size_t& operator[](Count count) { return counts_[static_cast<std::size_t>(count)]; }
    std::size_t operator[](Count count) const { return counts_[static_cast<std::size_t>(count)]; }

private:
    std::array<std::size_t, theNumCounts> counts_{};
};

TableCounts countsOf(const FomTarget& target);

/// What `after` has more than `before`; merging never takes rows away.
TableCounts difference(const TableCounts& after, const TableCounts& before);

/// The name of a count in JSON, e.g. "objectClasses".
const char* keyOf(Count count);

}  // namespace RtiqnFom

#endif
