#ifndef RTIQN_FOM_WHOLE_FILE_H
#define RTIQN_FOM_WHOLE_FILE_H

#include <functional>
#include <ostream>
#include <string>

namespace RtiqnFom {

/// Calls `write` with a stream and makes what it wrote the contents of `path`, whole or not at all:
/// it goes to a new file in the same folder, which takes the place of `path` once it is safely on
/// the disk, with the access rights of the file it replaces. A symbolic link stays, and what it
/// leads to is replaced. Anything that is not a regular file, such as /dev/stdout, is written
/// directly.
///
/// Throws FileError when the file cannot be written; an earlier file is then as it was.
void writeWholeFile(const std::string& path, const std::function<void(std::ostream&)>& write);

}  // namespace RtiqnFom

#endif
