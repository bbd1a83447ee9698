#ifndef TEXT_MESSAGEFORMAT_H
#define TEXT_MESSAGEFORMAT_H

#include <cstdarg>
#include <string>

#include "Export.h"

namespace OrynRti {

/// The text that printf would write, cut off after 8191 characters; empty when the arguments
/// cannot be formatted, "(no memory)" when there is none.
std::string DtFormatMessage(const char* format, va_list arguments) DT_PRINTF(1, 0);

}  // namespace OrynRti

#endif
