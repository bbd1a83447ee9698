#ifndef RTIQN_FOM_OMT_WRITING_H
#define RTIQN_FOM_OMT_WRITING_H

#include "FomTarget.h"
#include "OmtEmitter.h"

namespace RtiqnFom {

// The tables of a document, in the order in which they stand in it. A table without rows is left
// out.

void writeClasses(const FomTarget& target, OmtEmitter& out);
void writeSmallTables(const FomTarget& target, OmtEmitter& out);
void writeDatatypes(const FomTarget& target, OmtEmitter& out);
void writeNotes(const FomTarget& target, OmtEmitter& out);

}  // namespace RtiqnFom

#endif
