#include "ListenCommand.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <memory>
#include <poll.h>
#include <stdexcept>

#include "Errors.h"
#include "NetworkSource.h"
#include "ServerSource.h"
#include "common/Console.h"
#include "common/StopSignals.h"

namespace RtiqnDis {

namespace {

using Clock = std::chrono::steady_clock;

std::unique_ptr<PduSource> openSource(const ListenOptions& options, PduReport& report,
                                      CaptureWriter* record) {
    if (options.serverKey < 0)
        return std::make_unique<NetworkSource>(options, report, record);
    return std::make_unique<ServerSource>(options, report, record);
}

class Listener {
public:
    Listener(const ListenOptions& options, PduReport& report) : options_(options), report_(report) {
        if (!options.recordPath.empty())
            record_ = std::make_unique<CaptureWriter>(options.recordPath);
        source_ = openSource(options, report, record_.get());
    }

    /// Until an end that the options name, or a signal.
    void run() {
        const Clock::time_point start = Clock::now();
        while (!isOver(start)) {
            drain(start);
            flush();
            if (!isOver(start))
                wait(start);
        }
        flush();
    }

    void reportLosses() { source_->reportLosses(); }

private:
    bool isOver(Clock::time_point start) const {
        return StopSignals::requested() || report_.isFull() ||
               (options_.duration_s > 0 && remaining_s(start) <= 0);
    }

    double remaining_s(Clock::time_point start) const {
        return options_.duration_s - std::chrono::duration<double>(Clock::now() - start).count();
    }

    void drain(Clock::time_point start) {
        while (!isOver(start) && source_->receive()) {
        }
    }

    /// Before waiting, so that readers of the output and of the recording see everything.
    void flush() {
        if (record_)
            record_->flush();
        flushOutput();
    }

    void wait(Clock::time_point start) {
        const double longest_s = source_->longestWait_s();
        const double wait_s =
            options_.duration_s > 0 ? std::clamp(remaining_s(start), 0.0, longest_s) : longest_s;
        pollfd events[] = {{source_->descriptor(), POLLIN, 0},
                           {StopSignals::descriptor(), POLLIN, 0}};
        ::poll(events, 2, static_cast<int>(wait_s * 1000) + 1);
    }

    const ListenOptions& options_;
    PduReport& report_;
    std::unique_ptr<CaptureWriter> record_;
    std::unique_ptr<PduSource> source_;
};

}  // namespace

/// What was received is reported also when the network or the recording fails in the end.
int runListen(const ListenOptions& options) {
    const StopSignals signals;
    PduReport report(options.report);
    Listener listener(options, report);
    std::exception_ptr failure;
    try {
        listener.run();
    } catch (const std::runtime_error&) {
        failure = std::current_exception();
    }
    listener.reportLosses();
    const int status = report.finish();
    if (failure)
        std::rethrow_exception(failure);
    if (report.statistics().datagrams() == 0 && options.duration_s > 0)
        printError(formatted("nothing received within %g s", options.duration_s));
    return status;
}

}  // namespace RtiqnDis
