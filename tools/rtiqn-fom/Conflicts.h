#ifndef RTIQN_FOM_CONFLICTS_H
#define RTIQN_FOM_CONFLICTS_H

#include <vector>

#include "Conflict.h"
#include "FomTarget.h"

namespace RtiqnFom {

/// Every disagreement of `module` with `held` as `held` would find it when merging the module under
/// its own strictness, type and merge table mask, in the order in which that merge visits the
/// tables. The library itself names the first table that conflicts and that table's last row.
///
/// The library's rules decide which rows conflict, this only names the fields: a strict target
/// refuses the module exactly when the answer is not empty, with the status of the first. A target
/// that is not strict ignores some of them, see `isNeverIgnored`.
std::vector<Conflict> findConflicts(const FomTarget& held, const FomTarget& module,
                                    bool createFederation);

/// Whether one of `conflicts` makes a target of that strictness refuse the module.
bool refuses(const std::vector<Conflict>& conflicts, bool strict);

}  // namespace RtiqnFom

#endif
