#include "Progress.h"

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <system_error>
#include <unistd.h>

#include "Print.h"
#include "common/Console.h"

namespace RtiqnFom {

namespace {

constexpr std::uintmax_t theLargeInput_bytes = std::uintmax_t{8} * 1024 * 1024;
/// Goes to the start of the line and clears it.
constexpr const char* theClearLine = "\r\033[K";

std::uintmax_t totalSize(const std::vector<std::string>& paths) {
    std::uintmax_t total = 0;
    for (const std::string& path : paths) {
        std::error_code error;
        const std::uintmax_t size = std::filesystem::file_size(path, error);
        total += error ? 0 : size;
    }
    return total;
}

}  // namespace

Progress::Progress(const std::vector<std::string>& paths)
    : shown_(OrynRti::DtInfo.okToPrint() && RtiqnTools::isTerminal(STDERR_FILENO) &&
             totalSize(paths) >= theLargeInput_bytes),
      count_(paths.size()) {}

Progress::~Progress() {
    if (shown_)
        std::fputs(theClearLine, stderr);
}

void Progress::reading(const std::string& path) {
    ++current_;
    if (shown_)
        std::fprintf(stderr, "%sreading %zu of %zu: %s", theClearLine, current_, count_,
                     path.c_str());
}

}  // namespace RtiqnFom
