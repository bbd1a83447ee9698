#ifndef RTIQN_TOOLS_MANPAGE_H
#define RTIQN_TOOLS_MANPAGE_H

#include <string>

namespace CLI {
class App;
}

namespace RtiqnTools {

/// The manual page of a program in man(7) macros, made of what its --help says: one source for
/// both. `version` stands in the foot line.
std::string manPage(const CLI::App& program, const std::string& version);

}  // namespace RtiqnTools

#endif
