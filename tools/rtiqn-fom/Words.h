#ifndef RTIQN_FOM_WORDS_H
#define RTIQN_FOM_WORDS_H

#include <string>
#include <vector>

#include "String.h"

namespace RtiqnFom {

/// Small text helpers of the merge and the reports.

std::string joined(const std::vector<std::string>& words, const std::string& separator);

/// A library text as a standard one; a cleared one is empty.
std::string textOf(const OrynRti::DtString& text);

}  // namespace RtiqnFom

#endif
