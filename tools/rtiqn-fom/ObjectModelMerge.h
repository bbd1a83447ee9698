#ifndef RTIQN_FOM_OBJECT_MODEL_MERGE_H
#define RTIQN_FOM_OBJECT_MODEL_MERGE_H

#include <string>
#include <vector>

#include "Conflict.h"
#include "FomModel.h"
#include "OrderedRows.h"

namespace RtiqnFom {

/// The rules by which dimensions, object classes and interaction classes of modules join.
///
/// Equal names at the same place of the tree are one row: what one side does not state agrees with
/// whatever the other states and is completed by it, so a class may come as a bare scaffold before
/// or behind its definition. Fixed vocabularies are compared without regard to case, the dimensions
/// of an attribute or interaction as a set; semantics, update conditions and notes never conflict:
/// of two texts the first stays, of two lists of notes the union.
///
/// Cost: linear in the incoming rows and the held classes they name. A module that adds attributes
/// to the tree costs one walk over all classes besides, to find inherited names.

/// Every disagreement of `incoming` with `held`, in the order of the incoming rows; attributes that
/// repeat an inherited name come last. Merging is for the caller to refuse when there is any.
std::vector<Conflict> conflictsOf(const OrderedRows<Dimension>& held,
                                  const OrderedRows<Dimension>& incoming);
std::vector<Conflict> conflictsOf(const OrderedRows<ObjectClass>& held,
                                  const OrderedRows<ObjectClass>& incoming);
std::vector<Conflict> conflictsOf(const OrderedRows<InteractionClass>& held,
                                  const OrderedRows<InteractionClass>& incoming);

/// Joins `incoming` to `held`. Classes missing above an incoming one are added as scaffolds, so a
/// class always stands behind its parent.
void joinRows(OrderedRows<Dimension>& held, const OrderedRows<Dimension>& incoming);
void joinRows(OrderedRows<ObjectClass>& held, const OrderedRows<ObjectClass>& incoming);
void joinRows(OrderedRows<InteractionClass>& held, const OrderedRows<InteractionClass>& incoming);

/// A class of a module that stood beside the root where it belongs below it.
struct MovedRoot {
    std::string name;
    Place place;
};

/// `rows` with every class below `root`: any other root becomes a child of it, and is added to
/// `moved`. Where both places hold a class of one name the two are joined, the first text staying.
OrderedRows<ObjectClass> placedBelow(const std::string& root, const OrderedRows<ObjectClass>& rows,
                                     std::vector<MovedRoot>& moved);
OrderedRows<InteractionClass> placedBelow(const std::string& root,
                                          const OrderedRows<InteractionClass>& rows,
                                          std::vector<MovedRoot>& moved);

/// The class above; empty for a root.
std::string parentName(const std::string& className);

}  // namespace RtiqnFom

#endif
