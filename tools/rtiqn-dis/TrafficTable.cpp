#include <algorithm>
#include <nlohmann/json.hpp>

#include "OwnTimes.h"
#include "PduKinds.h"
#include "TrafficStatistics.h"
#include "common/Console.h"

namespace RtiqnDis {

using namespace RtiqnTools;

namespace {

using Json = nlohmann::ordered_json;
using Traffic = TrafficStatistics::Traffic;

/// Column widths that grow with their contents.
struct Widths {
    int name = 4;
    int sender = 6;
};

Widths widthsOf(const TrafficStatistics& statistics) {
    Widths widths;
    for (const auto& [key, traffic] : statistics.traffic()) {
        widths.name =
            std::max(widths.name, static_cast<int>(std::string(kindName(key.first)).size()));
        widths.sender = std::max(widths.sender, static_cast<int>(key.second.size()));
    }
    return widths;
}

std::string rateText(std::uint64_t count, double duration_s) {
    return duration_s > 0 ? formatted("%.1f", static_cast<double>(count) / duration_s) : "-";
}

std::string row(const Widths& widths, const std::string& kind, const std::string& name,
                const std::string& sender, const Traffic& traffic, double duration_s) {
    return formatted(
        "%4s  %-*s  %-*s  %10llu  %12llu  %10s\n", kind.c_str(), widths.name, name.c_str(),
        widths.sender, sender.c_str(), static_cast<unsigned long long>(traffic.pdus),
        static_cast<unsigned long long>(traffic.bytes), rateText(traffic.pdus, duration_s).c_str());
}

std::string trafficText(const TrafficStatistics& statistics) {
    const Widths widths = widthsOf(statistics);
    std::string text = formatted("\n%4s  %-*s  %-*s  %10s  %12s  %10s\n", "kind", widths.name,
                                 "name", widths.sender, "sender", "PDUs", "bytes", "PDUs/s");
    for (const auto& [key, traffic] : statistics.traffic())
        text += row(widths, std::to_string(key.first), kindName(key.first), key.second, traffic,
                    statistics.duration());
    return text + row(widths, "", "all", "", statistics.total(), statistics.duration());
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

std::string lossesText(const TrafficStatistics& statistics, const char* title) {
    if (statistics.losses().empty())
        return {};
    std::string text = std::string("\n") + title + "\n";
    for (const auto& [key, count] : statistics.losses()) {
        text +=
            formatted("%10llu  %s", static_cast<unsigned long long>(count), lossText(key.first));
        text += key.second.empty() ? "\n" : ": " + key.second + "\n";
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
    return Json{
        {"datagrams", statistics.datagrams()}, {"datagramBytes", statistics.datagramBytes()},
        {"pdus", statistics.total().pdus},     {"attributePdus", statistics.attributePdus()},
        {"bytes", statistics.total().bytes},   {"seconds", statistics.duration()},
        {"traffic", trafficJson(statistics)},  {"notDelivered", lossesJson(statistics)}}
        .dump();
}

}  // namespace RtiqnDis
