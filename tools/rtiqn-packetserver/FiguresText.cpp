#include "FiguresText.h"

#include <nlohmann/json.hpp>

#include "common/Console.h"
#include "common/TextTable.h"

namespace RtiqnPacketServer {

using namespace RtiqnTools;

namespace {

using Json = nlohmann::json;

/// A counter, and what it tells.
struct Line {
    const char* name;
    const char* meaning;
};

constexpr Line theSocketLosses[] = {
    {"kernelDrops", "datagrams for which the socket had no room"},
    {"emptyDatagrams", "empty datagrams"},
    {"truncatedDatagrams", "datagrams too large"},
    {"belowMinSize", "datagrams shorter than a PDU header"},
    {"incomplete", "datagrams that end within their first PDU"},
    {"invalidLengths", "PDUs with an impossible length"},
    {"restsDropped", "ends of datagrams that are no PDU"},
    {"attributePdusMissing", "coupled Attribute PDUs announced, but missing"},
    {"queuedPdusLost", "PDUs too large"}};

constexpr Line theNetworkFailures[] = {{"networkFailures", "failures of the network"}};

constexpr Line theClientLosses[] = {
    {"droppedOld", "records overwritten unread: the client was too slow"},
    {"droppedNew", "records not written: the client had locked its queue"}};

constexpr Line theRefusals[] = {
    {"malformed", "that are no records"},
    {"notUnderstood", "with values that mean nothing"},
    {"wrongSocket", "on the wrong socket"},
    {"foreignUser", "of users that may not"},
    {"foreignProcess", "in the name of another process"},
    {"unknownClient", "for clients that are not there"},
    {"poolsRefused", "to be added with shared memory that is not as it should be"},
    {"noPlace", "to be added when no more clients were served"},
    {"groupsRefused", "for multicast groups"}};

constexpr Line theOthers[] = {{"queuesRemoved", "queues removed that killed clients had left"}};

std::uint64_t countOf(const Json& counters, const char* name) {
    return counters.at(name).get<std::uint64_t>();
}

/// Lines with a count each, but for what has not happened.
template <std::size_t Count>
std::string lines(const Json& counters, const Line (&wanted)[Count]) {
    std::string text;
    for (const Line& line : wanted)
        if (const std::uint64_t count = countOf(counters, line.name); count > 0)
            text +=
                formatted("  %10llu  %s\n", static_cast<unsigned long long>(count), line.meaning);
    return text;
}

std::string section(const char* heading, const std::string& lines) {
    return lines.empty() ? lines : std::string("\n") + heading + "\n" + lines;
}

}  // namespace

std::string figuresText(const std::string& figures) {
    const Json json = Json::parse(figures);
    const Json& server = json.at("server");
    const bool unbundles = json.at("unbundling").get<bool>();
    return formatted("%s, %llu bytes, in %.3f s\n%s added, %s handed over\n",
                     counted(countOf(server, "packets"), unbundles ? "PDU" : "datagram").c_str(),
                     static_cast<unsigned long long>(countOf(server, "bytes")),
                     json.at("seconds").get<double>(),
                     counted(countOf(server, "clientsAdded"), "client").c_str(),
                     counted(countOf(server, "handedOver"), "packet").c_str()) +
           section("Not read from the network",
                   lines(json.at("socket"), theSocketLosses) + lines(server, theNetworkFailures)) +
           section("Not received by a client", lines(server, theClientLosses)) +
           section("Requests refused", lines(server, theRefusals)) +
           section("Beside", lines(server, theOthers));
}

std::string clientsText(const std::string& figures) {
    using Column = TextTable::Column;
    const Json json = Json::parse(figures);
    if (json.at("clients").empty())
        return {};
    TextTable table({{"client", Column::Right},
                     {"process", Column::Right},
                     {"packets", Column::Right},
                     {"dropped old", Column::Right},
                     {"dropped new", Column::Right},
                     {"queue bytes", Column::Right}});
    for (const Json& client : json.at("clients")) {
        std::vector<std::string> cells;
        for (const char* name :
             {"number", "process", "packets", "droppedOld", "droppedNew", "queueBytes"})
            cells.push_back(std::to_string(countOf(client, name)));
        table.add(std::move(cells));
    }
    return "\n" + table.text();
}

}  // namespace RtiqnPacketServer
