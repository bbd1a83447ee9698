#ifndef RTIQN_FOM_MODEL_ROWS_H
#define RTIQN_FOM_MODEL_ROWS_H

#include <string>
#include <vector>

#include "FomTarget.h"
#include "RowFields.h"

namespace RtiqnFom {

/// One row of any table. The name of a class is its path from the root, that of an attribute,
/// parameter or directed interaction begins with the path of its class.
struct ModelRow {
    const char* table;
    std::string name;
    FieldValues fields;
    Place place;
};

/// All rows of a model, table by table.
std::vector<ModelRow> rowsOf(const FomTarget& target);

/// What a merge did to a row.
struct RowChange {
    const char* table;
    std::string row;
    Place place;                      ///< where it is stated first
    std::vector<std::string> fields;  ///< that were completed; none for a row that is new
};

/// What `after` has more than `before`; merging never takes rows away.
std::vector<RowChange> changesBetween(const FomTarget& before, const FomTarget& after);

}  // namespace RtiqnFom

#endif
