#ifndef RTIQNUTIL_FOM_TEXT_H
#define RTIQNUTIL_FOM_TEXT_H

#include <cstring>

#include "String.h"

namespace OrynRti {

/// Comparison of texts in tables. DtString's own operators answer false whenever one side was
/// cleared, which is no order; here a cleared text counts as empty.

inline const char* DtFomText(const DtString& text) {
    const char* characters = text.c_str();
    return characters ? characters : "";
}

inline int DtFomCompareTexts(const DtString& left, const DtString& right) {
    return std::strcmp(DtFomText(left), DtFomText(right));
}

inline bool DtFomSameText(const DtString& left, const DtString& right) {
    return DtFomCompareTexts(left, right) == 0;
}

}  // namespace OrynRti

#endif
