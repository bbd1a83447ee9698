#ifndef RTIQN_FOM_FINDING_H
#define RTIQN_FOM_FINDING_H

#include <string>

#include "FomModel.h"

namespace RtiqnFom {

enum class Severity {
    remark,   ///< worth knowing when a module is checked, silent in a merge
    warning,  ///< said by `check` and by `merge`, fails neither
    failure   ///< wrong in itself: fails `check`, a warning of `merge`
};

/// Something well-formed but odd or wrong in a module by itself.
struct Finding {
    Severity severity = Severity::failure;
    Place place;
    std::string text;
};

}  // namespace RtiqnFom

#endif
