#include "Progress.h"

#include <cstdint>
#include <filesystem>
#include <system_error>

#include "Print.h"
#include "common/Console.h"

namespace RtiqnFom {

using namespace RtiqnTools;

namespace {

constexpr std::uintmax_t theLargeInput_bytes = std::uintmax_t{8} * 1024 * 1024;

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
    : shown_(OrynRti::DtInfo.okToPrint() && totalSize(paths) >= theLargeInput_bytes),
      count_(paths.size()) {}

Progress::~Progress() {
    endProgress();
}

void Progress::reading(const std::string& path) {
    ++current_;
    if (shown_)
        showProgress(clipped(
            "reading " + std::to_string(current_) + " of " + std::to_string(count_) + ": " + path,
            terminalSize().columns - 1));
}

}  // namespace RtiqnFom
