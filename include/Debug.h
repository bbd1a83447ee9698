#ifndef RTIQNUTIL_DEBUG_H
#define RTIQNUTIL_DEBUG_H

#include "Export.h"

namespace OrynRti {

/// Switches for extra debug output, each for one area of the programs built on the library;
/// false at the start. Set them before threads that read them begin. @{
extern DT_EXPORT bool DtNetDebugOn;
extern DT_EXPORT bool DtSmoothDebugOn;
extern DT_EXPORT bool DtLispDebugOn;
/// @}

}  // namespace OrynRti

#endif
