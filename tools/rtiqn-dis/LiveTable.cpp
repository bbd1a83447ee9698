#include "LiveTable.h"

#include <algorithm>

#include "PduKinds.h"
#include "common/TextTable.h"

namespace RtiqnDis {

using namespace RtiqnTools;

namespace {

/// "1:02:03"
std::string clockText(double seconds) {
    const auto whole = static_cast<unsigned long long>(seconds);
    return formatted("%llu:%02llu:%02llu", whole / 3600, whole / 60 % 60, whole % 60);
}

std::string kilobits(double bytes_hz) {
    return formatted("%.1f", bytes_hz * 8e-3);
}

std::vector<std::string> cells(const std::string& kind, const std::string& name,
                               const std::string& sender, std::uint64_t pdus, double pdus_hz,
                               double bytes_hz) {
    return {
        kind, name, sender, std::to_string(pdus), formatted("%.1f", pdus_hz), kilobits(bytes_hz)};
}

/// The most frequent first.
std::vector<std::string> lossLines(const LiveState& state) {
    std::vector<std::pair<std::uint64_t, std::string>> found;
    const auto add = [&](Loss loss, const std::string& sender, std::uint64_t count) {
        if (count > 0)
            found.emplace_back(count, lossLine(loss, sender, count));
    };
    for (const auto& [key, count] : state.statistics.losses())
        add(key.first, key.second, count);
    for (const auto& [loss, count] : state.losses)
        add(loss, "", count);
    std::stable_sort(found.begin(), found.end(),
                     [](const auto& a, const auto& b) { return a.first > b.first; });
    std::vector<std::string> lines;
    lines.reserve(found.size());
    for (auto& [count, text] : found)
        lines.push_back(std::move(text));
    return lines;
}

/// Leaves as many lines as there is room for; the last one then tells how many there are not.
void shorten(std::vector<std::string>& lines, std::size_t most) {
    if (lines.size() <= most)
        return;
    const std::size_t shown = most == 0 ? 0 : most - 1;
    const std::size_t hidden = lines.size() - shown;
    lines.resize(shown);
    if (most > 0)
        lines.push_back(formatted("      ... and %zu more", hidden));
}

}  // namespace

void LiveTable::Rate::update(const Traffic& now, double time_s) {
    pdus_hz = static_cast<double>(now.pdus - before.pdus) / time_s;
    bytes_hz = static_cast<double>(now.bytes - before.bytes) / time_s;
    weight = weight / 2 + pdus_hz / 2;
    before = now;
}

void LiveTable::update(const TrafficStatistics& statistics, double now_s) {
    const double time_s = now_s - now_s_;
    if (!(time_s > 0))
        return;
    now_s_ = now_s;
    total_.update(statistics.total(), time_s);
    for (const auto& [key, traffic] : statistics.traffic())
        rates_[key].update(traffic, time_s);
}

std::vector<std::string> LiveTable::heading(const LiveState& state) const {
    const TrafficStatistics& statistics = state.statistics;
    return {"listening on " + state.title + " for " + clockText(now_s_) +
                "; Ctrl-C ends, and leaves the table",
            counted(statistics.datagrams(), "datagram") + " with " +
                counted(statistics.total().pdus, "PDU") +
                formatted("; now %.1f PDUs/s, %s kbit/s", total_.pdus_hz,
                          kilobits(total_.bytes_hz).c_str()),
            ""};
}

std::vector<std::string> LiveTable::rows(TerminalSize room) const {
    using Row = std::pair<const KindAndSender*, const Rate*>;
    std::vector<Row> order;
    for (const auto& [key, rate] : rates_)
        order.emplace_back(&key, &rate);
    std::stable_sort(order.begin(), order.end(), [](const Row& a, const Row& b) {
        return a.second->weight > b.second->weight;
    });
    using Column = TextTable::Column;
    TextTable table({{"kind", Column::Right},
                     {"name", Column::Left, 8},
                     {"sender", Column::Left, 9},
                     {"PDUs", Column::Right},
                     {"PDUs/s", Column::Right},
                     {"kbit/s", Column::Right}});
    for (const auto& [key, rate] : order)
        table.add(cells(std::to_string(key->first), kindName(key->first), key->second,
                        rate->before.pdus, rate->pdus_hz, rate->bytes_hz));
    std::vector<std::string> lines = table.lines(room.columns);
    shorten(lines, std::max<std::size_t>(room.lines, 2));
    return lines;
}

std::vector<LiveLine> LiveTable::lines(const LiveState& state, TerminalSize size) const {
    std::vector<LiveLine> lines;
    const auto add = [&](const std::vector<std::string>& texts) {
        for (const std::string& text : texts)
            lines.push_back({clipped(text, size.columns)});
    };
    std::vector<std::string> losses = lossLines(state);
    shorten(losses, std::max<std::size_t>(size.lines / 5, 2));
    add(heading(state));
    const std::size_t taken = lines.size() + (losses.empty() ? 0 : losses.size() + 2) +
                              (state.messages.empty() ? 0 : state.messages.size() + 1);
    const std::size_t headings = lines.size();
    add(rows({size.columns, size.lines - std::min(size.lines, taken)}));
    lines[headings].style = LiveLine::Heading;
    if (!losses.empty()) {
        add({"", "Not delivered"});
        lines.back().style = LiveLine::Alarm;
        add(losses);
    }
    if (!state.messages.empty())
        add({""});
    add(state.messages);
    lines.resize(std::min(lines.size(), size.lines));
    return lines;
}

}  // namespace RtiqnDis
