#include "ReplayCommand.h"

#include <algorithm>
#include <vector>

#include "CaptureDatagrams.h"
#include "Errors.h"
#include "Pacer.h"
#include "TrafficStatistics.h"
#include "Unbundler.h"
#include "common/Console.h"
#include "common/StopSignals.h"

namespace RtiqnDis {

namespace {

/// How long a PDU may wait for others to share a datagram with.
constexpr double theBundleWait_s = 0.01;

/// When each datagram is to go out, in seconds from the start.
class Schedule {
public:
    explicit Schedule(const ReplayOptions& options) : options_(options) {}

    /// A new pass over the capture begins where the last one ended.
    void restart() { first_ = true; }

    /// A capture whose times jump back goes on without a pause.
    double next(double time_s) {
        if (options_.datagramsPerSecond > 0)
            return static_cast<double>(count_++) / options_.datagramsPerSecond;
        if (!options_.topSpeed && !first_)
            moment_s_ += std::max(0.0, time_s - last_s_) / options_.speed;
        first_ = false;
        last_s_ = time_s;
        return moment_s_;
    }

private:
    const ReplayOptions& options_;
    std::uint64_t count_ = 0;
    double moment_s_ = 0;
    double last_s_ = 0;
    bool first_ = true;
};

class Replay {
public:
    explicit Replay(const ReplayOptions& options)
        : options_(options), sender_(options.sending), schedule_(options) {}

    void run() {
        for (std::uint64_t pass = 0; pass == 0 || pass < options_.loops || options_.loops == 0;
             ++pass) {
            const std::uint64_t before = read_;
            replayOnce();
            if (StopSignals::requested() || read_ == before)
                break;
        }
        sender_.flush();
    }

    int finish() {
        writeOutput("Sent " + sendingText(sender_, pacer_.elapsed_s()));
        if (!options_.topSpeed && read_ > 0)
            writeOutput(formatted("At most %.3f ms later than planned\n", pacer_.latest_s() * 1e3));
        writeOutput(lossesText(statistics_, "Not replayed, or not whole"));
        flushOutput();
        return sender_.failures() > 0 ? theNetworkFailure : theSuccess;
    }

private:
    void replayOnce() {
        CaptureDatagrams capture(options_.path, options_.sending.port, statistics_);
        schedule_.restart();
        CapturedDatagram datagram;
        while (!StopSignals::requested() && capture.next(datagram)) {
            ++read_;
            replayAt(schedule_.next(datagram.time_s), datagram.payload);
            progress_.update(pacer_.elapsed_s(), sender_.datagrams());
        }
        if (!capture.damage().empty() && !toldDamage_)
            printError(options_.path + ": the rest cannot be read: " + capture.damage());
        toldDamage_ = !capture.damage().empty();
        if (read_ == 0 && !StopSignals::requested())
            printError(options_.path + ": no UDP datagram to port " +
                       std::to_string(options_.sending.port) + ", " +
                       std::to_string(capture.others()) + " to other ports; see --port");
    }

    void replayAt(double moment_s, ByteView payload) {
        flushBefore(moment_s);
        pacer_.waitUntil(moment_s);
        if (StopSignals::requested())
            return;
        bytes_.assign(payload.data(), payload.data() + payload.size());
        if (sender_.bundles() || options_.exercise)
            unbundle(payload, bundle_);
        if (options_.exercise)
            rewriteExercise();
        if (sender_.bundles())
            sendPdus(moment_s);
        else if (bytes_.empty())
            statistics_.addLoss(Loss::TooShort, "");  // the socket sends no empty datagrams
        else
            sender_.sendDatagram(bytes_);
    }

    /// Sends the bundles whose time comes before the moment.
    void flushBefore(double moment_s) {
        if (!pendingSince_s_ || moment_s <= *pendingSince_s_ + theBundleWait_s)
            return;
        pacer_.waitUntil(*pendingSince_s_ + theBundleWait_s);
        sender_.flush();
        pendingSince_s_.reset();
    }

    void sendPdus(double moment_s) {
        for (const BundledPdu& pdu : bundle_.pdus)
            sender_.sendPdu(bytes_.data() + pdu.offset, pdu.size_bytes, pdu.header.version);
        for (const Loss loss : bundle_.losses)
            statistics_.addLoss(loss, "");
        if (!pendingSince_s_)
            pendingSince_s_ = moment_s;
    }

    void rewriteExercise() {
        constexpr std::size_t exerciseAt = 1;
        const char exercise = static_cast<char>(*options_.exercise);
        for (const BundledPdu& pdu : bundle_.pdus) {
            bytes_[pdu.offset + exerciseAt] = exercise;
            const std::size_t length = pdu.header.length_bytes;
            if (pdu.coupled)
                bytes_[pdu.offset + length + paddingAfter(length, pdu.header.version) +
                       exerciseAt] = exercise;
        }
    }

    const ReplayOptions& options_;
    TrafficStatistics statistics_;
    DatagramSender sender_;
    Schedule schedule_;
    Pacer pacer_;
    ProgressLine progress_;
    Bundle bundle_;
    std::vector<char> bytes_;
    std::uint64_t read_ = 0;
    bool toldDamage_ = false;
    std::optional<double> pendingSince_s_;
};

}  // namespace

int runReplay(const ReplayOptions& options) {
    const StopSignals signals;
    Replay replay(options);
    replay.run();
    return replay.finish();
}

}  // namespace RtiqnDis
