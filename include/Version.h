#ifndef RTIQNUTIL_VERSION_H
#define RTIQNUTIL_VERSION_H

#include "Export.h"

/// @file
/// Versions of the headers and of the library that is loaded.

/// The version of these headers. Programs built against 22.x run with every later 22.y; another
/// major number is another library file. @{
#define DT_VERSION_MAJOR 22
#define DT_VERSION_MINOR 0
#define DT_VERSION_PATCH 0
/// @}

/// For comparing, as in `#if DT_VERSION >= 220100`: two digits each for minor and patch.
#define DT_VERSION (DT_VERSION_MAJOR * 10000 + DT_VERSION_MINOR * 100 + DT_VERSION_PATCH)

#define DT_VERSION_STRING "22.0.0"  ///< The same as a text.

namespace OrynRti {

/// The version of the library that is loaded, which may be later than that of the headers:
/// "22.0.0". Lives forever.
DT_EXPORT const char* DtLibraryVersion();

/// The same as a number, to be compared with DT_VERSION.
DT_EXPORT int DtLibraryVersionNumber();

}  // namespace OrynRti

#endif
