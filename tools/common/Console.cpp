#include "Console.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <unistd.h>
#include <vector>

#include "Errors.h"

namespace RtiqnTools {

namespace {

std::string theProgramName;

[[noreturn]] void throwOutputError() {
    throw FileError(std::string("cannot write to standard output: ") + std::strerror(errno));
}

bool isSet(const char* variable) {
    const char* value = std::getenv(variable);
    return value && *value;
}

}  // namespace

void writeOutput(const std::string& text) {
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size())
        throwOutputError();
}

void flushOutput() {
    if (std::fflush(stdout) != 0)
        throwOutputError();
}

void writeWholeOutput(const std::string& text) {
    writeOutput(text);
    flushOutput();
}

void setProgramName(const std::string& name) {
    theProgramName = name;
}

void printError(const std::string& text) {
    const std::size_t end = text.find_last_not_of('\n') + 1;
    const std::string name = styled(theProgramName + ":", Style::red, STDERR_FILENO);
    std::fprintf(stderr, "%s %s\n", name.c_str(), text.substr(0, end).c_str());
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
