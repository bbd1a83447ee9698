#include "Fatal.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "Print.h"
#include "text/MessageFormat.h"

namespace OrynRti {

namespace {

bool isPrinted(int severity) {
    return severity <= __atomic_load_n(&DtNotifyLevel, __ATOMIC_RELAXED);  // stands alone
}

/// What comes between a message and the end of its line. Needs no memory: a program that ends for
/// the lack of it is to say so.
struct Ending {
    Ending() = default;
    explicit Ending(int errorNumber) {
        char buffer[256];
        std::snprintf(text, sizeof text, ": %s", strerror_r(errorNumber, buffer, sizeof buffer));
    }
    char text[300] = "";
};

DT_PRINTF(1, 0) void printFatal(const char* format, va_list arguments, const Ending& ending) {
    if (format != nullptr && isPrinted(0))
        DtFatal << FATAL_HDR << DtFormatMessage(format, arguments) << ending.text << std::endl;
}

DT_PRINTF(1, 0)
void printWarning(const char* format, va_list arguments, const Ending& ending) {
    if (format != nullptr && isPrinted(1))
        DtWarn << DtFormatMessage(format, arguments) << ending.text << std::endl;
}

}  // namespace

// -------------------------------------------------------------------------------------------

void DtFatalError(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    printFatal(format, arguments, Ending());
    va_end(arguments);
    DtAbort();
}

void DtFatalPerror(const char* format, ...) {
    const int errorNumber = errno;
    va_list arguments;
    va_start(arguments, format);
    printFatal(format, arguments, Ending(errorNumber));
    va_end(arguments);
    DtAbort();
}

void DtFatalNetPerror(const char* format, ...) {
    const int errorNumber = errno;
    va_list arguments;
    va_start(arguments, format);
    printFatal(format, arguments, Ending(errorNumber));
    va_end(arguments);
    DtAbort();
}

void DtWarnPerror(const char* format, ...) {
    const int errorNumber = errno;
    va_list arguments;
    va_start(arguments, format);
    printWarning(format, arguments, Ending(errorNumber));
    va_end(arguments);
    errno = errorNumber;
}

void DtWarnNetPerror(const char* format, ...) {
    const int errorNumber = errno;
    va_list arguments;
    va_start(arguments, format);
    printWarning(format, arguments, Ending(errorNumber));
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
