#ifndef RTIQN_FOM_CLASS_GRAPH_H
#define RTIQN_FOM_CLASS_GRAPH_H

#include <string>

#include "FomTarget.h"

namespace RtiqnFom {

/// The trees of object and interaction classes as a graph in the DOT language of Graphviz, roots on
/// the left. Classes are filled with the colour of the module that brought them, which a legend
/// names when there are several. With `showsMembers` the boxes
/// list attributes and parameters with their datatypes, else they count them.
std::string classGraph(const FomTarget& target, bool showsMembers);

}  // namespace RtiqnFom

#endif
