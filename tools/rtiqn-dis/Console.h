#ifndef RTIQN_DIS_CONSOLE_H
#define RTIQN_DIS_CONSOLE_H

#include <string>

namespace RtiqnDis {

/// Adds to standard output, which is buffered. Throws FileError when it cannot be written, as on a
/// full disk or a closed pipe (whose signal must be ignored).
void writeOutput(const std::string& text);

/// Hands over what is buffered, so that a reader sees it now. Throws FileError.
void flushOutput();

/// Writes one line to standard error, after the name of the program.
void printError(const std::string& text);

/// "1 datagram", "3 datagrams".
std::string counted(unsigned long long count, const char* noun);

/// printf into a string.
std::string formatted(const char* format, ...) __attribute__((format(printf, 1, 2)));

}  // namespace RtiqnDis

#endif
