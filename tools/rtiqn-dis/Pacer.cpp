#include "Pacer.h"

#include <algorithm>
#include <poll.h>

#include "common/Console.h"
#include "common/StopSignals.h"

namespace RtiqnDis {

using namespace RtiqnTools;

double Pacer::elapsed_s() const {
    return std::chrono::duration<double>(Clock::now() - start_).count();
}

void Pacer::waitUntil(double moment_s) {
    constexpr double longest_s = 3600;
    while (elapsed_s() < moment_s && !StopSignals::requested()) {
        const double wait_s = std::clamp(moment_s - elapsed_s(), 0.0, longest_s);
        timespec timeout{};
        timeout.tv_sec = static_cast<time_t>(wait_s);
        timeout.tv_nsec = static_cast<long>((wait_s - static_cast<double>(timeout.tv_sec)) * 1e9);
        pollfd stop{StopSignals::descriptor(), POLLIN, 0};
        ::ppoll(&stop, 1, &timeout, nullptr);
    }
    latest_s_ = std::max(latest_s_, elapsed_s() - moment_s);
}

ProgressLine::~ProgressLine() {
    endProgress();
}

void ProgressLine::update(double elapsed_s, std::uint64_t datagrams) {
    if (elapsed_s < next_s_)
        return;
    next_s_ = elapsed_s + 0.5;
    showProgress(formatted("%.1f s: %s", elapsed_s, counted(datagrams, "datagram").c_str()));
}

}  // namespace RtiqnDis
