#ifndef RTIQN_DIS_ERRORS_H
#define RTIQN_DIS_ERRORS_H

#include <stdexcept>

namespace RtiqnDis {

/// What the program ends with.
enum ExitStatus : int {
    theSuccess = 0,
    theDataProblem = 1,  ///< incomplete or broken datagrams, with --strict
    theFileError = 3,    ///< a file that cannot be read or written
    theNetworkFailure = 4,
    theUsageError = 64
};

/// A file that cannot be read or written; the text names it and says what the system answered.
class FileError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A socket that cannot be set up or used; the text says what was tried and why it failed.
class NetworkError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Options that make no sense, alone or together.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

}  // namespace RtiqnDis

#endif
