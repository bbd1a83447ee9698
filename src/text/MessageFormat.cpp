#include "text/MessageFormat.h"

#include <cstdio>
#include <new>

namespace OrynRti {

std::string DtFormatMessage(const char* format, va_list arguments) {
    char message[8192];
    if (std::vsnprintf(message, sizeof message, format, arguments) < 0)
        return std::string();
    try {
        return std::string(message);
    } catch (const std::bad_alloc&) {
        return "(no memory)";  // as short as it is, it needs none
    }
}

}  // namespace OrynRti
