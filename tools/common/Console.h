#ifndef RTIQN_TOOLS_CONSOLE_H
#define RTIQN_TOOLS_CONSOLE_H

#include <string>

namespace RtiqnTools {

/// Adds to standard output, which is buffered. Throws FileError when it cannot be written, as on a
/// full disk or a closed pipe (whose signal must be ignored).
void writeOutput(const std::string& text);

/// Hands over what is buffered, so that a reader sees it now. Throws FileError.
void flushOutput();

/// Both in one.
void writeWholeOutput(const std::string& text);

/// Writes text to standard error, after the name of the program, as one line or more.
void printError(const std::string& text);

/// What printError begins with.
void setProgramName(const std::string& name);

/// Whether the descriptor is a terminal on which lines can be overwritten.
bool isTerminal(int descriptor);

/// How a text stands out on a terminal.
enum class Style { bold, red, green, yellow };

/// The text in that style if the descriptor is a terminal and NO_COLOR (no-color.org) is not set;
/// else as it is.
std::string styled(const std::string& text, Style style, int descriptor);

/// "1 datagram", "3 datagrams".
std::string counted(unsigned long long count, const char* noun);

/// printf into a string.
std::string formatted(const char* format, ...) __attribute__((format(printf, 1, 2)));

}  // namespace RtiqnTools

#endif
