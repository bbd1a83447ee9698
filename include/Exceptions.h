#ifndef RTIQNUTIL_EXCEPTIONS_H
#define RTIQNUTIL_EXCEPTIONS_H

#include <ostream>

#include "Export.h"
#include "String.h"

/// @file
/// Exceptions, and the macro that throws them.

namespace OrynRti {

/// What the library throws: a message, the place it was thrown at, and the earlier exceptions
/// that led to it.
///
///     try {
///         threaded.start();
///     } catch (const DtException& problem) {
///         DtWarn << problem;   // one line per exception, newest first
///     }
///
/// Ownership: a value; the chain of earlier exceptions is copied and owned, so a caught
///            exception may be given as `previous` and go away
/// Errors:    a chain that cannot be copied for lack of memory is cut where memory ended
/// Cost:      allocates for each link of the chain
class DT_EXPORT DtException {
public:
    /// Without a place. `message` and `previous` may be null.
    DtException(const char* message, const DtException* previous);

    /// With the place as "function [file:line] ". Without a function or a file, or without the
    /// memory for that text, a line on std::cerr says so and the place stays empty.
    DtException(const char* message, const char* function, const char* file, unsigned int line,
                const DtException* previous);

    /// Copies the whole chain.
    DtException(const DtException& other);

    /// `other` may be part of this exception's own chain.
    DtException& operator=(const DtException& other);

    // The order of the virtual functions is fixed.

    virtual ~DtException();

    /// The exception before this one, null when this is the first.
    virtual const DtException* lastException() const;

    /// The oldest exception of the chain, this one when there is none before it.
    virtual const DtException* initialException() const;

    virtual const char* message() const;  ///< Empty when none was given.
    virtual DtString what() const;        ///< The same.
    virtual DtString where() const;       ///< "function [file:line] ", or empty.

private:
    // The order of the members is fixed.
    DtString where_;
    DtString message_;
    DtException* previous_;
};

/// Writes "message (place)" for the exception and each earlier one, one line each.
DT_EXPORT std::ostream& operator<<(std::ostream& out, const DtException& exception);

/// The kinds of failure that have an exception type of their own. @{
constexpr int DtInvalidInputNumber = -1;
constexpr int DtUnknownExceptionNumber = -2;
constexpr int DtCorruptedStateNumber = -3;
constexpr int DtThreadAlreadyRunningNumber = 1001;
constexpr int DtThreadNotStartedNumber = 1002;
constexpr int DtThreadCreationErrorNumber = 1003;
constexpr int DtThreadWouldDeadlockNumber = 1004;
/// @}

/// A kind of failure with a type of its own to catch, told apart by one of the numbers above.
/// Messages begin with the name of the kind, as in "DtInvalidInput: ".
template <int N>
class DT_EXPORT DtTemplatedException : public DtException {
public:
    /// As DtException.
    DtTemplatedException(const char* message, const char* function, const char* file,
                         unsigned int line, const DtException* previous)
        : DtException(message, function, file, line, previous) {}
};

/// The part of a path after its last '/'.
constexpr const char* DtFileNameOfPath(const char* path) {
    const char* name = path;
    for (const char* c = path; *c != '\0'; ++c)
        if (*c == '/')
            name = c + 1;
    return name;
}

}  // namespace OrynRti

/// Throws the DtTemplatedException of that number, by value, with the place of this line.
#define DT_THROW(number, message)                    \
    throw ::OrynRti::DtTemplatedException<(number)>( \
        (message), __func__, ::OrynRti::DtFileNameOfPath(__FILE__), __LINE__, nullptr)

#endif
