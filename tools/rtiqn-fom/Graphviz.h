#ifndef RTIQN_FOM_GRAPHVIZ_H
#define RTIQN_FOM_GRAPHVIZ_H

#include <string>

namespace RtiqnFom {

/// The picture that Graphviz draws of a graph in its DOT language, as SVG. Throws FileError when
/// the program of that name is not installed, or fails.
std::string svgOf(const std::string& dot);

}  // namespace RtiqnFom

#endif
