#ifndef RTIQN_DIS_TRAFFIC_STATISTICS_H
#define RTIQN_DIS_TRAFFIC_STATISTICS_H

#include <cstdint>
#include <map>
#include <string>
#include <utility>

#include "CounterSnapshot.h"
#include "Losses.h"
#include "PerformanceStats.h"
#include "Unbundler.h"

namespace RtiqnDis {

/// Counts datagrams, PDUs by kind and sender, and what was not delivered by reason and sender.
///
/// Cost:      bounded: of more than 4096 kinds with their senders the further ones are counted
///            under theOtherSenders, so that forged senders cannot exhaust the memory
class TrafficStatistics {
public:
    static constexpr const char* theOtherSenders = "(others)";

    struct Traffic {
        std::uint64_t pdus = 0;
        std::uint64_t bytes = 0;
    };
    using KindAndSender = std::pair<std::uint8_t, std::string>;
    using LossAndSender = std::pair<Loss, std::string>;

    void addDatagram(std::size_t size_bytes, double time_s);
    void addPdu(const BundledPdu& pdu, const std::string& sender);
    /// An empty sender stands for none known.
    void addLoss(Loss loss, const std::string& sender, std::uint64_t count = 1);

    std::uint64_t datagrams() const { return datagrams_; }
    std::uint64_t datagramBytes() const { return datagramBytes_; }
    std::uint64_t attributePdus() const { return attributePdus_; }
    const Traffic& total() const { return total_; }
    const std::map<KindAndSender, Traffic>& traffic() const { return traffic_; }
    const std::map<LossAndSender, std::uint64_t>& losses() const { return losses_; }

    /// Seconds between the earliest and the latest datagram.
    double duration() const { return latest_s_ - earliest_s_; }

    /// How long this program's own calls took.
    OrynRti::DtPerformanceStats& ownTimes() { return ownTimes_; }
    const OrynRti::DtPerformanceStats& ownTimes() const { return ownTimes_; }

    /// Whether something incomplete or broken was among the data.
    bool hasDataProblems() const;

private:
    std::uint64_t datagrams_ = 0;
    std::uint64_t datagramBytes_ = 0;
    std::uint64_t attributePdus_ = 0;
    double earliest_s_ = 0;
    double latest_s_ = 0;
    Traffic total_;
    std::map<KindAndSender, Traffic> traffic_;
    std::map<LossAndSender, std::uint64_t> losses_;
    OrynRti::DtPerformanceStats ownTimes_;
};

/// The table at the end: traffic by kind and sender with rates, and what was not delivered.
std::string tableText(const TrafficStatistics& statistics);

/// "         1  datagram shorter than a PDU header: SENDER".
std::string lossLine(Loss loss, const std::string& sender, std::uint64_t count);

/// What was lost, a line each, under a title; empty when nothing was.
std::string lossesText(const TrafficStatistics& statistics, const char* title);

/// The table as one JSON object.
std::string summaryJson(const TrafficStatistics& statistics);

/// What has been counted until a Unix time, within so many seconds, as one JSON object in a line.
/// `source` names what the snapshot is of.
std::string countersJson(const TrafficStatistics& statistics, double time_s, double seconds,
                         const char* source, const OrynRti::DtCounterSnapshot& snapshot);

}  // namespace RtiqnDis

#endif
