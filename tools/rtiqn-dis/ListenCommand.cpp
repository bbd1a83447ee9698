#include "ListenCommand.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <memory>
#include <poll.h>
#include <stdexcept>

#include "Errors.h"
#include "LiveView.h"
#include "NetworkSource.h"
#include "ServerSource.h"
#include "Time.h"
#include "common/Console.h"
#include "common/LibraryMessages.h"
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

/// Something to be done every so many seconds.
class Interval {
public:
    /// 0 for never.
    explicit Interval(double seconds)
        : length_(std::chrono::duration_cast<Clock::duration>(
              std::chrono::duration<double>(std::min(seconds, theLongest_s)))),
          next_(Clock::now() + length_) {}

    /// True once each time; moments that were slept through are left out.
    bool isDue(Clock::time_point now) {
        const bool due = length_ > Clock::duration::zero() && now >= next_;
        if (due)
            next_ += length_ * ((now - next_) / length_ + 1);
        return due;
    }

    double left_s() const {
        return length_ > Clock::duration::zero()
                   ? std::chrono::duration<double>(next_ - Clock::now()).count()
                   : theLongest_s;
    }

private:
    static constexpr double theLongest_s = 1e8;

    Clock::duration length_;
    Clock::time_point next_;
};

class Listener {
public:
    Listener(const ListenOptions& options, PduReport& report)
        : options_(options),
          report_(report),
          refresh_(options.live ? theRefresh_s : 0),
          tell_(options.counters_s) {
        if (!options.recordPath.empty())
            record_ = std::make_unique<CaptureWriter>(options.recordPath);
        source_ = openSource(options, report, record_.get());
        start_ = Clock::now();
        if (options.live)
            view_ = std::make_unique<LiveView>();
    }

    /// Until an end that the options name, or a signal.
    void run() {
        refresh();
        while (!isOver()) {
            drain();
            flush();
            if (!isOver())
                wait();
            doWhatIsDue();
        }
        flush();
    }

    /// The screen is as it was before, and what was lost stands in the statistics.
    void end() {
        view_.reset();
        if (options_.counters_s > 0)
            tellCounters();
        source_->askForLosses();
        for (const auto& [loss, count] : source_->losses())
            report_.statistics().addLoss(loss, "", count);
    }

private:
    static constexpr double theRefresh_s = 1;

    bool isOver() const {
        return StopSignals::requested() || report_.isFull() ||
               (options_.duration_s > 0 && elapsed_s() >= options_.duration_s);
    }

    double elapsed_s() const {
        return std::chrono::duration<double>(Clock::now() - start_).count();
    }

    void drain() {
        while (!isOver() && source_->receive())
            if (options_.live || options_.counters_s > 0)
                doWhatIsDue();
    }

    void doWhatIsDue() {
        const Clock::time_point now = Clock::now();
        if (refresh_.isDue(now))
            refresh();
        else if (view_ && view_->wasResized())
            draw();
        if (tell_.isDue(now))
            tellCounters();
    }

    void refresh() {
        if (view_) {
            view_->update(report_.statistics(), elapsed_s());
            draw();
        }
    }

    void draw() { view_->draw(source_->title(), report_.statistics(), source_->losses()); }

    /// Among the data where each line of them is an object.
    void tellCounters() {
        const std::string line = countersJson(report_.statistics(), OrynRti::DtAbsRealTime(),
                                              elapsed_s(), source_->key(), source_->counters()) +
                                 '\n';
        if (options_.report.format == OutputFormat::Ndjson)
            writeWholeOutput(line);
        else
            writeErrorLine(line);
    }

    /// Before waiting, so that readers of the output and of the recording see everything.
    void flush() {
        if (record_)
            record_->flush();
        flushOutput();
    }

    void wait() {
        double wait_s = std::min({source_->longestWait_s(), refresh_.left_s(), tell_.left_s()});
        if (options_.duration_s > 0)
            wait_s = std::min(wait_s, options_.duration_s - elapsed_s());
        pollfd events[] = {{source_->descriptor(), POLLIN, 0},
                           {StopSignals::descriptor(), POLLIN, 0}};
        ::poll(events, 2, static_cast<int>(std::max(wait_s, 0.0) * 1000) + 1);
    }

    const ListenOptions& options_;
    PduReport& report_;
    Interval refresh_;
    Interval tell_;
    std::unique_ptr<CaptureWriter> record_;
    std::unique_ptr<PduSource> source_;
    Clock::time_point start_;
    std::unique_ptr<LiveView> view_;
};

}  // namespace

/// What was received is reported also when the network or the recording fails in the end.
int runListen(const ListenOptions& options) {
    if (options.live)
        LiveView::requireTerminal();
    const StopSignals signals;
    PduReport report(options.report);
    std::exception_ptr failure;
    {
        const LibraryMessages messages;
        Listener listener(options, report);
        try {
            listener.run();
        } catch (const std::runtime_error&) {
            failure = std::current_exception();
        }
        listener.end();
    }
    const int status = report.finish();
    if (failure)
        std::rethrow_exception(failure);
    if (report.statistics().datagrams() == 0 && options.duration_s > 0)
        printError(formatted("nothing received within %g s", options.duration_s));
    return status;
}

}  // namespace RtiqnDis
