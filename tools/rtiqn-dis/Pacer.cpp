#include "Pacer.h"

#include <algorithm>
#include <cstdio>
#include <poll.h>
#include <unistd.h>

#include "common/StopSignals.h"

namespace RtiqnDis {

using namespace RtiqnTools;

namespace {

/// Goes to the start of the line and clears it.
constexpr const char* theClearLine = "\r\033[K";

}  // namespace

double Pacer::elapsed_s() const {
    return std::chrono::duration<double>(Clock::now() - start_).count();
}

void Pacer::waitUntil(double moment_s) {
    constexpr double longest_s = 3600;
    for (double left_s = moment_s - elapsed_s(); left_s > 0 && !StopSignals::requested();
         left_s = moment_s - elapsed_s()) {
        const double wait_s = std::min(left_s, longest_s);
        timespec timeout{};
        timeout.tv_sec = static_cast<time_t>(wait_s);
        timeout.tv_nsec = static_cast<long>((wait_s - static_cast<double>(timeout.tv_sec)) * 1e9);
        pollfd stop{StopSignals::descriptor(), POLLIN, 0};
        ::ppoll(&stop, 1, &timeout, nullptr);
    }
    latest_s_ = std::max(latest_s_, elapsed_s() - moment_s);
}

ProgressLine::ProgressLine() : shown_(isatty(STDERR_FILENO) == 1) {}

ProgressLine::~ProgressLine() {
    if (shown_)
        std::fputs(theClearLine, stderr);
}

void ProgressLine::update(double elapsed_s, std::uint64_t datagrams) {
    if (!shown_ || elapsed_s < next_s_)
        return;
    next_s_ = elapsed_s + 0.5;
    std::fprintf(stderr, "%s%.1f s: %llu datagrams", theClearLine, elapsed_s,
                 static_cast<unsigned long long>(datagrams));
}

}  // namespace RtiqnDis
