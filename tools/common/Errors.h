#ifndef RTIQN_TOOLS_ERRORS_H
#define RTIQN_TOOLS_ERRORS_H

#include <stdexcept>
#include <string>

namespace RtiqnTools {

/// What programs end with. 1 and 2 are each program's own.
enum ExitStatus : int {
    theSuccess = 0,
    theFileError = 3,  ///< a file that cannot be read or written
    theNetworkFailure = 4,
    theUsageError = 64
};

/// What ends a program before its time: the text for its user, and the exit status.
class ProgramError : public std::runtime_error {
public:
    ProgramError(int status, const std::string& text) : std::runtime_error(text), status_(status) {}
    int status() const { return status_; }

private:
    int status_;
};

/// A file that cannot be read or written; the text names it and says what the system answered.
class FileError : public ProgramError {
public:
    explicit FileError(const std::string& text) : ProgramError(theFileError, text) {}
};

/// A socket that cannot be set up or used; the text says what was tried and why it failed.
class NetworkError : public ProgramError {
public:
    explicit NetworkError(const std::string& text) : ProgramError(theNetworkFailure, text) {}
};

/// Options that make no sense, alone or together.
class UsageError : public ProgramError {
public:
    explicit UsageError(const std::string& text) : ProgramError(theUsageError, text) {}
};

}  // namespace RtiqnTools

#endif
