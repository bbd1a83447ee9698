#ifndef RTIQN_FOM_SHOW_COMMAND_H
#define RTIQN_FOM_SHOW_COMMAND_H

#include <ostream>
#include <string>

#include "FomTarget.h"

namespace RtiqnFom {

/// Prints every table of a module, one row a line: its name and the fields that are stated.
void printTables(const FomTarget& target, std::ostream& out);

/// Prints every table of one module; the answer is the exit status. Throws FileError when the
/// result cannot be written.
int runShow(const std::string& path);

}  // namespace RtiqnFom

#endif
