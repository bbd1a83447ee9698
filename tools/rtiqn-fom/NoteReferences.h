#ifndef RTIQN_FOM_NOTE_REFERENCES_H
#define RTIQN_FOM_NOTE_REFERENCES_H

#include <vector>

#include "FomModel.h"

namespace RtiqnFom {

/// Adds to `held` the labels that only `incoming` refers to. True when there were any.
bool joinNotes(std::vector<NoteReference>& held, const std::vector<NoteReference>& incoming);

}  // namespace RtiqnFom

#endif
