#ifndef RTIQN_FOM_OMT_READER_H
#define RTIQN_FOM_OMT_READER_H

#include <string>
#include <vector>

#include "Finding.h"
#include "FomTarget.h"

namespace RtiqnFom {

/// Reads one FOM module of the editions of 2000, 2010 or 2025 and appends what is wrong in it by
/// itself to `findings`, in the order of the document.
///
/// Element names are taken without their namespace prefix. The edition is that of the root's
/// namespace; without one it is 2000 for a document that states names as attributes and 2010
/// otherwise. A field is read from an attribute or from a child element, whichever is there.
///
/// Notes on the parts of a row are kept in its RowInfo under a path: "semantics" for a field,
/// "enumerator/Red" and "field/X/semantics" for the parts of a collection.
///
/// Throws MalformedModule and FileError.
FomTarget readModule(const std::string& path, std::vector<Finding>& findings);

}  // namespace RtiqnFom

#endif
