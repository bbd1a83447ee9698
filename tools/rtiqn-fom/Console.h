#ifndef RTIQN_FOM_CONSOLE_H
#define RTIQN_FOM_CONSOLE_H

#include <cstdint>
#include <string>
#include <vector>

namespace RtiqnFom {

/// What the program ends with; of several reasons the highest counts.
enum ExitStatus : int {
    theSuccess = 0,
    theFailure = 1,    ///< conflicts or a failed check
    theMalformed = 2,  ///< a module that cannot be taken as one
    theFileError = 3,  ///< a file that cannot be read or written
    theUsageError = 64
};

/// Writes to standard output all at once. Throws FileError when that fails, as on a full disk or a
/// closed pipe (whose signal must be ignored).
void writeStandardOutput(const std::string& text);

/// Writes one line to standard error, after the name of the program.
void printError(const std::string& text);

/// Tells on a terminal how far the reading of large modules is. Threads: one at a time.
class Progress {
public:
    /// Silent unless standard error is a terminal and the files are large together, and when only
    /// errors are asked for.
    explicit Progress(const std::vector<std::string>& paths);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// Before the module is read.
    void reading(const std::string& path);

private:
    bool shown_;
    std::size_t count_;
    std::size_t current_ = 0;
};

}  // namespace RtiqnFom

#endif
