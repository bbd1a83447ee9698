#ifndef RTIQN_FOM_DATATYPE_WARNINGS_H
#define RTIQN_FOM_DATATYPE_WARNINGS_H

#include <string>
#include <vector>

#include "FomTarget.h"

namespace RtiqnFom {

/// The datatypes of `module` that give way to one of the same name in `held` though they differ
/// from it, one sentence each with both places. What `held` unites is no difference.
std::vector<std::string> droppedDatatypes(const FomTarget& held, const FomTarget& module);

/// The names that rows of `target` use as datatypes and that it has no datatype for: one sentence
/// each with where a name is used first and how often. Names may be spelled "NA" by their rows; the
/// reader has taken these for not stated.
std::vector<std::string> unresolvedDatatypes(const FomTarget& target);

}  // namespace RtiqnFom

#endif
