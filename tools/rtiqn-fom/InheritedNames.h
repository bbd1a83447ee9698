#ifndef RTIQN_FOM_INHERITED_NAMES_H
#define RTIQN_FOM_INHERITED_NAMES_H

#include <vector>

#include "Conflict.h"
#include "FomModel.h"
#include "OrderedRows.h"

namespace RtiqnFom {

/// Attributes that would repeat the name of one inherited from a class above, once `incoming` is
/// joined to `held`: whether the new one stands above or below the held one. Of two new ones the
/// upper counts as held. Cost: one walk over both, none when `incoming` has no new attribute.
std::vector<Conflict> inheritedNameConflicts(const OrderedRows<ObjectClass>& held,
                                             const OrderedRows<ObjectClass>& incoming);

}  // namespace RtiqnFom

#endif
