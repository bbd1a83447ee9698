#include "Debug.h"

namespace OrynRti {

bool DtNetDebugOn = false;
bool DtSmoothDebugOn = false;
bool DtLispDebugOn = false;

}  // namespace OrynRti
