#ifndef RTIQN_FOM_OMT_WRITER_H
#define RTIQN_FOM_OMT_WRITER_H

#include <ostream>

#include "FomTarget.h"

namespace RtiqnFom {

/// Writes `target` as one OMT document of its edition that `readModule` reads back to the same
/// tables: attribute style for the edition of 2000, element style for the later ones. A target of
/// any other edition is written as one of 2010.
void writeModule(const FomTarget& target, std::ostream& out);

}  // namespace RtiqnFom

#endif
