#ifndef RTIQN_FOM_MODULE_READING_H
#define RTIQN_FOM_MODULE_READING_H

#include <functional>
#include <string>
#include <vector>

#include "Federation.h"

namespace RtiqnFom {

/// Reads the modules one after another and hands each to `take`. A module that cannot be read is
/// told of on standard error, and the others are read all the same. Answers with the highest exit
/// status that a module gave.
int readModules(const std::vector<std::string>& paths,
                const std::function<void(LoadedModule)>& take);

}  // namespace RtiqnFom

#endif
