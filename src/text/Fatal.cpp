#include "Fatal.h"

#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <cstring>

#include "Print.h"
#include "text/MessageFormat.h"

namespace OrynRti {

namespace {

bool isPrinted(int severity) {
    return severity <= __atomic_load_n(&DtNotifyLevel, __ATOMIC_RELAXED);  // stands alone
}

std::string systemText(int errorNumber) {
    char buffer[256];
    return std::string(": ") + strerror_r(errorNumber, buffer, sizeof buffer);
}

/// `ending` is what comes between the message and the end of the line.
DT_PRINTF(1, 0) void printFatal(const char* format, va_list arguments, const std::string& ending) {
    if (format != nullptr && isPrinted(0))
        DtFatal << FATAL_HDR << DtFormatMessage(format, arguments) << ending << std::endl;
}

DT_PRINTF(1, 0)
void printWarning(const char* format, va_list arguments, const std::string& ending) {
    if (format != nullptr && isPrinted(1))
        DtWarn << DtFormatMessage(format, arguments) << ending << std::endl;
}

}  // namespace

// -------------------------------------------------------------------------------------------

void DtFatalError(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    printFatal(format, arguments, std::string());
    va_end(arguments);
    DtAbort();
}

void DtFatalPerror(const char* format, ...) {
    const int errorNumber = errno;
    va_list arguments;
    va_start(arguments, format);
    printFatal(format, arguments, systemText(errorNumber));
    va_end(arguments);
    DtAbort();
}

void DtFatalNetPerror(const char* format, ...) {
    const int errorNumber = errno;
    va_list arguments;
    va_start(arguments, format);
    printFatal(format, arguments, systemText(errorNumber));
    va_end(arguments);
    DtAbort();
}

void DtWarnPerror(const char* format, ...) {
    const int errorNumber = errno;
    va_list arguments;
    va_start(arguments, format);
    printWarning(format, arguments, systemText(errorNumber));
    va_end(arguments);
    errno = errorNumber;
}

void DtWarnNetPerror(const char* format, ...) {
    const int errorNumber = errno;
    va_list arguments;
    va_start(arguments, format);
    printWarning(format, arguments, systemText(errorNumber));
    va_end(arguments);
    errno = errorNumber;
}

// -------------------------------------------------------------------------------------------

void (*DtTheAbortFunc)() = nullptr;

void DtSetAbortFunc(void (*function)()) {
    __atomic_store_n(&DtTheAbortFunc, function, __ATOMIC_RELEASE);  // pairs with DtGetAbortFunc
}

void (*DtGetAbortFunc())() {
    return __atomic_load_n(&DtTheAbortFunc, __ATOMIC_ACQUIRE);  // pairs with DtSetAbortFunc
}

void DtAbort() {
    void (*const function)() = DtGetAbortFunc();
    if (function == nullptr)
        std::exit(-1);
    function();
}

}  // namespace OrynRti
