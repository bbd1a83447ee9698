#ifndef RTIQN_FOM_ERRORS_H
#define RTIQN_FOM_ERRORS_H

#include <stdexcept>
#include <string>

#include "FomModel.h"

namespace RtiqnFom {

/// A module that cannot be taken as one: not well-formed, not an object model, or with a row that
/// has no meaning. Its text begins with FILE:LINE:COLUMN. The program ends with status 2.
class MalformedModule : public std::runtime_error {
public:
    MalformedModule(const Place& place, const std::string& text)
        : std::runtime_error(place.text() + ": " + text) {}
};

/// A file that cannot be read or written; the text names it and says what the system answered.
/// The program ends with status 3.
class FileError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

}  // namespace RtiqnFom

#endif
