#include "text/MessageFormat.h"

#include <cstdio>

namespace OrynRti {

std::string DtFormatMessage(const char* format, va_list arguments) {
    char message[8192];
    if (std::vsnprintf(message, sizeof message, format, arguments) < 0)
        return std::string();
    return std::string(message);
}

}  // namespace OrynRti
