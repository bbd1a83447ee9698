#ifndef RTIQN_TOOLS_CONSOLE_H
#define RTIQN_TOOLS_CONSOLE_H

#include <cstddef>
#include <functional>
#include <string>

namespace RtiqnTools {

/// Adds to standard output, which is buffered. Throws FileError when it cannot be written, as on a
/// full disk or a closed pipe (whose signal must be ignored).
void writeOutput(const std::string& text);

/// Hands over what is buffered, so that a reader sees it now. Throws FileError.
void flushOutput();

/// Both in one.
void writeWholeOutput(const std::string& text);

/// Writes text to standard error, after the name of the program, as one line or more. What was
/// added to standard output before comes first, and a progress line gives way.
void printError(const std::string& text);

/// The same for a line that is data: as it stands, with its end.
void writeErrorLine(const std::string& line);

/// Hands the texts of printError to `take` instead; nothing puts them back on standard error.
void divertErrors(std::function<void(const std::string&)> take);

/// What printError begins with.
void setProgramName(const std::string& name);

/// Whether the descriptor is a terminal on which lines can be overwritten.
bool isTerminal(int descriptor);

/// How a text stands out on a terminal.
enum class Style { bold, red, green, yellow };

/// The text in that style if the descriptor is a terminal and NO_COLOR (no-color.org) is not set;
/// else as it is.
std::string styled(const std::string& text, Style style, int descriptor);

/// Columns and lines of a terminal.
struct TerminalSize {
    std::size_t columns;
    std::size_t lines;
};

/// That of standard output's terminal; 80 times 24 when it does not tell.
TerminalSize terminalSize();

/// How long a line of standard output may be so as not to wrap: the columns of a terminal;
/// anywhere else there is no limit.
std::size_t outputColumns();

/// At most so many columns of the text, with a '~' at the end where something was cut off.
std::string clipped(const std::string& text, std::size_t columns);

/// Shows how far a long job is: a line on standard error that the next one replaces, and that
/// goes when anything else is written. Nothing where that is no terminal.
void showProgress(const std::string& text);

/// Takes the line away.
void endProgress();

/// "1 datagram", "3 datagrams".
std::string counted(unsigned long long count, const char* noun);

/// printf into a string.
std::string formatted(const char* format, ...) __attribute__((format(printf, 1, 2)));

}  // namespace RtiqnTools

#endif
