#include "Console.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <sys/ioctl.h>
#include <unistd.h>
#include <vector>

#include "Errors.h"

namespace RtiqnTools {

namespace {

/// Goes to the start of the line and clears it.
constexpr const char* theClearLine = "\r\033[K";

std::string theProgramName;
std::function<void(const std::string&)> theErrorTaker;
int theOutputError = 0;  ///< Why standard output could not be written when nobody was to be told.
bool theProgressShows = false;

[[noreturn]] void throwOutputError(int error) {
    throw FileError(std::string("cannot write to standard output: ") + std::strerror(error));
}

bool isSet(const char* variable) {
    const char* value = std::getenv(variable);
    return value && *value;
}

}  // namespace

void writeOutput(const std::string& text) {
    endProgress();
    if (theOutputError != 0)
        throwOutputError(theOutputError);
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size())
        throwOutputError(errno);
}

void flushOutput() {
    if (theOutputError != 0)
        throwOutputError(theOutputError);
    if (std::fflush(stdout) != 0)
        throwOutputError(errno);
}

void writeWholeOutput(const std::string& text) {
    writeOutput(text);
    flushOutput();
}

void setProgramName(const std::string& name) {
    theProgramName = name;
}

void printError(const std::string& text) {
    const std::string line = text.substr(0, text.find_last_not_of('\n') + 1);
    if (theErrorTaker)
        theErrorTaker(line);
    else
        writeErrorLine(styled(theProgramName + ":", Style::red, STDERR_FILENO) + ' ' + line + '\n');
}

void writeErrorLine(const std::string& line) {
    if (std::fflush(stdout) != 0)
        theOutputError = errno;
    endProgress();
    std::fputs(line.c_str(), stderr);
}

void divertErrors(std::function<void(const std::string&)> take) {
    theErrorTaker = std::move(take);
}

bool isTerminal(int descriptor) {
    const char* kind = std::getenv("TERM");
    return ::isatty(descriptor) == 1 && kind && std::strcmp(kind, "dumb") != 0;
}

std::string styled(const std::string& text, Style style, int descriptor) {
    static constexpr const char* theCodes[] = {"1", "31", "32", "33"};
    if (text.empty() || isSet("NO_COLOR") || !isTerminal(descriptor))
        return text;
    return std::string("\033[") + theCodes[static_cast<std::size_t>(style)] + "m" + text +
           "\033[0m";
}

TerminalSize terminalSize() {
    winsize size{};
    const bool known = ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0;
    const auto orElse = [&](unsigned short told, const char* variable, std::size_t otherwise) {
        if (known && told > 0)
            return std::size_t{told};
        const long number = isSet(variable) ? std::strtol(std::getenv(variable), nullptr, 10) : 0;
        return number > 0 ? static_cast<std::size_t>(number) : otherwise;
    };
    return {orElse(size.ws_col, "COLUMNS", 80), orElse(size.ws_row, "LINES", 24)};
}

std::size_t outputColumns() {
    return isTerminal(STDOUT_FILENO) ? terminalSize().columns
                                     : std::numeric_limits<std::size_t>::max();
}

std::string clipped(const std::string& text, std::size_t columns) {
    if (text.size() <= columns)
        return text;
    return columns == 0 ? std::string() : text.substr(0, columns - 1) + '~';
}

void showProgress(const std::string& text) {
    if (!isTerminal(STDERR_FILENO))
        return;
    std::fprintf(stderr, "%s%s", theClearLine, text.c_str());
    theProgressShows = true;
}

void endProgress() {
    if (theProgressShows)
        std::fputs(theClearLine, stderr);
    theProgressShows = false;
}

std::string counted(unsigned long long count, const char* noun) {
    return std::to_string(count) + ' ' + noun + (count == 1 ? "" : "s");
}

std::string formatted(const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    std::va_list again;
    va_copy(again, arguments);
    const int size = std::vsnprintf(nullptr, 0, format, arguments);
    va_end(arguments);
    std::vector<char> text(size < 0 ? 1 : static_cast<std::size_t>(size) + 1);
    if (size >= 0)
        std::vsnprintf(text.data(), text.size(), format, again);
    va_end(again);
    return text.data();
}

}  // namespace RtiqnTools
