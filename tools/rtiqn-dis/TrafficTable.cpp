#include <unistd.h>

#include "OwnTimes.h"
#include "PduKinds.h"
#include "TrafficStatistics.h"
#include "common/Console.h"
#include "common/CountersJson.h"
#include "common/JsonText.h"
#include "common/TextTable.h"

namespace RtiqnDis {

using namespace RtiqnTools;

namespace {

using Json = nlohmann::ordered_json;
using Traffic = TrafficStatistics::Traffic;

std::string rateText(std::uint64_t count, double duration_s) {
    return duration_s > 0 ? formatted("%.1f", static_cast<double>(count) / duration_s) : "-";
}

std::vector<std::string> row(const std::string& kind, const std::string& name,
                             const std::string& sender, const Traffic& traffic, double duration_s) {
    return {kind,
            name,
            sender,
            std::to_string(traffic.pdus),
            std::to_string(traffic.bytes),
            rateText(traffic.pdus, duration_s)};
}

std::string trafficText(const TrafficStatistics& statistics) {
    using Column = TextTable::Column;
    TextTable table({{"kind", Column::Right},
                     {"name", Column::Left, 12},
                     {"sender", Column::Left, 15},
                     {"PDUs", Column::Right},
                     {"bytes", Column::Right},
                     {"PDUs/s", Column::Right}});
    for (const auto& [key, traffic] : statistics.traffic())
        table.add(row(std::to_string(key.first), kindName(key.first), key.second, traffic,
                      statistics.duration()));
    table.add(row("", "all", "", statistics.total(), statistics.duration()));
    return "\n" + table.text();
}

Json trafficJson(const TrafficStatistics& statistics) {
    Json rows = Json::array();
    for (const auto& [key, traffic] : statistics.traffic()) {
        Json entry = {{"kind", key.first},    {"name", kindName(key.first)}, {"sender", key.second},
                      {"pdus", traffic.pdus}, {"bytes", traffic.bytes},      {"rate", nullptr}};
        if (statistics.duration() > 0)
            entry["rate"] = static_cast<double>(traffic.pdus) / statistics.duration();
        rows.push_back(std::move(entry));
    }
    return rows;
}

Json lossesJson(const TrafficStatistics& statistics) {
    Json rows = Json::array();
    for (const auto& [key, count] : statistics.losses())
        rows.push_back({{"reason", lossKey(key.first)},
                        {"meaning", lossText(key.first)},
                        {"sender", key.second.empty() ? Json() : Json(key.second)},
                        {"count", count}});
    return rows;
}

}  // namespace

std::string lossLine(Loss loss, const std::string& sender, std::uint64_t count) {
    const std::string line =
        formatted("%10llu  %s", static_cast<unsigned long long>(count), lossText(loss));
    return sender.empty() ? line : line + ": " + sender;
}

/// The sender goes to a line of its own where there is no room.
std::string lossesText(const TrafficStatistics& statistics, const char* title) {
    if (statistics.losses().empty())
        return {};
    std::string text = "\n" + styled(title, Style::red, STDOUT_FILENO) + "\n";
    for (const auto& [key, count] : statistics.losses()) {
        std::string line = lossLine(key.first, key.second, count);
        if (!key.second.empty() && line.size() > outputColumns())
            line.replace(line.size() - key.second.size() - 1, 1, "\n            ");
        text += line + '\n';
    }
    return text;
}

std::string tableText(const TrafficStatistics& statistics) {
    std::string text = counted(statistics.datagrams(), "datagram") + " with " +
                       counted(statistics.total().pdus, "PDU");
    if (statistics.attributePdus() > 0)
        text += " and " + counted(statistics.attributePdus(), "coupled Attribute PDU");
    text += formatted(" in %.3f s\n", statistics.duration());
    if (statistics.total().pdus > 0)
        text += trafficText(statistics);
    text += ownTimeText(statistics.ownTimes(), ReceiveCall);
    return text + lossesText(statistics, "Not delivered");
}

std::string summaryJson(const TrafficStatistics& statistics) {
    return jsonText(Json{{"datagrams", statistics.datagrams()},
                         {"datagramBytes", statistics.datagramBytes()},
                         {"pdus", statistics.total().pdus},
                         {"attributePdus", statistics.attributePdus()},
                         {"bytes", statistics.total().bytes},
                         {"seconds", statistics.duration()},
                         {"traffic", trafficJson(statistics)},
                         {"notDelivered", lossesJson(statistics)}});
}

std::string countersJson(const TrafficStatistics& statistics, double time_s, double seconds,
                         const char* source, const OrynRti::DtCounterSnapshot& snapshot) {
    Json losses = Json::object();
    for (const auto& [key, count] : statistics.losses())
        losses[lossKey(key.first)] = losses.value(lossKey(key.first), std::uint64_t{0}) + count;
    return jsonText(Json{{"counters",
                          {{"time", time_s},
                           {"seconds", seconds},
                           {"datagrams", statistics.datagrams()},
                           {"datagramBytes", statistics.datagramBytes()},
                           {"pdus", statistics.total().pdus},
                           {"attributePdus", statistics.attributePdus()},
                           {"bytes", statistics.total().bytes},
                           {"notDelivered", std::move(losses)},
                           {source, RtiqnTools::countersJson(snapshot)}}}});
}

}  // namespace RtiqnDis
