#include "TrafficStatistics.h"

#include <algorithm>

namespace RtiqnDis {

namespace {

constexpr std::size_t theMaxRows = 4096;

/// The row of a key, or once there are too many rows that of the other senders.
template <typename Rows>
typename Rows::mapped_type& rowOf(Rows& rows, typename Rows::key_type key) {
    const auto row = rows.find(key);
    if (row != rows.end())
        return row->second;
    if (rows.size() >= theMaxRows)
        key.second = TrafficStatistics::theOtherSenders;
    return rows[key];
}

}  // namespace

void TrafficStatistics::addDatagram(std::size_t size_bytes, double time_s) {
    earliest_s_ = datagrams_ == 0 ? time_s : std::min(earliest_s_, time_s);
    latest_s_ = datagrams_ == 0 ? time_s : std::max(latest_s_, time_s);
    ++datagrams_;
    datagramBytes_ += size_bytes;
}

void TrafficStatistics::addPdu(const BundledPdu& pdu, const std::string& sender) {
    Traffic& row = rowOf(traffic_, {pdu.header.kind, sender});
    for (Traffic* traffic : {&total_, &row}) {
        ++traffic->pdus;
        traffic->bytes += pdu.size_bytes;
    }
    attributePdus_ += pdu.coupled ? 1 : 0;
}

void TrafficStatistics::addLoss(Loss loss, const std::string& sender, std::uint64_t count) {
    if (count > 0)
        rowOf(losses_, {loss, sender}) += count;
}

bool TrafficStatistics::hasDataProblems() const {
    return std::any_of(losses_.begin(), losses_.end(),
                       [](const auto& row) { return isDataProblem(row.first.first); });
}

}  // namespace RtiqnDis
