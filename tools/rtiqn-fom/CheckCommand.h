#ifndef RTIQN_FOM_CHECK_COMMAND_H
#define RTIQN_FOM_CHECK_COMMAND_H

#include <string>
#include <vector>

namespace RtiqnFom {

/// Reads each module alone and prints what is wrong in it or left to other modules; the answer is
/// the exit status. Throws FileError when the result cannot be written.
int runCheck(const std::vector<std::string>& paths);

}  // namespace RtiqnFom

#endif
