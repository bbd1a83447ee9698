#ifndef RTIQN_FOM_ERRORS_H
#define RTIQN_FOM_ERRORS_H

#include <string>

#include "FomModel.h"
#include "common/Errors.h"

namespace RtiqnFom {

using namespace RtiqnTools;

/// The program's own exit statuses, beside those that all programs have; of several reasons the
/// highest counts.
constexpr int theFailure = 1;    ///< conflicts or a failed check
constexpr int theMalformed = 2;  ///< a module that cannot be taken as one

/// A module that cannot be taken as one: not well-formed, not an object model, or with a row that
/// has no meaning. Its text begins with FILE:LINE:COLUMN.
class MalformedModule : public ProgramError {
public:
    MalformedModule(const Place& place, const std::string& text)
        : ProgramError(theMalformed, place.text() + ": " + text) {}
};

}  // namespace RtiqnFom

#endif
