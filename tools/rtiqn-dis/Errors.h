#ifndef RTIQN_DIS_ERRORS_H
#define RTIQN_DIS_ERRORS_H

#include "common/Errors.h"

namespace RtiqnDis {

using namespace RtiqnTools;

/// The program's own exit status, beside those that all programs have.
constexpr int theDataProblem = 1;  ///< incomplete or broken datagrams, with --strict

}  // namespace RtiqnDis

#endif
