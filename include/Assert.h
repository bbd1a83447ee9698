#ifndef RTIQNUTIL_ASSERT_H
#define RTIQNUTIL_ASSERT_H

#include "Exceptions.h"
#include "Export.h"

/// @file
/// Assertions, and what happens when one fails.

namespace OrynRti {

/// What happens when a DT_ASSERT fails: at first a warning and a thrown exception; a program
/// may choose a warning only, nothing, or a function of its own.
///
///     DtAssert::warn();
///     DT_ASSERT(count <= capacity);   // a line on DtWarn, and on we go
///
/// Threads:   choose at the start, before other threads run
class DT_EXPORT DtAssert {
public:
    /// Given the place, file without its path, and the text of the condition that does not hold.
    using AssertFunction = void (*)(const char* file, const char* function, int line,
                                    const char* expression);

    /// Called by a failed assertion; null for none.
    static AssertFunction theAssertFunction;

    /// The same as theAssertFunction. @{
    static AssertFunction getAssertFunction();
    static void setAssertFunction(AssertFunction function);
    /// @}

    /// Failed assertions do nothing.
    static void ignore();
    /// Failed assertions warn and throw: `defaultFatal`, the initial choice.
    static void fatal();
    /// Failed assertions warn: `defaultNonFatal`.
    static void warn();

    /// Writes one line about the failure to DtWarn.
    static void defaultNonFatal(const char* file, const char* function, int line,
                                const char* expression);

    /// Writes that line, then throws a `DtException*`, which the catcher deletes.
    static void defaultFatal(const char* file, const char* function, int line,
                             const char* expression);

    /// What DT_ASSERT calls on failure.
    static void failed(const char* file, const char* function, int line, const char* expression);
};

}  // namespace OrynRti

/// Says that the condition holds here; tested in every build. For mistakes in the code itself,
/// never for bad input.
#define DT_ASSERT(...)                                                                            \
    (static_cast<bool>(__VA_ARGS__)                                                               \
         ? static_cast<void>(0)                                                                   \
         : ::OrynRti::DtAssert::failed(::OrynRti::DtFileNameOfPath(__FILE__), __func__, __LINE__, \
                                       #__VA_ARGS__))

#endif
