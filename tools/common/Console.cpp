#include "Console.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <vector>

#include "Errors.h"

namespace RtiqnTools {

namespace {

std::string theProgramName;

[[noreturn]] void throwOutputError() {
    throw FileError(std::string("cannot write to standard output: ") + std::strerror(errno));
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
    std::fprintf(stderr, "%s: %s\n", theProgramName.c_str(), text.substr(0, end).c_str());
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
