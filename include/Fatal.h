#ifndef RTIQNUTIL_FATAL_H
#define RTIQNUTIL_FATAL_H

#include "Export.h"

/// @file
/// The ways to end the process with a message, and to warn of a failed system call. Formats are
/// those of printf; text beyond 8191 characters is cut off, and arguments that cannot be
/// formatted give an empty message.
///
///     if (bind(handle, address, size) != 0)
///         DtFatalNetPerror("bind to port %d", port);   // **FATAL ERROR**: bind to port 3000: ...

namespace OrynRti {

/// Writes FATAL_HDR, the message and an end of line to DtFatal, unless `format` is null or the
/// notify level is below 0; then, in every case, calls DtAbort().
DT_EXPORT void DtFatalError(const char* format, ...) DT_PRINTF(1, 2);

/// As DtFatalError, with ": " and the text of `errno` (as it is on entry) after the message.
DT_EXPORT void DtFatalPerror(const char* format, ...) DT_PRINTF(1, 2);

/// DtFatalPerror for socket calls.
DT_EXPORT void DtFatalNetPerror(const char* format, ...) DT_PRINTF(1, 2);

/// Writes the message, ": ", the text of `errno` and an end of line to DtWarn, unless `format`
/// is null or the notify level is below 1. `errno` is the same afterwards.
DT_EXPORT void DtWarnPerror(const char* format, ...) DT_PRINTF(1, 2);

/// DtWarnPerror for socket calls.
DT_EXPORT void DtWarnNetPerror(const char* format, ...) DT_PRINTF(1, 2);

/// What DtAbort() calls; null, the initial value, for the end of the process.
extern DT_EXPORT void (*DtTheAbortFunc)();

/// Replaces the abort function. One that returns lets the fatal functions return to their
/// callers. @{
DT_EXPORT void DtSetAbortFunc(void (*function)());
DT_EXPORT void (*DtGetAbortFunc())();
/// @}

/// Calls the abort function; without one, ends the process by `exit(-1)`, exit status 255.
DT_EXPORT void DtAbort();

}  // namespace OrynRti

#endif
